#include "model/grids.h"

#include <algorithm>
#include <cmath>

namespace ordvane::model {
namespace {

// Goes through the results in their order, with the places of the members' values.
template <class Visit>
void for_each_result(const Grid& grid, Visit&& visit) {
  std::vector<std::size_t> places(grid.values.size());
  for (const double result : grid.results) {
    visit(places, result);
    for (std::size_t member = places.size(); member-- > 0;) {
      if (++places[member] < grid.values[member].size()) break;
      places[member] = 0;
    }
  }
}

}  // namespace

double Grid::result(const std::vector<std::size_t>& places) const {
  std::size_t at = 0;
  for (std::size_t member = 0; member < values.size(); ++member)
    at = at * values[member].size() + places[member];
  return results[at];
}

std::optional<Grid> GridOf(const MultiWayRun& run, const MultiGroup& group, std::int32_t selected,
                           const NumberRules& rules, std::size_t most) {
  Grid grid;
  std::size_t combinations = 1;
  for (const multiData& input : group.inputs) {
    if (!std::ranges::all_of(input.value, [&](double value) { return rules.is_usable(value); }))
      return std::nullopt;
    // Values that differ have ranks from 1 on.
    const auto different =
        input.rank.empty() ? std::size_t{0} : static_cast<std::size_t>(std::ranges::max(input.rank));
    combinations *= different;
    if (combinations == 0 || combinations > most) return std::nullopt;
    std::vector<double>& values = grid.values.emplace_back(different);
    for (std::size_t c = 0; c < input.rank.size(); ++c)
      values[static_cast<std::size_t>(input.rank[c] - 1)] = input.value[c];
  }
  grid.results.assign(combinations, rules.missing_number());
  std::vector<bool> filled(combinations);
  for (std::int32_t c = 1; c <= group.combinations; ++c) {
    std::size_t at = 0;
    for (std::int32_t m = 1; m <= group.inputs.size(); ++m)
      at = at * grid.values[static_cast<std::size_t>(m - 1)].size() +
           static_cast<std::size_t>(group.inputs(m).rank[static_cast<std::size_t>(c - 1)] - 1);
    if (!filled[at]) grid.results[at] = run.result(selected, group, c);
    filled[at] = true;
  }
  return grid;
}

std::optional<std::vector<std::size_t>> PlacesOf(const Grid& grid, const std::vector<double>& values,
                                                 const NumberRules& rules) {
  std::vector<std::size_t> places;
  for (std::size_t member = 0; member < grid.values.size(); ++member) {
    const std::vector<double>& tried = grid.values[member];
    const auto same = std::find_if(tried.begin(), tried.end(), [&](double value) {
      return rules.difference(value, values[member]) == 0;
    });
    if (same == tried.end()) return std::nullopt;
    places.push_back(static_cast<std::size_t>(same - tried.begin()));
  }
  return places;
}

std::optional<VarianceShares> VarianceSharesOf(const Grid& grid, const NumberRules& rules) {
  const auto count = static_cast<double>(grid.results.size());
  double mean = 0, largest = 0;
  for (const double result : grid.results) {
    if (!rules.is_usable(result)) return std::nullopt;
    mean += result;
    largest = std::max(largest, std::fabs(result));
  }
  mean /= count;
  // What calculating the results leaves behind is no variance.
  const auto beyond_rounding = [&](double variance) {
    return std::sqrt(variance) <= NumberRules::kRounding * largest ? 0 : variance;
  };

  std::vector<std::vector<double>> effects;  // of the members, by value
  for (const auto& values : grid.values) effects.emplace_back(values.size());
  for_each_result(grid, [&](const auto& places, double result) {
    for (std::size_t member = 0; member < places.size(); ++member) effects[member][places[member]] += result;
  });
  VarianceShares shares;
  double variance = 0;
  for (std::vector<double>& of_member : effects) {
    const auto values = static_cast<double>(of_member.size());
    double own = 0;
    for (double& effect : of_member) {
      effect = effect / (count / values) - mean;
      own += effect * effect;
    }
    shares.alone.push_back(beyond_rounding(own / values));
    variance += shares.alone.back();
  }
  for_each_result(grid, [&](const auto& places, double result) {
    double left = result - mean;
    for (std::size_t member = 0; member < places.size(); ++member) left -= effects[member][places[member]];
    shares.together += left * left;
  });
  shares.together = beyond_rounding(shares.together / count);
  variance += shares.together;
  if (!(variance > 0) || !std::isfinite(variance)) return std::nullopt;
  for (double& share : shares.alone) share /= variance;
  shares.together /= variance;
  return shares;
}

std::vector<double> SharesOfWidest(const std::vector<double>& swings, const NumberRules& rules) {
  double widest = 0;
  for (const double swing : swings)
    if (rules.is_usable(swing)) widest = std::max(widest, swing);
  std::vector<double> shares;
  for (const double swing : swings)
    shares.push_back(rules.is_usable(swing) && widest > 0 ? swing / widest : swing);
  return shares;
}

}  // namespace ordvane::model
