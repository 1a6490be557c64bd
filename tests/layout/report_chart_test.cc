// Report charts: the figures behind tornado bars, titles, axes, series looks, watermark.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "layout/bar_chart.h"
#include "layout/layout_bench.h"
#include "layout/point_chart.h"
#include "layout/report_table.h"
#include "layout/report_workbook.h"

namespace ordvane::layout {
namespace {

// Bars between these values, split at the base where they are to be split.
struct BarsBench : test::SheetBench {
  using Ends = std::vector<std::pair<host::CellValue, host::CellValue>>;
  BarsBench(const Ends& ends, double base, Bars bars = {}, const std::string& name = "Input",
            const std::vector<std::int32_t>& rows = {}) {
    const auto count = static_cast<std::int32_t>(ends.size());
    chart = sheet->AddBarChart(428, sheet->ChartHeightForBars(static_cast<std::int16_t>(count)));
    const auto table = sheet->AddTable(count, 3, 1, 0, "", "");
    host::CellBlock body(count, 3);
    for (std::int32_t row = 1; const auto& [low, high] : ends) {
      body.set(row, 1, name);
      body.set(row, 2, low);
      body.set(row, 3, high);
      Bar bar = {.row = row++, .name = name};
      if (low.is_number() && high.is_number())
        bar.ends = {std::min(low.number, high.number), std::max(low.number, high.number)};
      if (rows.empty() || std::find(rows.begin(), rows.end(), bar.row) != rows.end()) {
        bar.is_point = !rows.empty() && bar.ends->left == bar.ends->right;
        bars.bars.push_back(bar);
      }
    }
    table->PutBody(1, body);
    bars.columns = {1, 2, 3};
    bars.base = base;
    chart->Draw(*table, bars);
  }
  const office::ChartModel& drawn() { return *SheetBench::drawn().charts.front(); }
  double figure(std::size_t part, std::int32_t bar) {
    const office::Area& area = drawn().series[part]->values.area;
    return test::BookReader(*kept).value(*kept->sheets.front(), area.row + bar - 1, area.column).number;
  }
  // The figures of a bar, both pieces of the lead as one.
  std::vector<double> figures(std::int32_t bar) {
    std::vector<double> result;
    for (std::size_t part = 0; part < drawn().series.size(); ++part) result.push_back(figure(part, bar));
    result[1] += result[0];
    result.erase(result.begin());
    return result;
  }

