#include "reports/chart_helpers.h"

#include <gtest/gtest.h>

#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using test::GraphBench;

// A sheet to put figures on.
std::shared_ptr<host::Worksheet> sheet_of(GraphBench& bench) {
  return bench.workbook->AddSheet("Figures")->SheetWorksheet();
}

TEST(FirstErrorCellIndex, CountsRowByRow) {
  GraphBench bench;
  const auto sheet = sheet_of(bench);
  const auto range = sheet->range("B2:C4");
  sheet->range("B2:C4")->set_value(1.0);
  EXPECT_EQ(FirstErrorCellIndex(*range), 0);
  sheet->range("C4")->set_value(host::CellError::kNA);
  sheet->range("B3")->set_value(host::CellError::kDiv0);
  EXPECT_EQ(FirstErrorCellIndex(*range), 3);
  EXPECT_EQ(FirstErrorCellIndex(*range, 5, 6), 3) << "bounds do not limit the walk";
}

TEST(GraphRangesExtent, SpansAllSeriesButThoseWithErrors) {
  GraphBench bench;
  const auto sheet = sheet_of(bench);
  const double figures[3][2] = {{1, 10}, {-4, 30}, {2, -5}};
  model::OrdvaneGraphRanges ranges;
  for (std::int32_t i = 1; i <= 3; ++i) {
    sheet->range(1, i, 1, 1)->set_value(figures[i - 1][0]);
    sheet->range(2, i, 1, 1)->set_value(figures[i - 1][1]);
    const auto range = ranges.Add(0);
    range->set_xValues(sheet->range(1, i, 1, 1));
    range->set_yValues(sheet->range(2, i, 1, 1));
  }
  Extent extent;
  EXPECT_EQ(GetGraphRangesExtent(bench.session, ranges, extent), 0);
  EXPECT_EQ(extent.x_minimum, -4);
  EXPECT_EQ(extent.x_maximum, 2);
  EXPECT_EQ(extent.y_minimum, -5);
  EXPECT_EQ(extent.y_maximum, 30);

  sheet->range(1, 2, 1, 1)->set_value(host::CellError::kNum);
  extent = {};
  GetGraphRangesExtent(bench.session, ranges, extent);
  EXPECT_EQ(extent.x_minimum, 1) << "the series with an error adds nothing";
  EXPECT_EQ(extent.y_maximum, 30) << "its other values do";
}

TEST(MessageChart, IsAPanelThatShowsItsTitleOnly) {
  GraphBench bench;
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
