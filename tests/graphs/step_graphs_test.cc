// Spider and sensitivity reports: one table of steps, drawn as lines together or as one chart each.
#include "graphs/bench.h"
#include "graphs/sensitivity.h"
#include "graphs/spider.h"

namespace ordvane::graphs {
namespace {

using Situation = test::GraphSituation;
using test::GraphBench;
using test::kNothing;
using test::kNumError;
using test::TestInput;

using Report = decltype(&GenerateSpiderReport);

std::string make_report(GraphBench& bench, const Situation& c, Report report) {
  set_up(bench, c);
  EXPECT_EQ(report(bench.session, *bench.workbook, 1, bench.selected, bench.inputs, bench.outputs, 0,
                   model::OrdvaneRangeCellMode, c.mode, bench.ranking, 1, 1),
            0);
  return bench.text();
}

const TestInput kRate = {"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, 115}}};
const TestInput kZero = {"Zero", "B3", 0, {{-1, 80}, {1, 120}}};
const TestInput kNegative = {"Loss", "B4", -10, {{-12, 90}, {-8, 110}}};

const char* const kFirstRow =
    "\"Rate (B2)\"  B+1 \"B2\"  C+1 1  D+1 4 {0.0}  E+1 -1 {0.0}  F+1 -0.2 {0.00%}  G+1 90 {#,##0.00}  H+1 "
    "-10 {#,##0.00}  I+1 -0.1 {0.00%}\n";

const Situation kSpiderSituations[] = {
    {"every step with its changes",
     100,
     {kRate},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"== Spider C14\n", kFirstRow, "C+2 2  D+2 5 {0.0}  E+2 0 {0.0}  F+2 0 {0.00%}", "merged A+1:A+3",
      "I+1:I+3 (-0.1, 0, 0.15) over F+1:F+3 (-0.2, 0, 0.2)", "\"Output, % change from base value\" {0%}"},
     {"note at", " - "}},
    {"a base of zero has no line, and says why",
     100,
     {kRate, kZero},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"\"Zero (B3)\"  B+4 \"B3\"  C+4 1  D+4 -1 {0.0}  E+4 -1 {0.0}  F+4 \" - \"", "note at F+4",
      "The base value of this input is 0", "series \"Rate (B2)\""},
     {"series \"Zero"}},
    {"changes are parts of the base, its sign included",
     100,
     {kNegative},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"(-0.1, 0.1) over F+1:F+2 (0.2, -0.2)"},
     {}},
    {"nothing to draw",
     0,
     {kZero},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"There is no spider graph for this output.",
      "The base value of the output is 0, so there is no change"},
     {}},
    {"nothing to draw though the output has a base",
     100,
     {kZero},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"There is no spider graph", "A base value is 0 or not a number"},
     {}},
    {"an output base of zero is noted once",
     0,
     {kRate, kNegative},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"note at I+1", "There is no spider graph"},
     {"note at I+4"}},
    {"lines end where results end",
     100,
     {{"Term", "B5", 10, {{8, kNothing}, {9, 95}, {11, 105}, {12, kNumError}}}},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"(-0.05, 0.05) over F+2:F+3 (-0.1, 0.1)", "G+1 \" - \"", "note at G+1"},
     {}},
    {"long names are cut in the legend only",
     100,
     {{"A name that is well over twenty-five", "B6", 5, {{4, 90}, {6, 110}}}},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"series \"A name that is well over (B6)\"", "\"A name that is well over twenty-five (B6)\""},
     {}},
    {"differences of dates are days",
     100,
     {{"Start", "B7", 46023, {{46000, 90}, {46054, 110}}, "dd\"/\"mm\"/\"yyyy"}},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"D+1 46000 {dd\"/\"mm\"/\"yyyy}  E+1 -23  F+1"},
     {}},
    {"no input",
     100,
     {kRate},
     [](GraphBench& b) { b.ranking.input_limit = 0; },
     model::OrdvaneOutputAsValue,
     {"No input moved this output enough"},
     {"chart ", "Step"}},
    {"an input without steps is left out",
     100,
     {kRate, kNegative},
     [](GraphBench& b) { b.inputs(2).numSteps = 0; },
     model::OrdvaneOutputAsValue,
     {"Rate (B2)"},
     {"Loss (B4)"}},
};

