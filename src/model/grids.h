// Groups of inputs varied together as grids: the results by the values of the members, and how their variance
// divides.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "model/multi_way.h"

namespace ordvane::model {

// The values that each member took, rising, and the result at every combination of them.
struct Grid {
  std::vector<std::vector<double>> values;  // of the members
  std::vector<double> results;  // the last member's value changes fastest; the missing-number marker for none

  // `places`: of the members' values, from 0.
  double result(const std::vector<std::size_t>& places) const;
};

// None where a value of a member is no number, or the values span more than `most` combinations. `selected`:
// the output's one-based position in the selection.
std::optional<Grid> GridOf(const MultiWayRun& run, const MultiGroup& group, std::int32_t selected,
                           const NumberRules& rules, std::size_t most);

// Where the members stand at these values; none where one of them did not.
std::optional<std::vector<std::size_t>> PlacesOf(const Grid& grid, const std::vector<double>& values,
                                                 const NumberRules& rules);

// How the variance of the results over all combinations, each counting the same, divides: exact parts of it,
// which add up to 1.
struct VarianceShares {
  std::vector<double> alone;  // of the members: of the means at their values
  double together = 0;        // what is left when the effects that the members have alone are taken away
};
// None where a result is no number, or all are the same.
std::optional<VarianceShares> VarianceSharesOf(const Grid& grid, const NumberRules& rules);

// How wide each of these swings is beside the widest of them: 0 to 1, 0 where all are 0. What is no number
// (`rules`) stays what it is.
std::vector<double> SharesOfWidest(const std::vector<double>& swings, const NumberRules& rules);

}  // namespace ordvane::model
