#include "reports/tornado.h"

#include <functional>
#include <set>

#include "layout/look.h"
#include "reports/chart_helpers.h"
#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

using Situation = test::GraphSituation;
using test::GraphBench;
using test::in_percent;
using test::kBlue;
using test::kNothing;
using test::kNumError;
using test::kRed;
using test::output_format;
using test::TestInput;
using test::without_idle;

const std::vector<TestInput> kTwoInputs = {
    {"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, 115}}},
    {"Price", "B3", 10, {{8, 60}, {10, 100}, {12, 140}}, "0"},
};

std::string make_report(GraphBench& bench, const Situation& c) {
  set_up(bench, c);
  for (const auto& input : bench.inputs) {
    if (input.sheetName != "Model") bench.range_mode = model::OrdvaneRangeSheetMode;
    if (input.bookName != "plant.xlsx") bench.range_mode = model::OrdvaneRangeBookMode;
  }
  GenerateTornadoReport(bench.context(), 1, bench.ranking, bench.style());
  return bench.text();
}

const char* const kFirstRow =
    "1  B+1 \"Price (B3)\"  C+1 \"B3\"  D+1 60 {#,##0.00}  E+1 -0.4 {0.00%}  F+1 8 {0}  G+1 140 {#,##0.00}"
    "  H+1 0.4 {0.00%}  I+1 12 {0}  J+1 10 {0}  K+1 \" - \"  L+1 0.91";
const char* const kMarker =
    "series \"Vertical\" scatter secondary (0, 1) over (100, 100)\n    point 2 marked\n"
    "    point 2 labelled \"Base value 100.00\"\n";

const Situation kSituations[] = {
    {{"values", kTwoInputs},
     {"== Tornado C14\n", "B4 100 {#,##0.00}\n", kFirstRow, "2  B+2 \"Rate (B2)\"", "J+2 5 {0.0}",
      "from 60 to 140", "crossed at 100", "{#,##0.00}", kMarker, "second category axis from 60 to 140",
      "second value axis from 0 to 1", "\"Lead\" unseen V+1:V+2 (60, 60)", "\"Reach\" unseen W+1:W+2 (0, 30)",
      "\"Bar +\" #0000FF Y+1:Y+2 (40, 10)", "\"Beyond +\" #0000FF AA+1:AA+2 (40, 15)"},
     {"Please note:\nSome values", "Rows in"}},
    {{"a target, and the order of what falls most",
      {kTwoInputs[1], {"Dip", "B4", 10, {{8, 100}, {9, 50}, {10, 100}, {12, 110}}}},
      100,
      [](GraphBench& b) {
        b.settings.sort = model::SortBy::kDownside;
        b.settings.target = 80;
      }},
     {"Cost is 80.00 at Price = 9, Dip = 8.4 / 9.6.", "Rows in the order of: Downside", "2  B+1 \"Dip (B4)\"",
      "K+1 \"8.4 / 9.6\"", "K+2 9 {0}", "\"* Highest or lowest result inside the range, at: Dip (B4) = 9.0\"",
      "\"Dip (B4) *\""}},
    {{"percent: the marker stands at no change and names the base", kTwoInputs, 100, in_percent},
     {"from -0.4 to 0.4", "crossed at 0", "over (0, 0)", "labelled \"Base value 100.00\"", "{0.00%}"},
     {"Please note:\nThe base"}},
    {{"percent of nothing", kTwoInputs, 0, in_percent},
     {"There is no tornado graph for this output.",
      "The base value of the output is 0, so there is no change", "E+1 \" - \"", "D+1 60",
      "note at E+1 \"Please note:\nThe base value of the output is 0"},
     {"Vertical", "note at D"}},
    {{"percent of what is no number", kTwoInputs, kNothing, in_percent},
     {"There is no tornado graph", "A base value is 0 or not a number",
      "note at E+1 \"Please note:\nThe base value of the output is not a number"},
     {"Vertical", "value of the output is 0"}},
    {{"what failed is no lack of a base",
      {{"Dead", "B3", 5, {{4, kNumError}, {6, kNothing}}}, {"Rate", "B2", 5, {{4, -1}, {5, 1}}}},
      0},
     {"note at E+1 \"Please note:\nThe base value of the output is 0",
      "note at D+2 \"Please note:\nSome values"},
     {"note at E+2"}},
    {{"values about a base that is no number", kTwoInputs, kNothing},
     {"from 60 to 140", "crossed at 60"},
     {"Vertical", "Base value "}},
    {{"an input without results leaves its bar out",
      {{"Rate", "B2", 5, {{4, 90}, {6, 110}}}, {"Dead", "B3", 5, {{4, kNumError}, {6, kNothing}}}}},
     {"\"Dead (B3)\"  C+2 \"B3\"  D+2 \" - \"", "from 90 to 110", "note at D+2"}},
    {{"no bar at all", kTwoInputs, 100, [](GraphBench& b) { b.ranking.input_limit = 0; }},
     {"No input moved this output enough"},
     {"chart ", "Rank"}},
    {{"of equal ranks the later input stays", kTwoInputs, 100,
      [](GraphBench& b) { b.inputs(2).outputRankPut(1, 2); }},
     {"2  B+2 \"Price (B3)\""},
     {"\"Rate (B2)\""}},
    {{"several sheets add a column", {{"Rate", "B2", 5, {{4, 90}, {6, 110}}, "0.0", "Finance"}}},
     {"\"Worksheet\"", "A+1 \"Finance\"  B+1 1  C+1 \"Rate (B2)\"", "K+1 5"},
     {"bank.xlsx"}},
    {{"several books add two", {{"Rate", "B2", 5, {{4, 90}, {6, 110}}, "0.0", "Finance", "bank.xlsx"}}},
     {"A+1 \"bank.xlsx\"  B+1 \"Finance\"  C+1 1  D+1 \"Rate (B2)\"", "L+1 5"}},
    {{"the base value is written, and the axis counts, as the cell does",
      {{"Rate", "B2", 5, {{4, 45900}, {6, 46200}}}},
      46023,
      output_format("dd.mm.yyyy", "mm/dd/yyyy")},
     {"labelled \"Base value 01.01.2026\"", "(Base value 01.01.2026)", "from 45840.625 to 46205.875",
      "{dd.mm.yyyy}"},
     {"mm/dd/yyyy"}},
    {{"without the padding of accounting",
      {{"Rate", "B2", 5, {{4, 1000}, {6, 1500}}, "_-* #,##0_-"}},
      1234.5,
      output_format("_-* #,##0.00\\ \"EUR\"_-;-* #,##0.00_-")},
     {"labelled \"Base value 1,234.50 EUR\"", "{#,##0.00\\ \"EUR\";-#,##0.00}", "labelled \"4\""}},
    {{"General as cells show it",
      {{"Rate", "B2", 5, {{4.12345678, 1000}, {6, 1500}}, "General"}},
      1234.567891234,
      output_format("General")},
     {"labelled \"Base value 1234.567891\"", "labelled \"4.12346\""}},
    {{"failed steps are counted, in the input's row and below the chart",
      {{"Rate", "B2", 5, {{4, 90}, {5, kNumError}, {6, 110}}}, {"Late", "B3", 5, {{6, kNumError}, {7, 101}}}},
      100,
      [](GraphBench& b) { b.ranking.input_limit = 1; }},
     {"\"Results that are no numbers: Rate (B2): 1 of 3, Late (B3): 1 of 2\"",
      "note at B+1 \"Please note:\nResults that are no numbers: 1 of 3\""},
     {"No effect", "\"Late (B3)\"", "leave out"}},
    {{"steps that leave out the base",
      {{"Rate", "B2", 5, {{6, 110}, {7, 120}}}, {"Price", "B3", 5, {{5, 100}, {6, 109}}}}},
     {"\"Steps that leave out the base value: Rate (B2). The effects",
      "note at B+1 \"Please note:\nThe steps of"},
     {"note at B+2", "no numbers"}},
    {{"one step that moves the output is seen, and says what the input was set to",
      {{"Once", "B2", 5, {{6, 110}}}, {"Idle", "B3", 5, {{6, 100}, {7, 100}}}},
      100,
      without_idle},
     {"\"No effect on this output: Idle (B3)\"", "\"Bar +\" #0000FF", "(0.05", "labelled \"6.0\"",
      // Nothing was set to anything where nothing moved.
      "\"Idle (B3)\"  C+2 \"B3\"  D+2 100 {#,##0.00}  E+2 0 {0.00%}  F+2 \" - \"  G+2 100 {#,##0.00}  H+2 0 "
      "{0.00%}  I+2 \" - \"  J+2 5 {0.0}"},
     {"note at F+2", "labelled \"7.0\""}},
    {{"rows without a bar may lie between others",
      {{"Idle", "B2", 5, {{4, 100}, {5, 100}}},
       {"Once", "B3", 5, {{6, 110}}},
       {"Price", "B4", 5, {{5, 90}, {6, 105}}}},
      100,
      without_idle},
     {"2  B+2 \"Idle (B2)\"", "3  B+3 \"Once (B3)\"", "(\"Price (B4)\", \"Once (B3)\")", "from 90 to 110"}},
    {{"items without names go by their addresses",
      {{" ", "B2", 5, {{4, 90}, {6, 110}}}},
      100,
      [](GraphBench& b) { b.output().ioName = " "; }},
     {"\"(B2)\"", "\"(C14)\"", "What moves C14 most"}},
    {{"several runs say which and have no base line", kTwoInputs, 100,
      [](GraphBench& b) { b.run_number = 2, b.total_runs = 3; }},
     {"B5 \"2 of 3\"", "crossed at 100", "(Base value 100.00)"},
     {"Vertical"}},
    {{"ends that their format would tell alike, or off by much of the swing, get decimals",
      {{"Share", "B2", 0.25, {{0.225, 90}, {0.275, 110}}, "0%"},
       {"Fee", "B3", 0.02, {{0.018, 91}, {0.022, 109}}, "0%"},
       {"Volume", "B4", 1000, {{950, 92}, {1050, 108}}, "#,##0"},
       {"Large", "B5", 1000000, {{999999.9951, 93}, {1000000.0049, 107}}, "General"}}},
     {"labelled \"22.5%\"", "labelled \"27.5%\"", "labelled \"1.8%\"", "labelled \"2.2%\"",
      "labelled \"950\"", "labelled \"999999.995\""}},
    {{"what the output came to at the ends, behind what the input was set to", kTwoInputs, 100,
      [](GraphBench& b) { b.settings.labels = BarLabels::kBoth; }},
     {"labelled \"8 \xE2\x86\x92 60.00\"", "labelled \"6.0 \xE2\x86\x92 115.00\""}},
    {{"alone, and in percent", kTwoInputs, 100,
      [](GraphBench& b) { in_percent(b), b.settings.labels = BarLabels::kOutputs; }},
     {"labelled \"-40.00%\"", "labelled \"15.00%\""},
     {"labelled \"8\""}},
    {{"a watermark", kTwoInputs, 100,
      [](GraphBench& b) { b.session.watermark.text = b.session.watermark.primary = "Draft"; }},
     {"text \"Draft\""}},
};

TEST(TornadoReport, InEverySituation) {
  test::check_situations(kSituations, make_report);
}

// The line is seen over the bars whatever colours are asked for, and the axis of the names stands in for it.
TEST(TornadoReport, BaseLineStandsOutFromTheBars) {
  for (const host::Color wanted : {kRed, kBlue}) {
    GraphBench bench;
    set_up(bench, kSituations[0]);
    GenerateTornadoReport(bench.context(), 1, bench.ranking, bench.style(wanted));
    const auto book = bench.book();
    const office::ChartModel& chart = *book->sheets.front()->charts.front();
    const host::Color line = chart.series.back()->line.value().color.value();
    EXPECT_EQ(line == wanted, wanted != kBlue);
    EXPECT_GE(layout::look::contrast(line, kBlue), 1.5);
    EXPECT_GE(layout::look::contrast(line, 0xFFFFFF), 1.5);
    EXPECT_EQ(chart.axes[0][0].line.value().color, line);
    const office::AxisModel& hidden = chart.axes[1][1];
    EXPECT_TRUE(hidden.present) << "the series of an axis that is taken away has another scale";
    EXPECT_EQ(hidden.tick_labels, host::TickLabelPosition::kNone);
    EXPECT_EQ(hidden.line.value().line_style, host::kXlNone);
  }
}

TEST(TornadoReport, BarsTakeTheirColor) {
  GraphBench bench;
  make_report(bench, kSituations[0]);
  const auto book = bench.book();
  const office::ChartModel& chart = *book->sheets.front()->charts.front();
  ASSERT_EQ(chart.series.size(), 9U);
  EXPECT_EQ(chart.width, 428);
  EXPECT_EQ(chart.series[2]->fill.value().color, kBlue);
  EXPECT_EQ(chart.series[3]->fill.value().color, kBlue);
  EXPECT_EQ(chart.series[8]->line.value().color, kRed);
  // The narrower bar has room for both of its input's values, in their format.
  EXPECT_EQ(chart.series[1]->points.at(2).label.value().text, "4.0");
  EXPECT_EQ(chart.series[7]->points.at(2).label.value().text, "6.0");
}

// Series and bar of the parts that input values below the base make, and what the colours are said to mean.
TEST(TornadoReport, TellsLowInputValuesApart) {
  constexpr host::Color kOrange = 0x009FE6;
  GraphBench bench;
  bench.settings.low_color = kOrange;
  make_report(bench, {{"",
                       {{"Up", "B2", 5, {{4, 60}, {6, 140}}},
                        {"Down", "B3", 5, {{4, 130}, {6, 70}}},
                        {"Peak", "B4", 5, {{3, 80}, {4, 120}}},
                        {"Off", "B5", 5, {{5, 100}, {6, 110}}}}},
                      {}});
  const auto book = bench.book();
  const office::ChartModel& chart = *book->sheets.front()->charts.front();
  ASSERT_EQ(chart.series.size(), 9U);
  std::set<std::pair<std::size_t, std::int32_t>> orange;
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(chart.series[i]->fill.value().color, i > 1 ? std::optional(kBlue) : std::nullopt);
    for (const auto& [bar, point] : chart.series[i]->points)
      if (point.fill && point.fill->color == kOrange) orange.insert({i + 1, bar});
  }
  // Above zero, series 4 is what lies below the base and series 6 what lies above.
  const std::set<std::pair<std::size_t, std::int32_t>> expected = {{4, 1}, {5, 1}, {3, 2}, {6, 2},
                                                                   {3, 3}, {4, 3}, {5, 3}, {6, 3}};
  EXPECT_EQ(orange, expected);
  ASSERT_EQ(chart.text_boxes.size(), 4U);
  EXPECT_EQ(chart.text_boxes[0].font.color, kOrange);
  EXPECT_EQ(chart.text_boxes[1].text, "Input below its base value");
  EXPECT_EQ(chart.text_boxes[2].font.color, kBlue);
}

}  // namespace
}  // namespace ordvane::reports
