#include "model/multi_way.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <numeric>
#include <span>
#include <string>
#include <utility>

#include "model/engine_reader.h"
#include "model/naming.h"
#include "model/ranking.h"
#include "model/reach.h"

namespace ordvane::model {
namespace {

// Members read in one call to the engine: enough to make the call cheap, little enough for the cache.
constexpr std::int32_t kMembersPerCall = 1 << 16;

std::size_t element(std::int32_t position) {
  return static_cast<std::size_t>(position - 1);
}

class Reader {
 public:
  Reader(session::Session& session, const Records& inputs, std::int32_t run)
      : session_(session), engine_(session), inputs_(inputs), run_(run) {
    for (std::int32_t i = 1; i <= inputs.size(); ++i) position_.try_emplace(inputs(i).ioIndex + 1, i);
    const RecalculationCounts counts = engine_.recalculations(inputs.size());
    standard_ = counts.standard;
    multi_way_ = counts.multi_way;
  }

  std::int32_t recalculations() const { return multi_way_; }

  // Neighbouring recalculations of the same members are one group.
  bool read_groups(std::int32_t most_members, OneBased<MultiGroup>& groups) {
    const std::int32_t rows = std::max(kMembersPerCall / most_members, 1);
    GroupRows read;
    std::vector<std::int32_t> current;  // members of the group that is being read
    for (std::int32_t first = 0; first < multi_way_; first += rows) {
      const std::int32_t count = std::min(rows, multi_way_ - first);
      const std::int32_t rc = engine_.group_rows(first, count, most_members, read);
      if (rc != 0) {
        session_.log.line("MultiWay.ReadMultiWay DRL4_GetUsedVaryMultis rc: " + session::log_text(rc) +
                          "   Start: " + session::log_text(first));
        return false;
      }
      for (std::int32_t r = 0; r < count; ++r) {
        const auto row = std::span<const std::int32_t>(read.members)
                             .subspan(static_cast<std::size_t>(r) * static_cast<std::size_t>(most_members),
                                      static_cast<std::size_t>(most_members));
        if (groups.empty() || !std::equal(row.begin(), row.end(), current.begin(), current.end())) {
          current.assign(row.begin(), row.end());
          groups.push_back(new_group(row, first + r + 1));
        }
        ++groups(groups.size()).combinations;
      }
    }
    return true;
  }

  void read_member_values(MultiGroup& group) {
    for (std::int32_t m = 1; m <= group.members.size(); ++m) {
      const DralInputOutput& input = inputs_(group.members(m));
      multiData& data = group.inputs(m);
      data.name = input.has_name() ? input.ioName : input.cellAddress;
      data.addr = external_address(input.bookName, input.sheetName, input.cellAddress);
      data.BaseValue = input.BaseValue();
      data.value = fetch(engine::kInput, input, group.first, group.combinations);
      data.pc.reserve(data.value.size());
      for (const double value : data.value)
        data.pc.push_back(input.rules().fractional_change(value, data.BaseValue));
      data.rank = ranks_from_lowest(data.value);
    }
  }

  std::vector<double> read_results(const DralInputOutput& output) const {
    return fetch(engine::kOutput, output, 1, multi_way_);
  }
  void read_results(const DralInputOutput& output, std::int32_t first, std::span<double> results) const {
    fetch(engine::kOutput, output, first + 1, results);
  }

 private:
  MultiGroup new_group(std::span<const std::int32_t> row, std::int32_t first) const {
    MultiGroup group;
    group.first = first;
    for (const std::int32_t member : row) {
      if (member == 0) break;  // the group is smaller than the row
      const auto found = position_.find(member);
      if (found == position_.end())
        host::raise_subscript_out_of_range("input " + std::to_string(member) +
                                           " of multi-way recalculation " + std::to_string(first));
      group.members.push_back(found->second);
    }
    group.inputs.resize(group.members.size());
    return group;
  }

