// Spider and sensitivity reports: one table of steps, drawn as lines together or as one chart each.
#include "reports/answers.h"
#include "reports/reports_bench.h"
#include "reports/sensitivity.h"
#include "reports/spider.h"

namespace ordvane::reports {
namespace {

using Situation = test::GraphSituation;
using test::GraphBench;
using test::in_percent;
using test::kNothing;
using test::kNumError;
using test::TestInput;
using test::without_idle;

using Report = decltype(&GenerateSpiderReport);

std::string make_report(GraphBench& bench, const Situation& c, Report report) {
  set_up(bench, c);
  report(bench.context(), 1, bench.ranking);
  return bench.text();
}

const TestInput kRate = {"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, 115}}};
const TestInput kZero = {"Zero", "B3", 0, {{-1, 80}, {1, 120}}};
const TestInput kNegative = {"Loss", "B4", -10, {{-12, 90}, {-8, 110}}};

const char* const kFirstRow =
    "\"Rate (B2)\"  B+1 \"B2\"  C+1 1  D+1 4 {0.0}  E+1 -1 {0.0}  F+1 -0.2 {0.00%}  G+1 90 {#,##0.00}  H+1 "
    "-10 {#,##0.00}  I+1 -0.1 {0.00%}\n";

const Situation kSpiderSituations[] = {
    {{"every step with its changes", {kRate}},
     {"== Spider C14\n", kFirstRow, "B+2 \"B2\"  C+2 2  D+2 5 {0.0}  E+2 0 {0.0}  F+2 0 {0.00%}", ":I+3\n",
      "I+1:I+3 (-0.1, 0, 0.15) over F+1:F+3 (-0.2, 0, 0.2)",
      "from -0.1 to 0.15 \"Output, % change from base value\" {0%}", "Each line of the chart is one input"},
     {"note at", " - ", "No line", "hidden cells", "merged A+"}},
    {{"a base of zero has no line, and says why in its own row",
      {kRate, kZero, {"Nil", "B8", 0, {{-1, kNothing}, {1, 120}}}}},
     {"\"Zero (B3)\"  B+4 \"B3\"  C+4 1  D+4 -1 {0.0}  E+4 -1 {0.0}  F+4 \" - \"",
      "note at F+4 \"Please note:\nThe base value of this input is 0",
      "note at F+6 \"Please note:\nThe base value of this input is 0",
      "note at G+6 \"Please note:\nSome values", "No line, because the base value is 0: Zero (B3), Nil (B8)",
      "series \"Rate (B2)\""},
     {"series \"Zero", "series \"Nil", "The base value of the output"}},
    {{"a base that is no number has no line either",
      {kRate, {"Text", "B9", kNothing, {{kNothing, 90}, {2, 110}}}}},
     {"note at D+4 \"Please note:\nSome values",
      "note at E+5 \"Please note:\nThe base value of this input is not a number",
      "No line, because the base value is not a number: Text (B9)", "series \"Rate (B2)\""},
     {"series \"Text", "base value of this input is 0"}},
    {{"an output base that is no number is not said to be 0", {kRate, kNegative}, kNothing},
     {"note at H+1 \"Please note:\nThe base value of the output is not a number",
      "There is no spider graph for this output.\nA base value is 0 or not a number"},
     {"The base value of the output is 0", "No line"}},
    {{"results that all failed", {kRate, {"Broken", "B9", 1, {{1, kNumError}, {2, kNothing}}}}},
     {"No line, because no result is a number: Broken (B9)",
      "Results that are no numbers: Broken (B9): 2 of 2",
      "note at A+4 \"Please note:\nResults that are no numbers: 2 of 2"},
     {"series \"Broken"}},
    {{"nothing but results that failed", {{"Broken", "B9", 1, {{1, kNumError}, {2, kNothing}}}}},
     {"There is no spider graph for this output.\nNone of its results is a number."},
     {"Each line"}},
    {{"a step between others that failed is a gap",
      {kRate, {"Term", "B5", 10, {{8, 95}, {9, kNumError}, {10, 100}, {kNothing, 103}, {12, 105}}}}},
     {"series \"Rate (B2)\" I+1:I+3",
      "series \"Term (B5)\" L+4:L+8 (-0.05, , 0, , 0.05) over K+4:K+8 (-0.2, , 0, , 0.2)",
      "draws hidden cells", "G+5 \" - \"", "D+7 \" - \"", "Results that are no numbers: Term (B5): 1 of 5"}},
    {{"an input that moves nothing", {kRate, {"Idle", "B9", 3, {{2, 100}, {4, 100}}}}},
     {"series \"Idle (B9)\""},
     {"No effect"}},
    {{"an input that moves nothing is left out of the graph, on demand",
      {kRate, {"Idle", "B9", 3, {{2, 100}, {4, 100}}}},
      100,
      without_idle},
     {"\"Idle (B9)\"  B+4", "No effect on this output: Idle (B9)"},
     {"series \"Idle", "No line"}},
    {{"steps that leave out the base value", {{"Late", "B9", 3, {{4, 110}, {5, 120}}}}},
     {"note at A+1 \"Please note:\nThe steps of this input leave out its base value",
      "Steps that leave out the base value: Late (B9)."}},
    {{"changes are parts of the size of the base, whatever its sign",
      {{"Loss", "B4", -10, {{-12, -90}, {-8, -110}}}},
      -100},
     {"E+1 -2 {0.0}  F+1 -0.2 {0.00%}", "H+1 10 {#,##0.00}  I+1 0.1 {0.00%}",
      "(0.1, -0.1) over F+1:F+2 (-0.2, 0.2)"}},
    {{"what calculating leaves behind is no change",
      {{"Rate", "B2", 0.1, {{0.1 + 1e-16, 0.1 + 0.2}, {0.2, 0.5}}}},
      0.3},
     {"E+1 0 {0.0}  F+1 0 {0.00%}", "H+1 0 {#,##0.00}  I+1 0 {0.00%}"}},
    {{"nothing to draw", {kZero}, 0},
     {"There is no spider graph for this output.",
      "The base value of the output is 0, so there is no change"}},
    {{"an output base of zero is noted once", {kRate, kNegative}, 0},
     {"note at I+1", "There is no spider graph"},
     {"note at I+4"}},
    {{"lines end where results end",
      {{"Term", "B5", 10, {{8, kNothing}, {9, 95}, {11, 105}, {12, kNumError}}}}},
     {"(-0.05, 0.05) over F+2:F+3 (-0.1, 0.1)", "G+1 \" - \"", "note at G+1"}},
    {{"no input", {kRate}, 100, [](GraphBench& b) { b.ranking.input_limit = 0; }},
     {"No input moved this output enough"},
     {"chart ", "Step"}},
};

const Situation kSensitivitySituations[] = {
    {{"one chart an input", {kRate, kNegative}},
     {"\"Sensitivity graph\"", "title \"Sensitivity to Rate\nCost\"", "title \"Sensitivity to Loss",
      "category axis from 4 to 6 \"Rate\" {0.0}", "value axis from 90 to 115 \"Cost\" {#,##0.00}",
      "(90, 100, 115) over", "Each chart shows one input", "\"Charts: below the table, from row 18 on\""},
     {"Please note:\nSome values", "No chart"}},
    {{"a result that is an error leaves a gap and a word at its chart",
      {{"Rate", "B2", 5, {{4, 90}, {5, kNumError}, {6, 115}}}, kNegative}},
     {"title \"Sensitivity to Rate\nCost\nResults that are no numbers: 1 of 3\"",
      "Q+1:Q+3 (90, , 115) over P+1:P+3 (4, , 6)", "draws hidden cells", "series \"Loss (B4)\" G+4:G+5"},
     {"There are no"}},
    {{"missing results at an end shorten the line", {{"Rate", "B2", 5, {{4, 90}, {5, 100}, {6, kNothing}}}}},
     {"G+1:G+2 (90, 100) over D+1:D+2 (4, 5)"},
     {"hidden cells"}},
    {{"changes need one", {kRate, kZero, {"Text", "B9", kNothing, {{1, 90}, {2, 110}}}}, 100, in_percent},
     {"No chart, because the base value is 0: Zero (B3)",
      "No chart, because the base value is not a number: Text (B9)"},
     {"series \"Zero", "series \"Text", "There are no"}},
    {{"only inputs that move nothing", {{"Idle", "B9", 3, {{2, 100}, {4, 100}}}}, 100, without_idle},
     {"There are no sensitivity graphs for this output.\nNone of the inputs has an effect on it.",
      "No effect on this output: Idle (B9)", "\"Idle (B9)\"  B+1"},
     {"series \"Idle"}},
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

TEST(SensitivityChart, RefusesWhatItWouldDrawAsZeroAndSaysWhere) {
  const struct {
    host::CellValue third;
    std::int32_t status;
    std::size_t series;
  } kCases[] = {{host::CellError::kValue, 3, 0}, {" - ", 3, 0}, {{}, 0, 1}, {3.0, 0, 1}};
  for (const auto& c : kCases) {
    for (const std::int32_t bad_column : {20, 21}) {
      GraphBench bench;
      const auto sheet = bench.workbook->AddSheet("Figures");
      const auto cells = sheet->SheetWorksheet();
      for (std::int32_t row = 1; row <= 4; ++row)
        for (std::int32_t column = 20; column <= 21; ++column)
          cells->range(row, column, 1, 1)->set_value(static_cast<double>(row));
      cells->range(3, bad_column, 1, 1)->set_value(c.third);
      OrdvaneGInput graph(bench.session);
      const auto range = graph.ranges.Add(1);
      range->set_xValues(cells->range(1, 20, 4, 1));
      range->set_yValues(cells->range(1, 21, 4, 1));
      EXPECT_EQ(graph.inputG(*sheet), c.status);
      EXPECT_EQ(bench.book()->sheets.front()->charts.front()->series.size(), c.series);
    }
  }
}

// An input's name stands once, over all its steps, and goes on below where it is long.
TEST(StepTable, WrapsANameInTheFirstRowOfItsSteps) {
  GraphBench bench;
  make_report(bench, {{"", {{std::string(200, 'n'), "B2", 5, {{4, 90}, {6, 110}}}, kNegative}}, {}},
              GenerateSpiderReport);
  const auto book = bench.book();
  const office::SheetModel& sheet = *book->sheets.front();
  const std::int32_t first = sheet.charts.front()->series.front()->values.area.row;
  EXPECT_GE(sheet.row_heights.at(first), 3 * 13);
  EXPECT_FALSE(sheet.row_heights.contains(first + 1));
}

TEST(StepTable, IsCutToTheSmallestSheetAndSaysSo) {
  GraphBench bench;
  bench.outputs(1).set_BaseValue(100);
  bench.set_inputs({kRate, kNegative});
  bench.inputs(2).numSteps = 65524;
  bench.inputs(2).inputValuesUsedInit(65524);
  bench.inputs(2).outputValuesCalculatedInit(1, 65524);
  const Context context = bench.context();
  const model::OutputAnswers answers = AnswersOf(context, 1);
  StepTable table(context, 1, 2, answers);
  EXPECT_EQ(table.blocks().back().rows, 65522);
  const session::TextId<0> no_text = text_id::kStepsInputBaseNoNumber;
  table.write(*bench.workbook->AddSheet("Steps"),
              {text_id::kStepsCaptionOfCell, no_text, no_text, no_text, no_text});
  const auto book = bench.book();
  EXPECT_EQ(book->sheets.front()->comments.count({4, 3}), 1U) << "at the caption of the steps";
}

TEST(SpiderChart, GrowsWithItsLegend) {
  std::vector<TestInput> many;
  for (int i = 1; i <= 32; ++i)
    many.push_back({"Input", "B" + std::to_string(i), 5, {{4, 90}, {6, 110.0 + i}}});
  GraphBench few_bench, many_bench;
  make_report(few_bench, {{"", {kRate}}, {}}, GenerateSpiderReport);
  make_report(many_bench, {{"", many}, {}}, GenerateSpiderReport);
  const auto height = [](GraphBench& bench) { return bench.book()->sheets.front()->charts.front()->height; };
  EXPECT_EQ(height(few_bench), 300);
  EXPECT_GE(height(many_bench), 32 * 13);
  EXPECT_EQ(many_bench.book()->sheets.front()->charts.front()->series.size(), 32U);
}

}  // namespace
}  // namespace ordvane::reports