  std::shared_ptr<BarChart> chart;
};

const struct {
  const char* what;
  host::CellValue low, high;
  double crossing;
  std::vector<double> figures;  // lead, bar -, bar +
  // Split at the crossing: lead, - above, + below, - below, + above, tails to the axis' ends.
  std::vector<double> parts;
} kBarCases[] = {
    {"right of zero", 30.0, 50.0, 40, {30, 0, 20}, {30, 0, 10, 0, 10}},
    {"left of zero", -50.0, -30.0, -40, {-30, -20, 0}, {-30, -10, 0, -10, 0}},
    {"across zero", -5.0, 3.0, 0, {0, -5, 3}, {0, 0, 0, -5, 3}},
    {"across zero and a base above", -5.0, 3.0, 2, {0, -5, 3}, {0, 0, 2, -5, 1}},
    {"across zero and a base below", -5.0, 3.0, -2, {0, -5, 3}, {0, -2, 0, -3, 3}},
    {"all above the base", 30.0, 50.0, 20, {30, 0, 20}, {30, 0, 0, 0, 20}},
    {"all below the base", -50.0, -30.0, 2, {-30, -20, 0}, {-30, 0, 0, -20, 0}},
    {"the other way round", 3.0, -5.0, 0, {0, -5, 3}, {0, 0, 0, -5, 3}},
    {"no length", 7.0, 7.0, 7, {7, 0, 0}, {7, 0, 0, 0, 0}},
    {"no low end", " - ", 50.0, 40, {40, 0, 0}, {40, 0, 0, 0, 0}},
    {"no high end, left of zero", -50.0, " - ", -40, {-40, 0, 0}, {-40, 0, 0, 0, 0}},
};

TEST(BarChart, DrawsFromFormulasOverTheTable) {
  for (const auto& c : kBarCases) {
    SCOPED_TRACE(c.what);
    BarsBench bench({{c.low, c.high}, {1.0, 2.0}}, c.crossing);
    EXPECT_EQ(bench.figures(1), c.figures);
    EXPECT_EQ(bench.figures(2), (std::vector<double>{1, 0, 1}));

    BarsBench split({{c.low, c.high}, {1.0, 2.0}}, c.crossing, {.split = c.crossing, .labels = true});
    std::vector<double> parts = split.figures(1);
    const double tails[] = {parts.at(5), parts.at(6)};
    parts.resize(5);
    EXPECT_EQ(parts, c.parts);
    if (!c.low.is_number() || !c.high.is_number()) continue;
    const double least = std::min(c.low.number, c.high.number), most = std::max(c.low.number, c.high.number);
    EXPECT_LE(std::min(least, 0.0) + tails[0], std::min({least, c.crossing, 0.0}));
    EXPECT_GE(std::max(most, 0.0) + tails[1], std::max({most, c.crossing, 0.0}));
  }
}

// Helper cells hold the bars one below the other, whatever rows of the table they come from.
TEST(BarChart, DrawsSomeRowsAndShowsPoints) {
  BarsBench bench({{30.0, 50.0}, {40.0, 40.0}, {45.0, 45.0}, {20.0, 25.0}, {40.0, 40.0}, {22.0, 48.0}}, 40,
                  {.color = 0x112233, .split = 40, .labels = true}, "Input", {1, 3, 4, 6});
  bench.chart->FinishChart();
  bench.chart->LabelBarEnds({{}, {.left = "6.0", .right = "7.0"}, {}, {}});
  bench.chart->ColorBarPart(3, false, 0x445566);
  bench.chart->ColorBarPart(1, true, 0x778899);
  EXPECT_EQ(bench.figures(1)[4], 10) << "above the split";
  EXPECT_EQ(bench.figures(3)[2], 5);
  EXPECT_EQ(bench.figures(4)[4], 8) << "behind a row that is left out";
  EXPECT_EQ(bench.figure(0, 1), 20) << "the lead ends where the axis begins";
  const std::vector<double> point = bench.figures(2);
  EXPECT_GT(point[4], 0);
  EXPECT_LT(point[4], 1);
  EXPECT_NEAR(point[0] + point[4] / 2, 45, 1e-12);
  const auto& series = bench.drawn().series;
  ASSERT_EQ(series.size(), 8U);
  EXPECT_EQ(series[7]->points.at(2).label.value().text, "7.0");
  EXPECT_EQ(series[7]->values.area.rows, 4);
  for (std::size_t part = 0; part < series.size(); ++part)
    EXPECT_EQ(series[part]->fill.value().color == 0x112233U, part >= 2 && part < 6)
        << "the parts that are seen";
  EXPECT_EQ(series[3]->points.at(3).fill.value().color, 0x445566U) << "below the split, right of zero";
  EXPECT_EQ(series[4]->points.at(3).fill.value().color, 0x445566U);
  EXPECT_EQ(series[5]->points.at(1).fill.value().color, 0x778899U);
  EXPECT_EQ(series[2]->points.at(1).fill.value().color, 0x778899U);
}

// On an axis from 0 to 100, or from -100 to 0 or 100, of 300 points.
const struct {
  const char* what;
  double low, high, base;
  BarLabels labels;
  std::vector<std::string> shown;  // part and position
  bool split = false;
  bool is_point = false;
  double height = 20;
} kLabelCases[] = {
    {"right of zero", 30, 50, 40, {"1.0", "2.0"}, {"Reach 1.0 end", "Tail+ 2.0 base"}},
    {"left of zero", -50, -30, -40, {"1.0", "2.0"}, {"Tail- 1.0 base", "Reach 2.0 end"}},
    {"across zero", -50, 30, 0, {"1.0", "2.0"}, {"Tail- 1.0 base", "Tail+ 2.0 base"}},
    {"no room", 10, 90, 50, {std::string(40, '8'), std::string(40, '8')}, {}},
    {"on the axis of the base", 52, 80, 50, {"1.000", "2.0"}, {"+ 1.000 base", "Tail+ 2.0 base"}},
    {"the axis may stand at the end of a text", 40, 60, 40, {"1.0", ""}, {"Reach 1.0 end"}},
    {"at the edges", 2.5, 99, 50, {"1.0000", "2.0000"}, {"+ 1.0000 base"}},
    {"edges, in parts", 2.5, 99, 50, {"1.0000", "2.0000"}, {"+ 1.0000 base", "Beyond+ 2.0000 end"}, true},
    {"edges left of zero", -99, -1, -50, {"1.0000", "2.0000"}, {"Beyond- 1.0000 end", "- 2.0000 base"}, true},
    {"beyond the plot as far as the margin goes", 30, 97, 40, {"", "1.0"}, {"Tail+ 1.0 base"}},
    {"no length", 50, 50, 50, {"1.0", "2.0"}, {}},
    {"a point has one text", 50, 50, 50, {"1.0", "2.0"}, {"Tail+ 2.0 base"}, false, true},
    {"or at its left", 100, 100, 50, {"1.0", "2.0000"}, {"Reach 1.0 end"}, false, true},
    {"too thin", 30, 50, 40, {"1.0", "2.0"}, {}, false, false, 9},
    {"no texts", 30, 50, 40, {}, {}},
};

TEST(PlaceLabels, PutsTextsWhereThereIsRoom) {
  const char* parts[] = {"Lead", "Reach", "-", "+", "Beyond-", "Beyond+", "Tail-", "Tail+"};
  for (const auto& c : kLabelCases) {
    SCOPED_TRACE(c.what);
    const LabelledBar bar = {.ends = BarEnds{c.low, c.high}, .is_point = c.is_point, .labels = c.labels};
    const BarPlot plot = {.minimum = c.low < 0 ? -100.0 : 0,
                          .maximum = c.high < 0 ? 0.0 : 100,
                          .width = 300,
                          .height = c.height,
                          .base = c.base,
                          .split = c.split ? std::optional(c.base) : std::nullopt};
    std::vector<std::string> shown;
    // The bar without ends only takes room.
    for (const PlacedLabel& label :
         place_labels({LabelledBar{.ends = {}, .labels = {"x", "x"}}, bar}, plot)) {
      EXPECT_EQ(label.bar, 2);
      shown.push_back(std::string(parts[static_cast<std::size_t>(label.part)]) + " " + label.text +
                      (label.position == host::LabelPosition::kInsideBase ? " base" : " end"));
    }
    EXPECT_EQ(shown, c.shown);
  }
}

TEST(BarChart, FollowsTheTableFromHiddenColumns) {
  BarsBench bench({{30.0, 50.0}}, 40);
  const auto& series = bench.drawn().series;
  ASSERT_EQ(series.size(), 4U);
  EXPECT_EQ(bench.kept->sheets.front()->columns.count(4), 0U) << "a gap beside the table";
  for (const auto& part : series)
    EXPECT_TRUE(bench.kept->sheets.front()->columns.at(part->values.area.column).hidden);
  bench.sheet->SheetWorksheet()->range(series[0]->values.area.row, 3, 1, 1)->set_value(65.0);
  bench.app->calculate();
  EXPECT_EQ(bench.figures(1), (std::vector<double>{30, 0, 35}));
}

TEST(BarChart, CutsLongNamesBesideTheBarsAndThinsTheFigures) {
  for (const bool is_long : {false, true}) {
    BarsBench bench({{350000.0, 790000.0}}, 522390,
                    {.axis_title = "Cost", .number_format = "#,##0.00 [$USD]"},
                    is_long ? std::string(90, 'n') + " (B4)" : "Price (B4)");
    bench.chart->FinishChart();
    const office::ChartModel& chart = bench.drawn();
    const test::BookReader reader(*bench.kept);
    const auto& names = chart.series.front()->x_values.area;
    const std::string name = reader.value(*bench.kept->sheets.front(), names.row, names.column).text;
    EXPECT_EQ(names.column == 1, !is_long) << "the table's own names, where they fit";
    EXPECT_TRUE(name.ends_with(" (B4)"));
    EXPECT_LT(office::text_width(name, "Calibri", 9, false), chart.plot.inside.value().left);
    const office::AxisModel& values = chart.axes[0][1];
    const double labels = (values.maximum.value() - values.minimum.value()) / values.major_unit.value() + 1;
    EXPECT_LT(labels * office::text_width("350,000.00", "Calibri", 9, false), chart.width);
  }
}

TEST(BarChart, ScalesTheValueAxisToTheBars) {
  BarsBench bench({{40000.0, 41000.0}, {" - ", " - "}}, 40461,
                  {.axis_title = "Cost", .number_format = "#,##0"});
  bench.chart->FinishChart();
  const office::ChartModel& chart = bench.drawn();
  const office::AxisModel& values = chart.axes[0][1];
  EXPECT_EQ(values.minimum, 40000);
  EXPECT_EQ(values.maximum, 41000);
  EXPECT_EQ(values.major_unit, bench.chart->ticks()->unit);
  EXPECT_EQ(values.crosses_at, 40461);
  EXPECT_EQ(values.number_format, "#,##0");
  const office::AxisModel& names = chart.axes[0][0];
  EXPECT_TRUE(names.reversed && names.crosses_maximum) << "first bar on top, figures at the bottom";
  EXPECT_FALSE(chart.plot_visible_only);
  ASSERT_TRUE(chart.plot.inside);
  EXPECT_LT(chart.plot.inside->left, 0.4 * chart.width + 1);
  EXPECT_LT(chart.plot.inside->left + chart.plot.inside->width, chart.width);
}

TEST(ReportChart, TellsThirtyTwoSeriesApart) {
  test::TablesBench bench;
  auto reports = bench.reports();
  const auto sheet = reports.AddSheet("Series");
  const auto chart = sheet->AddPointChart(428, 300);
  chart->ShowLegend();
  const auto cells = sheet->NextCell()->resize(3, 1);
  for (int i = 0; i < 32; ++i) chart->AddSeries(*cells, *cells, "Input");
  std::set<std::pair<host::Color, std::int32_t>> looks;
  const auto& model = *bench.first_sheet(reports).charts.front();
  for (const auto& series : model.series)
    looks.insert({series->line.value().color.value(), series->marker.value().style});
  EXPECT_EQ(looks.size(), 32U);
  EXPECT_TRUE(model.has_legend);
}

// A chart of points over cells of a sheet: one line for each list of points.
struct PointsBench : test::SheetBench {
  using Line = std::vector<std::pair<host::CellValue, host::CellValue>>;
  PointsBench(bool legend, const std::vector<Line>& lines, const std::string& name,
              const std::string& format = "0%", double width = 428) {
    chart = sheet->AddPointChart(width, 300);
    if (legend) chart->ShowLegend();
    std::int32_t column = 1;
    for (const Line& line : lines) {
      const auto rows = static_cast<std::int32_t>(line.size());
      host::CellBlock block(rows, 2);
      for (std::int32_t row = 1; row <= rows; ++row) {
        block.set(row, 1, line[static_cast<std::size_t>(row - 1)].first);
        block.set(row, 2, line[static_cast<std::size_t>(row - 1)].second);
      }
      const auto cells = sheet->SheetWorksheet()->range(1, column, rows, 2);
      cells->put(block);
      chart->AddSeries(*cells->resize(rows, 1), *cells->offset(0, 1)->resize(rows, 1), name);
      column += 2;
    }
    chart->SetTitle(std::string(60, 'w'));
    chart->SetSubtitle("second line");
    chart->SetXAxis("Input", format);
    chart->SetYAxis("Output", format);
    chart->FinishChart();
  }
  const office::ChartModel& drawn() { return *SheetBench::drawn().charts.front(); }

