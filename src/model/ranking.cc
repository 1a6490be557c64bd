#include "model/ranking.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <functional>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

namespace ordvane::model {
namespace {

// Positions count from 1: the middle element's place depends on them, and with it the order that equal values
// are left in.
class CompanionSort {
 public:
  CompanionSort(std::span<double> values, std::span<std::int32_t> companion, const Poll& poll)
      : values_(values), companion_(companion), pace_(poll) {}

  void sort() {
    const auto size = static_cast<std::int64_t>(values_.size());
    // Random values of any number, and all that models were seen to give, nest at most 3 times as deep as a
    // sort that always halves.
    most_parts_ = 32 + 4 * static_cast<int>(std::bit_width(values_.size()));
    sort_between(1, size, 0);
  }

 private:
  static std::size_t at(std::int64_t position) { return static_cast<std::size_t>(position - 1); }

  // Both ends are included. `depth`: how many parts this one lies in.
  void sort_between(std::int64_t low, std::int64_t high, int depth) {
    for (; low < high; ++depth) {
      if (depth > most_parts_) return merge_between(low, high);
      pace_.step(static_cast<std::size_t>(high - low));
      const auto [left_end, right_begin] = partition(low, high);
      // The parts do not touch, so the order in which they are sorted changes nothing: recursing into the
      // smaller one keeps the stack small.
      if (left_end - low < high - right_begin) {
        sort_between(low, left_end, depth + 1);
        low = right_begin;
      } else {
        sort_between(right_begin, high, depth + 1);
        high = left_end;
      }
    }
  }

  // Where the left part ends and the right one begins.
  std::pair<std::int64_t, std::int64_t> partition(std::int64_t low, std::int64_t high) {
    std::int64_t i = low;
    std::int64_t j = high;
    const double pivot = values_[at((low + high) / 2)];
    while (i <= j) {
      while (values_[at(i)] < pivot && i < high) ++i;
      while (pivot < values_[at(j)] && j > low) --j;
      if (i <= j) {
        std::swap(values_[at(i)], values_[at(j)]);
        std::swap(companion_[at(i)], companion_[at(j)]);
        ++i;
        --j;
      }
    }
    return {j, i};
  }

  void merge_between(std::int64_t low, std::int64_t high) {
    std::vector<std::pair<double, std::int32_t>> rest;
    for (std::int64_t i = low; i <= high; ++i) rest.emplace_back(values_[at(i)], companion_[at(i)]);
    std::stable_sort(rest.begin(), rest.end(), [this](const auto& a, const auto& b) {
      pace_.step();
      return a.first < b.first;
    });
    for (std::int64_t i = low; i <= high; ++i)
      std::tie(values_[at(i)], companion_[at(i)]) = rest[static_cast<std::size_t>(i - low)];
  }

  std::span<double> values_;
  std::span<std::int32_t> companion_;
  Pace pace_;
  int most_parts_ = 0;
};

}  // namespace

void sort_with_companion(std::span<double> values, std::span<std::int32_t> companion, const Poll& poll) {
  CompanionSort(values, companion, poll).sort();
}

OneBased<std::int32_t> rank_descending(std::span<const double> values, const Poll& poll) {
  Pace pace(poll);
  // Where counting would start each rank: 1 plus the number of strictly greater values. NaN is never greater.
  std::vector<double> sorted;
  sorted.reserve(values.size());
  for (const double value : values)
    if (!std::isnan(value)) sorted.push_back(value);
  std::sort(sorted.begin(), sorted.end(), [&pace](double a, double b) {
    pace.step();
    return a > b;
  });

  // next_free[r]: the first rank from r on that is not taken, found through the ones that are.
  std::vector<std::size_t> next_free(values.size() + 1);
  std::iota(next_free.begin(), next_free.end(), std::size_t{0});
  const auto find_free = [&](std::size_t rank) {
    while (next_free[rank] != rank) {
      next_free[rank] = next_free[next_free[rank]];
      rank = next_free[rank];
    }
    return rank;
  };

  OneBased<std::int32_t> ranks;
  for (const double value : values) {
    pace.step();
    const auto greater = std::isnan(value)
                             ? sorted.begin()
                             : std::lower_bound(sorted.begin(), sorted.end(), value, std::greater<>());
    const std::size_t rank = find_free(static_cast<std::size_t>(greater - sorted.begin()));
    ranks.push_back(static_cast<std::int32_t>(rank) + 1);
    next_free[rank] = rank + 1;
  }
  return ranks;
}

}  // namespace ordvane::model