  // `first`: from 1 among the multi-way recalculations, which follow the standard ones.
  std::vector<double> fetch(std::int32_t kind, const DralInputOutput& item, std::int32_t first,
                            std::int32_t count) const {
    std::vector<double> data;
    host::allocating([&] { data.resize(static_cast<std::size_t>(count)); });
    fetch(kind, item, first, data);
    return data;
  }
  void fetch(std::int32_t kind, const DralInputOutput& item, std::int32_t first,
             std::span<double> data) const {
    engine_.values(kind, item, run_, standard_ + first - 1, data);
    for (double& value : data) value = item.rules().without_nan(value);
  }

  static std::vector<std::int32_t> ranks_from_lowest(const std::vector<double>& values) {
    std::vector<double> distinct = values;
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    std::vector<std::int32_t> ranks;
    ranks.reserve(values.size());
    for (const double value : values)
      ranks.push_back(static_cast<std::int32_t>(std::lower_bound(distinct.begin(), distinct.end(), value) -
                                                distinct.begin()) +
                      1);
    return ranks;
  }

  session::Session& session_;
  EngineReader engine_;
  const Records& inputs_;
  std::int32_t run_;
  std::map<std::int32_t, std::int32_t> position_;  // of the record, by place in the engine's ordered list
  std::int32_t standard_ = 0, multi_way_ = 0;
};

// Most values differ by far; the rules are asked about the others alone.
bool same(const NumberRules& rules, double a, double b) {
  if (std::fabs(a - b) > NumberRules::kRounding * std::max(std::fabs(a), std::fabs(b))) return false;
  return rules.difference(a, b) == 0;
}

// What one input did to an output alone.
struct Alone {
  Reach values, results;
  std::int32_t failed = 0;
};

// One output beside the groups.
class Comparison {
 public:
  Comparison(const MultiWayRun& run, const Records& inputs, const DralInputOutput& output,
             std::int32_t selected, std::int32_t on)
      : run_(run),
        inputs_(inputs),
        rules_(output.rules()),
        base_(output.BaseValue()),
        selected_(selected),
        on_(on),
        alone_(inputs.size()) {
    for (std::int32_t i = 1; i <= inputs.size(); ++i) alone_(i) = read_alone(inputs(i));
  }

  GroupEffect effect_of(const MultiGroup& group) const {
    const double missing = rules_.missing_number();
    GroupEffect effect{.lowest = missing,
                       .highest = missing,
                       .lowest_change = missing,
                       .highest_change = missing,
                       .own_swings = missing,
                       .interaction = missing,
                       .interaction_state = InteractionState::kErrors};
    find_ends(group, effect);
    if (effect.lowest_at == 0) return effect;
    effect.lowest_change = rules_.fractional_change(effect.lowest, base_);
    effect.highest_change = rules_.fractional_change(effect.highest, base_);
    effect.swing = rules_.difference(effect.highest, effect.lowest);
    effect.bar_width =
        base_ != 0 && rules_.is_usable(base_) ? effect.highest_change - effect.lowest_change : effect.swing;
    effect.leaves_out_base = leaves_out_base(group, effect);
    effect.interaction_state = state_of(group, effect);
    if (effect.interaction_state != InteractionState::kNoOwnSwing) add_own_swings(group, effect);
    if (effect.interaction_state != InteractionState::kMeasured) effect.interaction = missing;
    return effect;
  }

 private:
  Alone read_alone(const DralInputOutput& input) const {
    Alone alone;
    for (std::int32_t step = 1; step <= input.numSteps; ++step) {
      const double value = input.InputValuesUsed(step);
      if (rules_.is_usable(value)) alone.values.add(value);
      const double result = input.OutputValuesCalculated(on_, step);
      if (rules_.is_usable(result))
        alone.results.add(result);
      else
        ++alone.failed;
    }
    return alone;
  }

  double result(const MultiGroup& group, std::int32_t combination) const {
    return run_.result(selected_, group, combination);
  }

