// The closing sheets, against the records they are made from.
#include "reports/summary_report.h"

#include <gtest/gtest.h>

#include <limits>

#include "reports/reports_bench.h"

namespace ordvane::reports {
namespace {

model::Records records(const std::vector<std::pair<std::string, std::string>>& names_and_cells) {
  model::Records result;
  for (const auto& [name, cell] : names_and_cells) result.push_back(test::item(name, cell));
  return result;
}

model::OrdvaneSummary summary() {
  model::OrdvaneSummary sum;
  sum.Runs = 3;
  sum.RecalculationsTotal = 121;
  sum.Recalculations = 99;
  sum.OutputsTotal = 9;
  sum.OutputsSelected = 2;
  sum.OutputsImpacted = 4;
  sum.InputsTotal = 12;
  sum.InputsStandard = 10;
  sum.InputsAutoVary = 2;
  sum.RecalculationsMultiWay = 16;
  sum.ThreshholdOfInputs = 0.05;
  sum.set_MaximumNumberOfInputs(20);
  return sum;
}

// Of the second of three runs. The arguments live as long as the call that they are made for.
Context context(test::TablesBench& bench, layout::ReportWorkbook& workbook,
                const model::OneBased<std::int32_t>& selected, const model::Records& inputs,
                const model::Records& outputs) {
  return {.session = bench.session,
          .workbook = workbook,
          .selected = selected,
          .inputs = inputs,
          .outputs = outputs,
          .run_number = 2,
          .total_runs = 3};
}

constexpr const char* kSummarySheet =
    R"(== <815>
A1 "<818>"
A2 "<204>"  B2 "plant.xlsx"
A3 "<206>"  B3 "<822: 2, 3>"
A5 "<821>"  B5 "<1042>"
A6 "<813>"  B6 3
A7 "<812>"  B7 121
A8 "<820>"  B8 9
A9 "<811>"  B9 2
A10 "<1025>"  B10 -2
A11 "<819>"  B11 12
A12 "<814>"  B12 10
A13 "<802>"  B13 2
A14 "<805>"  B14 16
A15 "<804>"  B15 20
A16 "<816>"  B16 0.05
)";

TEST(MakeSummaryReport, ShowsTheTotals) {
  test::TablesBench bench;
  auto reports = bench.reports();
  const auto results = records({{"Price", "C5"}});
  EXPECT_EQ(MakeSummaryReport(context(bench, reports, {}, results, {}), summary()), 0);
  const auto& sheet = bench.first_sheet(reports);
  EXPECT_EQ(test::sheet_text(*bench.kept, sheet), kSummarySheet);
  EXPECT_EQ(bench.app->calculation(), host::Calculation::kManual);
}

// Inputs with the results of outputs 1 and 2 at their steps.
model::Records results_of(
    const std::vector<std::pair<std::string, std::vector<std::pair<double, double>>>>& inputs) {
  model::Records result;
  for (const auto& [name, values] : inputs) {
    model::DralInputOutput input = test::item(name, "B" + std::to_string(result.size() + 1));
    test::set_steps(input, values.size(), 2);
    for (std::int32_t step = 1; step <= input.numSteps; ++step) {
      const auto& [first, second] = values[static_cast<std::size_t>(step - 1)];
      input.OutputValuesCalculatedPut(1, step, first);
      input.OutputValuesCalculatedPut(2, step, second);
    }
    result.push_back(input);
  }
  return result;
}

using test::kNothing;

TEST(MakeSummaryReport, SaysWhichResultsAreNoNumbers) {
  const auto outputs = records({{"Cost", "C8"}, {"Profit", "C9"}});
  const auto inputs =
      results_of({{"Price", {{1, kNothing}, {2, 2}}}, {"Tax", {{3, 3}}}, {"Yield", {{kNothing, kNothing}}}});
  const struct {
    model::OneBased<std::int32_t> selected;
    const char* added;
  } kCases[] = {
      {{2, 1, 0},
       "A17 \"<850>\"  B17 \"<851: 3, 8>\"\n"
       "A19 \"<852: <263: Price (B1), 1, 4>, <263: Yield (B3), 2, 2>>\"\n"
       "A20 \"<853: <263: Profit (C9), 2, 4>, <263: Cost (C8), 1, 4>>\"\n"},
      {{1},
       "A17 \"<850>\"  B17 \"<851: 1, 4>\"\n"
       "A19 \"<852: <263: Yield (B3), 1, 1>>\"\n"
       "A20 \"<853: <263: Cost (C8), 1, 4>>\"\n"},
      {{}, ""},
  };
  for (const auto& c : kCases) {
    test::TablesBench bench;
    auto reports = bench.reports();
    EXPECT_EQ(MakeSummaryReport(context(bench, reports, c.selected, inputs, outputs), summary()), 0);
    const auto& sheet = bench.first_sheet(reports);
    const std::string text = test::sheet_text(*bench.kept, sheet);
    EXPECT_EQ(text.substr(0, text.find("merged")), kSummarySheet + std::string(c.added));
  }
}

TEST(MakeSummaryReport, FailsWithoutResultsAndOnOverflow) {
  test::TablesBench bench;
  auto reports = bench.reports();
  auto overflowing = summary();
  overflowing.OutputsSelected = std::numeric_limits<std::int32_t>::max();
  overflowing.OutputsImpacted = -1;
  const auto code_of = [&](const model::Records& results, const model::OrdvaneSummary& sum) {
    try {
      return MakeSummaryReport(context(bench, reports, {}, results, {}), sum);
    } catch (const host::Error& error) {
      return error.code();
    }
  };
  EXPECT_EQ(code_of({}, summary()), host::errc::kSubscriptOutOfRange);
  EXPECT_EQ(code_of(records({{"Price", "C5"}}), overflowing), host::errc::kOverflow);
  EXPECT_EQ(test::sheet_names(bench.model(reports)), (std::vector<std::string>{"<815>", "<815> (2)"}))
      << "sheets stay as far as they were written";
}

constexpr const char* kMissingSheet =
    R"text(== <823>
A1 "<817>"
A2 "<204>"  B2 "plant.xlsx"
A3 "<206>"  B3 "2<808>3"
A5 "<810>"
A6 "<809>"  B6 "<101>"
A7 "(D7)"  B7 "D7"
A8 "Profit (C9)"  B8 "C9"
)text";

