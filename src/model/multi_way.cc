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

#include "model/engine_calls.h"
#include "model/naming.h"
#include "model/ranking.h"

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
      : session_(session), inputs_(inputs), run_(run) {
    for (std::int32_t i = 1; i <= inputs.size(); ++i) position_.try_emplace(inputs(i).ioIndex + 1, i);
    OneBased<std::int32_t> list(2 * inputs.size());
    std::int32_t varied = 0;
    session.engine->DRL4_GetVaryMultis(session.hVars, {list.data(), static_cast<std::size_t>(list.size())},
                                       varied, standard_, multi_way_);
  }

  std::int32_t recalculations() const { return multi_way_; }

  // Neighbouring recalculations of the same members are one group.
  bool read_groups(std::int32_t most_members, OneBased<MultiGroup>& groups) {
    const std::int32_t rows = std::max(kMembersPerCall / most_members, 1);
    std::vector<std::int32_t> members, steps;
    std::vector<std::int32_t> current;  // members of the group that is being read
    for (std::int32_t first = 0; first < multi_way_; first += rows) {
      const std::int32_t count = std::min(rows, multi_way_ - first);
      const auto cells = static_cast<std::size_t>(count) * static_cast<std::size_t>(most_members);
      members.assign(cells, 0);
      steps.assign(cells, 0);
      const std::int32_t rc = session_.engine->DRL4_GetUsedVaryMultis(session_.hVars, first, count, members,
                                                                      most_members, most_members, steps);
      if (rc != 0) {
        session_.log.line("MultiWay.ReadMultiWay DRL4_GetUsedVaryMultis rc: " + session::log_text(rc) +
                          "   Start: " + session::log_text(first));
        return false;
      }
      for (std::int32_t r = 0; r < count; ++r) {
        const auto row = std::span<const std::int32_t>(members).subspan(
            static_cast<std::size_t>(r) * static_cast<std::size_t>(most_members),
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

  std::vector<double> read_results(const DralInputOutput& output) {
    return fetch(engine::kOutput, output, 1, multi_way_);
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
                            std::int32_t count) {
    std::vector<double> data(static_cast<std::size_t>(count));
    fetch_values(session_, kind, item, run_, standard_ + first - 1, data);
    for (double& value : data) value = item.rules().without_nan(value);
    return data;
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
  const Records& inputs_;
  std::int32_t run_;
  std::map<std::int32_t, std::int32_t> position_;  // of the record, by place in the engine's ordered list
  std::int32_t standard_ = 0, multi_way_ = 0;
};

// The members' swings one at a time, added up; nothing when one of them has none.
bool add_own_swings(const MultiGroup& group, const Records& inputs, std::int32_t output, double& sum) {
  sum = 0;
  for (const std::int32_t member : group.members) {
    const DralInputOutput& input = inputs(member);
    const double low = input.outputMinValue(output);
    const double high = input.outputMaxValue(output);
    if (!input.rules().is_usable(low) || !input.rules().is_usable(high)) return false;
    sum += high - low;
  }
  return true;
}

// The difference of two sums of results, without what their rounding leaves behind.
double without_rounding(double difference, double largest_result, std::int32_t terms) {
  const double rounding =
      largest_result * std::numeric_limits<double>::epsilon() * static_cast<double>(2 * terms + 2);
  return std::fabs(difference) <= rounding ? 0.0 : difference;
}

GroupEffect effect_of(const MultiWayRun& run, const MultiGroup& group, const Records& inputs,
                      const DralInputOutput& output, std::int32_t selected, std::int32_t on) {
  const NumberRules& rules = output.rules();
  const double missing = rules.missing_number();
  GroupEffect effect{.lowest = missing,
                     .highest = missing,
                     .lowest_change = missing,
                     .highest_change = missing,
                     .own_swings = missing,
                     .interaction = missing};
  for (std::int32_t c = 1; c <= group.combinations; ++c) {
    const double result = run.result(selected, group, c);
    if (!rules.is_usable(result)) continue;
    if (effect.lowest_at == 0 || result < effect.lowest) {
      effect.lowest = result;
      effect.lowest_at = c;
    }
    if (effect.highest_at == 0 || result > effect.highest) {
      effect.highest = result;
      effect.highest_at = c;
    }
  }
  if (effect.lowest_at == 0) return effect;

  const double base = output.BaseValue();
  effect.lowest_change = rules.fractional_change(effect.lowest, base);
  effect.highest_change = rules.fractional_change(effect.highest, base);
  effect.swing = effect.highest - effect.lowest;
  effect.bar_width =
      base != 0 && rules.is_usable(base) ? effect.highest_change - effect.lowest_change : effect.swing;
  double own_swings = 0;
  if (add_own_swings(group, inputs, on, own_swings)) {
    effect.own_swings = own_swings;
    effect.interaction = without_rounding(
        effect.swing - own_swings,
        std::max({std::fabs(effect.lowest), std::fabs(effect.highest), own_swings}), group.members.size());
  }
  return effect;
}

}  // namespace

double MultiWayRun::result(std::int32_t output, const MultiGroup& group, std::int32_t combination) const {
  if (combination < 1 || combination > group.combinations)
    host::raise_subscript_out_of_range("combination " + std::to_string(combination) + " of " +
                                       std::to_string(group.combinations));
  return results(output)[element(group.first + combination - 1)];
}

MultiWayRun ReadMultiWay(session::Session& session, const Records& inputs, const Records& outputs,
                         const OneBased<std::int32_t>& selectedOutputs, std::int32_t maxGroupSize,
                         std::int32_t runNumber) {
  Reader reader(session, inputs, runNumber);
  MultiWayRun run;
  const std::int32_t most_members = maxGroupSize < 1 ? std::max(inputs.size(), 1) : maxGroupSize;
  if (!reader.read_groups(most_members, run.groups)) return {};
  run.recalculations = reader.recalculations();
  session.log.line("MultiWay.ReadMultiWay groups: " + session::log_text(run.groups.size()) +
                   "   recalculations: " + session::log_text(run.recalculations));
  for (MultiGroup& group : run.groups) {
    session.check_cancel();
    reader.read_member_values(group);
  }
  for (const std::int32_t output : selectedOutputs) {
    session.check_cancel();
    run.results.push_back(reader.read_results(outputs(output)));
  }
  return run;
}

GroupEffects RankGroups(const MultiWayRun& run, const Records& inputs, const Records& outputs,
                        std::int32_t selected, std::int32_t outputIndex) {
  GroupEffects effects;
  std::vector<double> swings;
  for (const MultiGroup& group : run.groups) {
    effects.push_back(effect_of(run, group, inputs, outputs(outputIndex), selected, outputIndex));
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