  void find_ends(const MultiGroup& group, GroupEffect& effect) const {
    for (std::int32_t c = 1; c <= group.combinations; ++c) {
      const double value = result(group, c);
      if (!rules_.is_usable(value)) {
        ++effect.failed;
        continue;
      }
      if (effect.lowest_at == 0 || value < effect.lowest) {
        effect.lowest = value;
        effect.lowest_at = c;
      }
      if (effect.highest_at == 0 || value > effect.highest) {
        effect.highest = value;
        effect.highest_at = c;
      }
    }
  }

  // Whether a member's value, of those it took in the group, is one that the member is known by otherwise.
  template <class Known>
  bool all_members(const MultiGroup& group, std::int32_t combination, const Known& known) const {
    for (std::int32_t m = 1; m <= group.members.size(); ++m)
      if (!known(inputs_(group.members(m)), group.inputs(m).value[element(combination)])) return false;
    return true;
  }

  bool leaves_out_base(const MultiGroup& group, const GroupEffect& effect) const {
    if (!rules_.is_usable(base_)) return false;
    if (Reach{effect.lowest, effect.highest}.contains(rules_, base_)) return false;
    for (const std::int32_t member : group.members)
      if (!rules_.is_usable(inputs_(member).BaseValue())) return false;
    const auto at_base = [&](const DralInputOutput& input, double value) {
      return same(rules_, value, input.BaseValue());
    };
    for (std::int32_t c = 1; c <= group.combinations; ++c)
      if (rules_.is_usable(result(group, c)) && all_members(group, c, at_base)) return false;
    return true;
  }

  InteractionState state_of(const MultiGroup& group, const GroupEffect& effect) const {
    bool errors = effect.failed > 0;
    for (const std::int32_t member : group.members) {
      if (alone_(member).results.is_empty()) return InteractionState::kNoOwnSwing;
      errors = errors || alone_(member).failed > 0;
    }
    if (errors) return InteractionState::kErrors;
    for (std::int32_t m = 1; m <= group.members.size(); ++m)
      if (!compares(group, m)) return InteractionState::kOtherValues;
    if (!met_at_own_steps(group, effect.lowest) || !met_at_own_steps(group, effect.highest))
      return InteractionState::kOtherValues;
    return InteractionState::kMeasured;
  }

  // Whether a member reached as far in the group as alone, and met its own ends at values of the group.
  bool compares(const MultiGroup& group, std::int32_t m) const {
    const DralInputOutput& input = inputs_(group.members(m));
    const Alone& alone = alone_(group.members(m));
    const std::vector<double>& values = group.inputs(m).value;
    Reach reach;
    for (const double value : values)
      if (rules_.is_usable(value)) reach.add(value);
    if (!reach.equals(rules_, alone.values)) return false;
    const auto met_in_group = [&](double end) {
      for (std::int32_t step = 1; step <= input.numSteps; ++step) {
        const double value = input.InputValuesUsed(step);
        if (same(rules_, input.OutputValuesCalculated(on_, step), end) &&
            std::any_of(values.begin(), values.end(), [&](double v) { return same(rules_, v, value); }))
          return true;
      }
      return false;
    };
    return met_in_group(*alone.results.least) && met_in_group(*alone.results.greatest);
  }

  bool met_at_own_steps(const MultiGroup& group, double end) const {
    const auto own_step = [&](const DralInputOutput& input, double value) {
      for (std::int32_t step = 1; step <= input.numSteps; ++step)
        if (same(rules_, input.InputValuesUsed(step), value)) return true;
      return false;
    };
    for (std::int32_t c = 1; c <= group.combinations; ++c)
      if (same(rules_, result(group, c), end) && all_members(group, c, own_step)) return true;
    return false;
  }

