// What reports share, over tables of cases.
#include "reports/table_values.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "reports/body_writer.h"
#include "reports/chart_helpers.h"
#include "reports/progress.h"
#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using namespace model;  // NOLINT: the cases are tables of its enumerators

constexpr double kMissing = host::kMissingNumber;
constexpr double kInfinity = std::numeric_limits<double>::infinity();
using test::kNumError;

const struct {
  const char* what;
  double value, divisor;
  OrdvaneDivisorType kind;
  std::int32_t flag;  // 0: `shown` is shown
  double shown = 0;
} kValueCases[] = {
    {"a value by itself", 7.5, 1.0, OrdvaneDivisorInputOrOutput, 0, 7.5},
    {"a quotient", 7.5, -2.5, OrdvaneDivisorInput, 0, -3},
    {"zero is a value", 0, 4, OrdvaneDivisorInput, 0, 0},
    {"no change: either base zero", kMissing, 1.0, OrdvaneDivisorInputOrOutput, 16},
    {"no change: input base zero", kMissing, 5.0, OrdvaneDivisorInput, 1},
    {"no change: output base zero", kMissing, 1.0, OrdvaneDivisorOutput, 2},
    {"an error value", kNumError, 1.0, OrdvaneDivisorOutput, 128},
    {"an error value is told before its divisor", kNumError, 0.0, OrdvaneDivisorInput, 128},
    {"either base an error value", 1, kNumError, OrdvaneDivisorInputOrOutput, 32},
    {"input base an error value", 1, kNumError, OrdvaneDivisorInput, 4},
    {"output base an error value", 1, kNumError, OrdvaneDivisorOutput, 8},
    {"input base missing", 1, kMissing, OrdvaneDivisorInput, 4},
    {"size of a missing base", 1, -kMissing, OrdvaneDivisorOutput, 8},
    {"either base zero", 1, 0.0, OrdvaneDivisorInputOrOutput, 16},
    {"input base zero", 1, -0.0, OrdvaneDivisorInput, 1},
    {"output base zero", 1, 0.0, OrdvaneDivisorOutput, 2},
    {"a quotient too large", 1e300, 1e-300, OrdvaneDivisorInput, 128},
    {"not a number", std::nan(""), 1.0, OrdvaneDivisorInput, 128},
    {"infinite", -kInfinity, 1.0, OrdvaneDivisorInput, 128},
};

TEST(FormatTableValue, ShowsTheNumberOrSaysWhyNot) {
  const NumberRules rules(runfile::make_recorded_engine(std::make_shared<runfile::Run>()),
                          std::make_shared<environment::StandardEnvironment>(environment::Settings{}));
  for (const auto& c : kValueCases) {
    SCOPED_TRACE(c.what);
    constexpr std::int32_t kEarlier = 1024;  // flags add up
    std::int32_t flags = kEarlier;
    const host::CellValue shown = FormatTableValue(rules, c.value, flags, c.divisor, c.kind);
    EXPECT_EQ(flags, kEarlier | c.flag);
    EXPECT_EQ(shown, c.flag == 0 ? host::CellValue(c.shown) : host::CellValue(" - "));
    host::CellBlock block(1, 2);
    FormatTableValue(rules, block, 1, 2, c.value, flags, c.divisor, c.kind);
    EXPECT_EQ(block.value(1, 2), shown);
  }
}

TEST(ShowProgress, IsThrottledOnlyWithAStep) {
  test::TablesBench bench;
  for (std::int32_t i = 1; i <= 7; ++i) ShowProgress(bench.session, std::to_string(i), "of", "7", i, 3, 7);
  ShowProgress(bench.session, "at once", {}, {}, 1);
  EXPECT_EQ(bench.environment->progress,
            (std::vector<std::string>{"3/of/7", "6/of/7", "7/of/7", "at once//"}));
  EXPECT_EQ(bench.app->status_bar(), "at once");
}

TEST(BodyWriter, WritesBlockAfterBlock) {
  test::TablesBench bench;
  auto reports = bench.reports();
  constexpr std::int32_t kColumns = 256, kRows = 600;  // more than two blocks
  const auto table = reports.AddSheet("Body")->AddTable(kRows, kColumns, 1, 0, "", "");
  BodyWriter body(*table, kRows);
  for (std::int32_t row = 1; row <= kRows; ++row) body.block().set_number(body.next_row(), 1, row);
  EXPECT_EQ(body.rows(), kRows);
  body.flush();
  const host::CellBlock written = table->Body(1, 1, kRows, 1)->values();
  for (std::int32_t row = 1; row <= kRows; ++row) EXPECT_EQ(written.value(row, 1), host::CellValue(row));
}

TEST(FirstErrorCellIndex, CountsRowByRow) {
  test::GraphBench bench;
  const auto sheet = bench.workbook->AddSheet("Figures")->SheetWorksheet();
  const auto range = sheet->range("B2:C4");
  sheet->range("B2:C4")->set_value(1.0);
  EXPECT_EQ(FirstErrorCellIndex(*range), 0);
  sheet->range("C4")->set_value(host::CellError::kNA);
  sheet->range("B3")->set_value(host::CellError::kDiv0);
  EXPECT_EQ(FirstErrorCellIndex(*range), 3);
  EXPECT_EQ(FirstErrorCellIndex(*range, 5, 6), 3) << "bounds do not limit the walk";
}

TEST(MessageChart, IsAPanelThatShowsItsTitleOnly) {
  test::GraphBench bench;
  const auto sheet = bench.workbook->AddSheet("Panel");
  std::shared_ptr<layout::PointChart> made;
  EXPECT_EQ(CreateMessageChart(*sheet, "Nothing to see", &made), 0);
  ASSERT_TRUE(made);
  const auto book = bench.book();
  const office::ChartModel& chart = *book->sheets.front()->charts.front();
  ASSERT_FALSE(chart.title.empty());
  EXPECT_EQ(chart.title.front().text, "Nothing to see");
  ASSERT_EQ(chart.series.size(), 1U);
  EXPECT_EQ(chart.series.front()->marker.value().style, host::kXlNone);
  EXPECT_FALSE(chart.has_legend);
  EXPECT_EQ(chart.title_top, 130);
  EXPECT_EQ(chart.plot.fill.value().color, 0x99FFFF);
  EXPECT_EQ(chart.plot.border.value().color, 0x808080);
  for (const office::AxisModel& axis : chart.axes[0]) {
    EXPECT_EQ(axis.tick_labels, host::TickLabelPosition::kNone);
    EXPECT_EQ(axis.line.value().line_style, host::kXlNone);
    EXPECT_EQ(axis.major_tick_mark, host::kXlNone);
  }
}

}  // namespace
}  // namespace ordvane::reports