TEST(MakeOutputsMissingReport, ListsOutputsThroughBothArrays) {
  test::TablesBench bench;
  auto reports = bench.reports();
  const auto outputs = records({{"Cost", "C8"}, {"Profit", "C9"}, {" ", "D7"}});
  const auto results = records({{"Price", "C5"}});
  EXPECT_EQ(MakeOutputsMissingReport(context(bench, reports, {2, 1, 3}, results, outputs), 2, {3, 1}), 0);
  const auto& sheet = bench.first_sheet(reports);
  EXPECT_EQ(test::sheet_text(*bench.kept, sheet), kMissingSheet);
}

TEST(MakeOutputsMissingReport, TellsOutputsWithoutResultsFromThoseThatNothingMoves) {
  test::TablesBench bench;
  auto reports = bench.reports();
  const auto inputs = results_of({{"Price", {{1, kNothing}, {1, kNothing}}}});
  MakeOutputsMissingReport(
      context(bench, reports, {1, 2}, inputs, records({{"Cost", "C8"}, {"Profit", "C9"}})), 2, {1, 2});
  const auto& sheet = bench.first_sheet(reports);
  const std::string text = test::sheet_text(*bench.kept, sheet);
  EXPECT_TRUE(text.ends_with("note at A8 \"<116>:\n<261: 2, 2>\"\n")) << text;
  EXPECT_EQ(text.find("note at A7"), std::string::npos) << text;
}

}  // namespace
}  // namespace ordvane::reports
