// Sorting and ranking against slow, obvious versions of the same rules.
#include "model/ranking.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <random>
#include <set>
#include <utility>

namespace ordvane::model {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Counting, then raising a taken rank until it is free.
std::vector<int> ranks_by_counting(const std::vector<double>& values) {
  std::vector<int> ranks;
  std::set<int> taken;
  for (const double value : values) {
    int rank = 1;
    for (const double other : values)
      if (other > value) ++rank;
    while (!taken.insert(rank).second) ++rank;
    ranks.push_back(rank);
  }
  return ranks;
}

// The sort as its description reads: both parts by recursion, positions from 1.
void plain_sort(std::vector<double>& a, std::vector<int>& b, int low, int high) {
  int i = low;
  int j = high;
  const double pivot = a[static_cast<std::size_t>((low + high) / 2)];
  do {
    while (a[static_cast<std::size_t>(i)] < pivot && i < high) ++i;
    while (pivot < a[static_cast<std::size_t>(j)] && j > low) --j;
    if (i <= j) {
      std::swap(a[static_cast<std::size_t>(i)], a[static_cast<std::size_t>(j)]);
      std::swap(b[static_cast<std::size_t>(i)], b[static_cast<std::size_t>(j)]);
      ++i;
      --j;
    }
  } while (i <= j);
  if (low < j) plain_sort(a, b, low, j);
  if (i < high) plain_sort(a, b, i, high);
}

// Every array of up to six elements drawn from three values, then larger random ones with many ties.
std::vector<std::vector<double>> arrays() {
  std::vector<std::vector<double>> result;
  for (std::size_t size = 1; size <= 6; ++size) {
    std::size_t combinations = 1;
    for (std::size_t i = 0; i < size; ++i) combinations *= 3;
    for (std::size_t c = 0; c < combinations; ++c) {
      std::vector<double> values;
      for (std::size_t i = 0, rest = c; i < size; ++i, rest /= 3)
        values.push_back(static_cast<double>(rest % 3));
      result.push_back(values);
    }
  }
  std::mt19937 random(1);
  const auto random_values = [&](std::size_t size, unsigned distinct) {
    std::vector<double> values(size);
    for (double& value : values) value = static_cast<double>(random() % distinct) - 3;
    return values;
  };
  for (const unsigned distinct : {2U, 10U, 1000U})
    for (int n = 0; n < 20; ++n) result.push_back(random_values(1 + random() % 300, distinct));
  return result;
}

// The same, and so many that the sort nests deep: as recalculated, input after input rising or falling;
// sorted.
std::vector<std::vector<double>> arrays_to_sort() {
  auto result = arrays();
  std::mt19937 random(2);
  for (const int steps : {1, 2, 11, 1000}) {
    std::vector<double> values;
    while (values.size() < 20000) {
      const double effect = static_cast<double>(random() % 200) - 100;
      for (int step = 0; step < steps; ++step) values.push_back(effect * (step - steps / 2));
    }
    result.push_back(values);
  }
  std::sort(result.back().begin(), result.back().end());
  return result;
}

TEST(Ranking, EqualsCounting) {
  auto cases = arrays();
  cases.push_back({5, kNaN, 7, kNaN, 5});
  cases.push_back({kNaN, 1, kNaN});
  for (const auto& values : cases) {
    const auto ranks = rank_descending(values);
    EXPECT_EQ(std::vector<int>(ranks.begin(), ranks.end()), ranks_by_counting(values))
        << ::testing::PrintToString(values);
  }
}

TEST(Ranking, SortLeavesEqualValuesInTheDescribedOrder) {
  for (const auto& values : arrays_to_sort()) {
    std::vector<double> sorted = values;
    std::vector<std::int32_t> companion(values.size());
    std::iota(companion.begin(), companion.end(), 1);
    sort_with_companion(sorted, companion);

    std::vector<double> expected = values;
    expected.insert(expected.begin(), 0);
    std::vector<int> expected_companion(expected.size());
    std::iota(expected_companion.begin(), expected_companion.end(), 0);
    plain_sort(expected, expected_companion, 1, static_cast<int>(values.size()));
    ASSERT_EQ(sorted, std::vector<double>(expected.begin() + 1, expected.end()));
    ASSERT_EQ(companion, std::vector<std::int32_t>(expected_companion.begin() + 1, expected_companion.end()))
        << ::testing::PrintToString(values);
  }
}

// The work is counted by the polls, one in so many steps.
TEST(Ranking, NoShapeTakesMuchLongerThanRandomValues) {
  constexpr int kSize = 400000;
  std::mt19937 random(1);
  int of_random = 0;
  for (const auto& value : std::vector<std::function<double(int)>>{
           [&](int) { return random(); }, [](int i) { return std::min(i, kSize - i); },
           [](int i) { return -std::min(i, kSize - i); }, [](int i) { return i; }, [](int i) { return -i; },
           [](int) { return 7; }}) {
    std::vector<double> sorted;
    for (int i = 0; i < kSize; ++i) sorted.push_back(value(i));
    std::vector<std::int32_t> companion(sorted.size());
    int polls = 0;
    sort_with_companion(sorted, companion, [&] { ++polls; });
    EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
    if (of_random == 0) of_random = polls;
    EXPECT_GT(polls, 20) << "the user may stop it";
    EXPECT_LT(polls, 6 * of_random);  // of far cheaper steps: nothing about them is hard to foresee
  }
}

TEST(Ranking, CanBeStopped) {
  struct Stopped {};
  const std::vector<double> values(400000);
  const auto stop = [] { throw Stopped(); };
  std::vector<double> sorted = values;
  std::vector<std::int32_t> companion(values.size());
  EXPECT_THROW(sort_with_companion(sorted, companion, stop), Stopped);
  EXPECT_THROW(rank_descending(values, stop), Stopped);
}

}  // namespace
}  // namespace ordvane::model
