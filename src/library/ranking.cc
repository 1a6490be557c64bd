#include "ordvane/ranking.h"

#include <cmath>
#include <utility>

#include "embedded/report_job.h"
#include "library/errors.h"
#include "library/run_data.h"
#include "runfile/values.h"

namespace ordvane {
namespace {

using library::RunAccess;

// Nothing for what marks a figure that is not there.
std::optional<double> there(double value) {
  if (std::fabs(value) < runfile::kNumberLimit) return value;
  return std::nullopt;
}

std::optional<double> swing_of(double low, double high) {
  if (there(low) && there(high)) return high - low;
  return std::nullopt;
}

template <class Ranked>
Ranked with_facts(Ranked ranked, const model::StepFacts& facts) {
  ranked.steps = facts.steps;
  ranked.failed = facts.failed;
  ranked.moves = facts.moves;
  ranked.leaves_out_base = facts.leaves_out_base;
  return ranked;
}

InteractionState state_of(model::InteractionState state) {
  switch (state) {
    case model::InteractionState::kMeasured:
      break;
    case model::InteractionState::kNoOwnSwing:
      return InteractionState::kNoOwnSwing;
    case model::InteractionState::kOtherValues:
      return InteractionState::kOtherValues;
    case model::InteractionState::kErrors:
      return InteractionState::kErrors;
  }
  return InteractionState::kMeasured;
}

Effect effect_of(const embedded::Effect& from) {
  Effect effect{.input = static_cast<std::size_t>(from.input_index),
                .name = from.input,
                .rank = from.rank,
                .low = there(from.low),
                .high = there(from.high),
                .swing = swing_of(from.low, from.high),
                .low_change = there(from.low_change),
                .high_change = there(from.high_change),
                .input_at_low = there(from.input_at_low),
                .input_at_high = there(from.input_at_high)};
  return with_facts(std::move(effect), from.facts);
}

GroupEffect effect_of(const embedded::GroupRanking& from) {
  GroupEffect effect{.members = {},
                     .rank = from.rank,
                     .low = there(from.low),
                     .high = there(from.high),
                     .swing = there(from.swing),
                     .low_change = there(from.low_change),
                     .high_change = there(from.high_change),
                     .own_swings = there(from.own_swings),
                     .interaction = there(from.interaction),
                     .interaction_state = state_of(from.interaction_state)};
  for (const embedded::GroupRanking::Member& member : from.members)
    effect.members.push_back({static_cast<std::size_t>(member.input_index), member.input,
                              there(member.at_low), there(member.at_high), there(member.own_swing)});
  return with_facts(std::move(effect), from.facts);
}

Ranking ranking_of(const embedded::OutputRanking& from, const runfile::Run& run) {
  const auto position = static_cast<std::size_t>(from.output_index);
  const runfile::Output& output = run.outputs[position];
  Ranking ranking{position, output.name.empty() ? output.cell : output.name, there(from.base), {}, {}};
  for (const embedded::Effect& effect : from.effects) ranking.effects.push_back(effect_of(effect));
  for (const embedded::GroupRanking& group : from.groups) ranking.groups.push_back(effect_of(group));
  return ranking;
}

}  // namespace

const char* state_name(InteractionState state) noexcept {
  switch (state) {
    case InteractionState::kMeasured:
      return "measured";
    case InteractionState::kNoOwnSwing:
      return "no_own_swing";
    case InteractionState::kOtherValues:
      return "other_values";
    case InteractionState::kErrors:
      return "errors";
  }
  return "unknown";
}

std::vector<Ranking> rank_outputs(const Run& run, const std::vector<std::size_t>& outputs,
                                  std::int32_t simulation) {
  return library::translating_errors([&] {
    const auto& data = RunAccess::run(run);
    if (simulation < 1 || simulation > data->simulations)
      throw Error(ErrorCode::kInvalidArgument, "simulation: is " + std::to_string(simulation) +
                                                   "; a whole number from 1 to " +
                                                   std::to_string(data->simulations) + " is expected");
    std::vector<Ranking> rankings;
    for (const embedded::OutputRanking& each :
         embedded::rank_outputs(data, library::positions_of(outputs, *data), {.simulation = simulation}))
      rankings.push_back(ranking_of(each, *data));
    return rankings;
  });
}

Ranking rank(const Run& run, std::size_t output, std::int32_t simulation) {
  return rank_outputs(run, {output}, simulation).front();
}

Ranking rank(const Run& run, std::string_view output, std::int32_t simulation) {
  return rank(run, run.find_output(output), simulation);
}

}  // namespace ordvane
