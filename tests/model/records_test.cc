// Records, run summary and graph ranges: their rules, not their storage.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "model/graph_ranges.h"
#include "model/input_output.h"
#include "model/summary.h"

namespace ordvane::model {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

void expect_error(std::int32_t code, const std::function<void()>& step) {
  try {
    step();
    FAIL() << "expected error " << code;
  } catch (const host::Error& error) {
    EXPECT_EQ(error.code(), code);
  }
}

void expect_subscript_error(const std::function<void()>& access) {
  expect_error(host::errc::kSubscriptOutOfRange, access);
}

TEST(Record, TableSizesBelowOneBecomeOne) {
  DralInputOutput record;
  EXPECT_EQ(record.tableOfValuesInit(0), 1);
  EXPECT_EQ(record.TableOfValues(1), 0);
  expect_subscript_error([&] { record.TableOfValues(2); });
  EXPECT_EQ(record.tableOfValuesInit(5), 0);
  EXPECT_EQ(record.TableOfValues(5), 0);
  EXPECT_EQ(record.outputValuesCalculatedInit(3, 0), 1);
  EXPECT_EQ(record.OutputValuesCalculated(3, 1), 0);
  expect_subscript_error([&] { record.OutputValuesCalculated(1, 2); });
  EXPECT_EQ(record.outputMinMaxChangeInit(0, -4, 0), 1);
  EXPECT_EQ(record.outputMinMaxChange(1, 1, 1), 0);
}

TEST(Record, TablesTooLargeToAddressAreRefusedAndChangeNothing) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  DralInputOutput record;
  record.outputMinMaxChangeInit(2, 3, 4);
  record.outputMinMaxChangePut(2, 3, 4, 7);
  const std::array<std::int32_t, 3> kCases[] = {{kMost, kMost, 1}, {kMost, kMost, kMost}, {-1, kMost, kMost}};
  for (const auto& [l, j, k] : kCases) {
    expect_error(host::errc::kOutOfMemory, [&] { record.outputMinMaxChangeInit(l, j, k); });
    EXPECT_EQ(record.outputMinMaxChange(2, 3, 4), 7) << l << " by " << j << " by " << k;
    expect_subscript_error([&] { record.outputMinMaxChange(3, 3, 4); });
  }
}

TEST(Record, TablesNeverInitialisedHaveNoElements) {
  DralInputOutput record;
  expect_subscript_error([&] { record.outputRank(1); });
  expect_subscript_error([&] { record.outputRankPerStepPut(1, 1, 1); });
  record.outputRankInit(2);
  expect_subscript_error([&] { record.outputRankPut(0, 1); });
  expect_subscript_error([&] { record.outputRankPut(3, 1); });
}

TEST(Record, ElementsAreApart) {
  DralInputOutput record;
  record.outputMinMaxChangeInit(2, 3, 4);
  for (int l = 1; l <= 2; ++l)
    for (int j = 1; j <= 3; ++j)
      for (int k = 1; k <= 4; ++k) record.outputMinMaxChangePut(l, j, k, 100 * l + 10 * j + k);
  for (int l = 1; l <= 2; ++l)
    for (int j = 1; j <= 3; ++j)
      for (int k = 1; k <= 4; ++k) EXPECT_EQ(record.outputMinMaxChange(l, j, k), 100 * l + 10 * j + k);
}

TEST(Record, NaNNeverEntersWhereTheMarkerReplacesIt) {
  DralInputOutput record;
  record.tableOfValuesInit(1);
  record.outputRankInit(1);
  record.set_BaseValue(kNaN);
  EXPECT_EQ(record.BaseValue(), host::kMissingNumber);
  record.TableOfValuesPut(1, kNaN);
  EXPECT_EQ(record.TableOfValues(1), host::kMissingNumber);
  record.outputRankPut(1, kNaN);
  EXPECT_TRUE(std::isnan(record.outputRank(1)));
  record.m_BaseValue = kNaN;
  EXPECT_TRUE(std::isnan(record.BaseValue()));
}

TEST(Record, NamesAreTrimmedAndShortened) {
  DralInputOutput record;
  record.set_SimpleName("  Profit  ");
  EXPECT_EQ(record.SimpleName(), "Profit");
  record.set_SimpleName(std::string(100, 'x'));
  EXPECT_EQ(record.SimpleName().size(), 100U);
  EXPECT_EQ(record.SimpleNameShort(), std::string(74, 'x') + "…");
  // 38 characters outside the basic plane are 76 units: the cut must not halve one.
  std::string emoji;
  for (int i = 0; i < 38; ++i) emoji += "📋";
  record.set_SimpleName(emoji);
  EXPECT_EQ(record.SimpleNameShort(), emoji.substr(0, 37 * 4) + "…");
}

TEST(Record, NameOrAddressByMode) {
  DralInputOutput record;
  record.cellAddress = "C7";
  record.sheetName = "Inputs";
  record.bookName = "Model.xls";
  const struct {
    const char* io_name;
    int mode;
    const char* expected;
  } kCases[] = {
      {" ", 0, "C7"}, {" ", 1, "C7 (Inputs)"}, {"", 2, "C7 (Inputs)"},
      {" ", 3, ""},   {"Price", 0, "Price"},   {"Price", 3, "Price"},
  };
  record.set_SimpleName("Price");
  for (const auto& c : kCases) {
    record.ioName = c.io_name;
    EXPECT_EQ(record.NameOrQualifiedCellAddressName(static_cast<OrdvaneRangeMode>(c.mode)), c.expected)
        << "'" << c.io_name << "' mode " << c.mode;
  }
}

TEST(Record, FractionalChange) {
  const NumberRules rules;
  const struct {
    double value, base, expected;
  } kCases[] = {
      {90, -100, 1.9},
      {110, 100, 0.1},
      {5, 0, host::kMissingNumber},
      {host::kMissingNumber, 5, host::kMissingNumber},
      {5, host::kMissingNumber, host::kMissingNumber},
      {INFINITY, 5, host::kMissingNumber},
      {-100, -100, 0},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(rules.fractional_change(c.value, c.base), c.expected) << c.value << " from " << c.base;
}

TEST(Summary, ClampsTheNumberOfInputs) {
  OrdvaneSummary summary;
  EXPECT_EQ(summary.MaximumNumberOfInputs(), 0);
  const std::pair<int, int> kCases[] = {{33, 32}, {0, 1}, {-5, 1}, {32, 32}, {7, 7}};
  for (const auto& [set, stored] : kCases) {
    summary.set_MaximumNumberOfInputs(set);
    EXPECT_EQ(summary.MaximumNumberOfInputs(), stored);
  }
}

TEST(GraphRanges, AreFoundByPositionOnly) {
  OrdvaneGraphRanges ranges;
  std::int32_t index = 1;
  expect_subscript_error([&] { ranges.Item(index); });
  ranges.Add(7);
  const auto second = ranges.Add(7);
  const auto third = ranges.Add(2);
  second->set_rName("  Price ");
  index = 2;
  EXPECT_EQ(ranges.Item(index)->rName(), "Price");
  index = 5;
  EXPECT_EQ(ranges.Item(index), third);
  EXPECT_EQ(index, 3);
  index = 0;
  expect_subscript_error([&] { ranges.Item(index); });
}

}  // namespace
}  // namespace ordvane::model