const Situation kSensitivitySituations[] = {
    {"one chart an input",
     100,
     {kRate, kNegative},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"== Sensitivity C14\n", "title \"Sensitivity to Rate", "title \"Sensitivity to Loss",
      "category axis \"Rate\" {0.0}", "value axis \"Cost\" {#,##0.00}", "(90, 100, 115) over", "\"Rate\"",
      "\"Cost\""},
     {"note at"}},
    {"in percent",
     100,
     {kRate},
     nullptr,
     model::OrdvaneOutputAsPercentChange,
     {"(-0.1, 0, 0.15) over", "category axis \"Rate, % change from base value\" {0.00%}",
      "value axis \"Cost, % change from base value\" {0.00%}"},
     {}},
    {"a result that is an error empties its chart",
     100,
     {{"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, kNumError}}}, kNegative},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"title \"Sensitivity to Rate\nSome values are not numbers and cannot be shown.",
      "series \"Loss (B4)\""},
     {"series \"Rate"}},
    {"missing results at an end shorten the line",
     100,
     {{"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, kNothing}}}},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"(90, 100) over"},
     {}},
    {"only bases of zero",
     100,
     {kZero},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"There are no sensitivity graphs", "A base value is 0 or not a number"},
     {"series \"Zero"}},
    {"percent of nothing",
     0,
     {kRate},
     nullptr,
     model::OrdvaneOutputAsPercentChange,
     {"There are no sensitivity graphs", "The base value of the output is 0"},
     {}},
    {"values with an output base of zero",
     0,
     {kRate},
     nullptr,
     model::OrdvaneOutputAsValue,
     {"(90, 100, 115) over", "note at I"},
     {"There are no"}},
};

TEST(SpiderReport, InEverySituation) {
  test::check_situations(kSpiderSituations, [](GraphBench& bench, const Situation& c) {
    return make_report(bench, c, GenerateSpiderReport);
  });
}

TEST(SensitivityReport, InEverySituation) {
  test::check_situations(kSensitivitySituations, [](GraphBench& bench, const Situation& c) {
    return make_report(bench, c, GenerateSensitivityReport);
  });
}

TEST(SensitivityChart, RefusesARangeWithErrorsAndSaysWhere) {
  GraphBench bench;
  const auto sheet = bench.workbook->AddSheet("Figures");
  const auto cells = sheet->SheetWorksheet();
  for (std::int32_t row = 1; row <= 4; ++row)
    for (std::int32_t column = 20; column <= 21; ++column) cells->range(row, column, 1, 1)->set_value(row);
  cells->range(3, 21, 1, 1)->set_value(host::CellError::kValue);
  OrdvaneGInput graph(bench.session);
  const auto range = graph.ranges.Add(1);
  range->set_xValues(cells->range(1, 20, 4, 1));
  range->set_yValues(cells->range(1, 21, 4, 1));
  EXPECT_EQ(graph.inputG(*sheet), 3);
  EXPECT_TRUE(bench.book()->sheets.front()->charts.front()->series.empty());
}

TEST(SpiderChart, GrowsWithItsLegend) {
  std::vector<TestInput> many;
  for (int i = 1; i <= 32; ++i)
    many.push_back({"Input", "B" + std::to_string(i), 5, {{4, 90}, {6, 110.0 + i}}});
  GraphBench few_bench, many_bench;
  make_report(few_bench, {"", 100, {kRate}, nullptr, model::OrdvaneOutputAsValue, {}, {}},
              GenerateSpiderReport);
  make_report(many_bench, {"", 100, many, nullptr, model::OrdvaneOutputAsValue, {}, {}},
              GenerateSpiderReport);
  const auto height = [](GraphBench& bench) { return bench.book()->sheets.front()->charts.front()->height; };
  EXPECT_EQ(height(few_bench), 300);
  EXPECT_GE(height(many_bench), 32 * 13);
  EXPECT_EQ(many_bench.book()->sheets.front()->charts.front()->series.size(), 32U);
}

}  // namespace
}  // namespace ordvane::graphs