  std::shared_ptr<PointChart> chart;
};

const struct {
  const char* what;
  PointsBench::Line line;
  double x_minimum, x_maximum, y_minimum, y_maximum;
} kPointsCases[] = {
    {"lines end at the bounds", {{-0.2, -0.4}, {0.0, 0.0}, {0.2, 0.4}}, -0.2, 0.2, -0.4, 0.4},
    {"rounding leaves no axis of its own", {{-0.2, 1.1e-16}, {0.0, 0.0}, {0.2, 1.0}}, -0.2, 0.2, 0, 1},
    {"not along the edge", {{0.0, 0.0}, {0.5, 0.0}, {1.0, 1.0}}, 0, 1, -0.2, 1},
    {"edges at both ends of a gap are no line", {{0.0, 0.0}, {0.5, {}}, {0.8, 0.0}, {1.0, 1.0}}, 0, 1, 0, 1},
    {"level lines lie in the middle", {{1.0, 0.5}, {2.0, 0.5}}, 1, 2, 0.44, 0.56},
    {"and so do those that only rounding bends", {{1.0, 0.5}, {2.0, 0.500000000001}}, 1, 2, 0.44, 0.56},
};

TEST(PointChart, SetsItsAxesAroundThePoints) {
  for (const auto& c : kPointsCases) {
    SCOPED_TRACE(c.what);
    PointsBench bench(false, {c.line}, "Input");
    const office::AxisModel& x = bench.drawn().axes[0][0];
    const office::AxisModel& y = bench.drawn().axes[0][1];
    EXPECT_EQ(x.minimum, c.x_minimum);
    EXPECT_EQ(x.maximum, c.x_maximum);
    EXPECT_EQ(y.minimum, c.y_minimum);
    EXPECT_EQ(y.maximum, c.y_maximum);
    EXPECT_GT(x.major_unit.value(), 0);
    EXPECT_GT(y.major_unit.value(), 0);
  }
}

const PointsBench::Line kCross = {{-0.2, -0.4}, {0.0, 0.0}, {0.2, 0.4}};

// A character of any script is at least so wide in the legend's font.
TEST(PointChart, NamesOfAnyScriptLeaveThePlotItsRoom) {
  for (const char* name : {"年間平均上昇率消費者物価指数を基準とする電力購入契約の単価 (C4)",
                           "שיעור הריבית השנתי על ההלוואה הראשית של החברה (C4)",
                           "A long name that goes on for quite a while, and then on (C4)", "Rate (C4)"}) {
    PointsBench bench(true, {kCross}, name);
    const office::ChartModel& chart = bench.drawn();
    const std::string& shown = chart.series.front()->name;
    EXPECT_TRUE(shown.ends_with(" (C4)")) << shown;
    const auto& plot = chart.plot.inside.value();
    EXPECT_GT(plot.width, 0.4 * chart.width) << shown;
    const double legend = office::text_width(shown, "Calibri", 9, false) + 40;
    EXPECT_LE(plot.left + plot.width + legend, chart.width) << shown;
    EXPECT_GT(plot.top, 2 * 13 * 1.2) << "below the titles";
  }
}

TEST(ReportChart, WatermarkLiesInThePlotAndClicksOnlyWithTheAddIn) {
  for (const bool add_in : {false, true}) {
    test::TablesBench bench(add_in);
    auto reports = bench.reports();
    const auto chart = reports.AddSheet("Watermark")->AddPointChart(428, 300);
    chart->SetWatermark("Draft", "", "Book.xla!Click");
    EXPECT_EQ(bench.first_sheet(reports).charts.back()->click_macro, add_in ? "Book.xla!Click" : "");
  }
  const auto lies_in_plot = [](const office::ChartModel& chart) {
    ASSERT_EQ(chart.text_boxes.size(), 2U);
    const auto& plot = chart.plot.inside.value();
    for (const auto& box : chart.text_boxes) {
      EXPECT_GE(box.left, plot.left);
      EXPECT_LE(box.left + box.width, plot.left + plot.width);
      EXPECT_GE(box.top, plot.top);
      EXPECT_LE(box.top + box.height, plot.top + plot.height);
    }
    EXPECT_GE(chart.text_boxes[1].top, chart.text_boxes[0].top + chart.text_boxes[0].height);
  };
  for (const bool legend : {false, true}) {
    PointsBench bench(legend, {kCross}, "A name of some length (C4)", "0%", 376);
    bench.chart->SetWatermark("Draft", "for the board\nonly", "");
    lies_in_plot(bench.drawn());
  }
  // Long bars above, short ones below: the corner beside the short ones is free.
  BarsBench bars({{-90.0, 90.0}, {-60.0, 90.0}, {-4.0, 90.0}, {-2.0, 90.0}, {-1.0, 90.0}}, 0);
  bars.chart->FinishChart();
  bars.chart->SetWatermark("Draft", "only", "");
  lies_in_plot(bars.drawn());
  for (const auto& box : bars.drawn().text_boxes)
    EXPECT_LT(box.left + box.width, bars.drawn().plot.inside->left + bars.drawn().plot.inside->width / 2);
}

}  // namespace
}  // namespace ordvane::layout