  // The swings of the members, added up, and what the group's swing has beyond them.
  void add_own_swings(const MultiGroup& group, GroupEffect& effect) const {
    double largest = std::max(std::fabs(effect.lowest), std::fabs(effect.highest));
    effect.own_swings = 0;
    for (const std::int32_t member : group.members) {
      const Reach& results = alone_(member).results;
      effect.own_swings += results.swing(rules_);
      largest = std::max(largest, results.largest_size());
    }
    // Every swing may be off by the rounding of its results.
    const double rounding = NumberRules::kRounding * largest * static_cast<double>(group.members.size() + 1);
    effect.interaction = effect.swing - effect.own_swings;
    if (std::fabs(effect.interaction) <= rounding) effect.interaction = 0;
  }

  const MultiWayRun& run_;
  const Records& inputs_;
  const NumberRules& rules_;
  double base_;
  std::int32_t selected_, on_;
  OneBased<Alone> alone_;
};

}  // namespace

double MultiWayRun::result(std::int32_t output, const MultiGroup& group, std::int32_t combination) const {
  if (combination < 1 || combination > group.combinations)
    host::raise_subscript_out_of_range("combination " + std::to_string(combination) + " of " +
                                       std::to_string(group.combinations));
  const std::int32_t recalculation = group.first + combination - 1;
  const std::vector<double>& kept = results(output);
  return kept.empty() && asked_for ? asked_for->at(output, recalculation - 1) : kept[element(recalculation)];
}

MultiWayRun ReadMultiWay(session::Session& session, const Records& inputs, const Records& outputs,
                         const OneBased<std::int32_t>& selectedOutputs, std::int32_t maxGroupSize,
                         std::int32_t runNumber, std::size_t most_results) {
  const auto reader = std::make_shared<Reader>(session, inputs, runNumber);
  MultiWayRun run;
  const std::int32_t most_members = maxGroupSize < 1 ? std::max(inputs.size(), 1) : maxGroupSize;
  if (!reader->read_groups(most_members, run.groups)) return {};
  run.recalculations = reader->recalculations();
  session.log.line("MultiWay.ReadMultiWay groups: " + session::log_text(run.groups.size()) +
                   "   recalculations: " + session::log_text(run.recalculations));
  for (MultiGroup& group : run.groups) {
    session.check_cancel();
    reader->read_member_values(group);
  }
  const std::size_t room = most_results / static_cast<std::size_t>(std::max(run.recalculations, 1));
  for (const std::int32_t output : selectedOutputs) {
    session.check_cancel();
    const bool kept = static_cast<std::size_t>(run.results.size()) < room;
    run.results.push_back(kept ? reader->read_results(outputs(output)) : std::vector<double>());
  }
  if (room < static_cast<std::size_t>(selectedOutputs.size()))
    run.asked_for = std::make_shared<GroupResults>(
        selectedOutputs.size(), run.recalculations,
        [reader, &outputs, selectedOutputs](std::int32_t output, std::int32_t first, std::span<double> to) {
          reader->read_results(outputs(selectedOutputs(output)), first, to);
        });
  return run;
}

GroupEffects RankGroups(const MultiWayRun& run, const Records& inputs, const Records& outputs,
                        std::int32_t selected, std::int32_t outputIndex) {
  GroupEffects effects;
  if (run.groups.empty()) return effects;
  const Comparison comparison(run, inputs, outputs(outputIndex), selected, outputIndex);
  std::vector<double> swings;
  for (const MultiGroup& group : run.groups) {
    effects.push_back(comparison.effect_of(group));
    swings.push_back(effects(effects.size()).swing);
  }
  const OneBased<std::int32_t> ranks = rank_descending(swings);
  for (std::int32_t g = 1; g <= effects.size(); ++g) effects(g).rank = ranks(g);
  return effects;
}

OneBased<std::int32_t> CombinationsInOrder(const MultiGroup& group) {
  OneBased<std::int32_t> order(group.combinations);
  std::iota(order.begin(), order.end(), 1);
  std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
    for (const multiData& input : group.inputs) {
      const std::int32_t rank_a = input.rank[element(a)];
      const std::int32_t rank_b = input.rank[element(b)];
      if (rank_a != rank_b) return rank_a < rank_b;
    }
    return false;
  });
  return order;
}

}  // namespace ordvane::model
