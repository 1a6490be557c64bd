// Why cells of the detail tables show no number, in tables of two inputs and two outputs.
#include "reports/gap_notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/engine.h"
#include "layout/look.h"
#include "reports/detail_by_input.h"
#include "reports/output_detail.h"
#include "reports/reports_bench.h"
#include "runfile/recorded_engine.h"

namespace ordvane::reports {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr double kNone = host::kMissingNumber;

// Two inputs with two steps each, in the order of the recalculations.
struct Case {
  const char* what;
  std::vector<double> input_bases, output_bases;
  std::vector<std::string> detail, by_input;  // notes of the detail of output 1, and of the detail by input
  std::vector<double> values = {1, 2, 3, 4};  // of the inputs at their steps
  std::vector<std::vector<double>> results = {{1, 2, 3, 4}, {1, 2, 3, 4}};  // of each output at every step
};

constexpr const char* kDetail = R"-(== <401 B1>
A1 "<404>"
A2 "<204>"  B2 "M.xlsx"
A3 "<205>"  B3 "Profit (B1)"
A4 "<200>"  B4 3
A6 "<405: Profit>"
A7 "<400>"
E8 "<107>"  G8 "<110>"
A9 "<309>"  B9 "<106>"  C9 "<101>"  D9 "<113>"  E9 "<118>"  F9 "<104>"  G9 "<118>"  H9 "<104>"
A10 1  B10 "(A2)"  C10 "A2"  D10 2  E10 4  F10 1 {0.00%}  G10 4  H10 0.3333333333 {0.00%}
A11 2  B11 "(A2)"  C11 "A2"  D11 1  E11 3  F11 0.5 {0.00%}  G11 3  H11 0 {0.00%}
A12 3  B12 "(A1)"  C12 "A1"  D12 2  E12 2  F12 3 {0.00%}  G12 2  H12 -0.3333333333 {0.00%}
A13 4  B13 "(A1)"  C13 "A1"  D13 1  E13 1  F13 2 {0.00%}  G13 1  H13 -0.6666666667 {0.00%}
merged E8:F8
merged G8:H8
filter A9:H13
)-";
constexpr const char* kByInput = R"-(== <105>
A1 "<117>"
A2 "<204>"  B2 "M.xlsx"
A4 "<119>"
A5 "<100>"
D6 "<107>"  G6 "<110>"
G7 "Profit"  J7 " "
A8 "<106>"  B8 "<101>"  C8 "<113>"  D8 "<118>"  E8 "<103>"  F8 "<104>"  G8 "<118>"  H8 "<103>"  I8 "<104>"  J8 "<118>"  K8 "<103>"  L8 "<104>"
A9 "(A1)"  B9 "A1"  C9 "<108: 1>"  D9 1  E9 2  F9 2 {0.00%}  G9 1  H9 -2  I9 -0.6666666667 {0.00%}  J9 1  K9 -3  L9 -0.75 {0.00%}
A10 "(A1)"  B10 "A1"  C10 "<108: 2>"  D10 2  E10 3  F10 3 {0.00%}  G10 2  H10 -1  I10 -0.3333333333 {0.00%}  J10 2  K10 -2  L10 -0.5 {0.00%}
A11 "(A2)"  B11 "A2"  C11 "<108: 1>"  D11 3  E11 1  F11 0.5 {0.00%}  G11 3  H11 0  I11 0 {0.00%}  J11 3  K11 -1  L11 -0.25 {0.00%}
A12 "(A2)"  B12 "A2"  C12 "<108: 2>"  D12 4  E12 2  F12 1 {0.00%}  G12 4  H12 1  I12 0.3333333333 {0.00%}  J12 4  K12 0  L12 0 {0.00%}
merged D6:F6
merged G6:L6
merged G7:I7
merged J7:L7
filter A8:L12
)-";

struct GapBench {
  explicit GapBench(const Case& c) {
    auto run = std::make_shared<runfile::Run>();
    for (std::int32_t i = 1; i <= 2; ++i) {
      inputs.push_back(item("", "A", i, c.input_bases));
      auto& input = inputs(i);
      test::set_steps(input, 2, 2);
      input.outputRankPerStepInit(2, 2);
      runfile::Input recorded;
      recorded.steps = 2;
      run->inputs.push_back(recorded);
      run->recalculations += 2;
      for (std::int32_t step = 1; step <= 2; ++step) {
        const auto at = static_cast<std::size_t>(2 * i + step - 3);
        input.InputValuesUsedPut(step, c.values[at]);
        for (std::int32_t o = 1; o <= 2; ++o) {
          input.OutputValuesCalculatedPut(o, step, c.results[static_cast<std::size_t>(o - 1)][at]);
          input.outputRankPerStepPut(o, step, static_cast<double>(4 - at));  // from the bottom up
        }
      }
    }
    outputs.push_back(item("Profit", "B", 1, c.output_bases));
    outputs.push_back(item(" ", "B", 2, c.output_bases));
    bench.session.engine = runfile::make_recorded_engine(run);
    bench.session.session_flag = 1;
  }

  static model::DralInputOutput item(const std::string& name, const std::string& column, std::int32_t number,
                                     const std::vector<double>& bases) {
    return test::item(name, column + std::to_string(number), bases[static_cast<std::size_t>(number - 1)], "",
                      "M.xlsx");
  }

  Context context(layout::ReportWorkbook& workbook, std::int32_t recalculations) {
    return {.session = bench.session,
            .workbook = workbook,
            .selected = selected,
            .inputs = inputs,
            .outputs = outputs,
            .recalculations = recalculations};
  }
  std::string detail(std::int32_t output, std::int32_t recalculations = 4) {
    auto reports = bench.reports();
    MakeOutputDetailReport(context(reports, recalculations), output);
    return test::sheet_text(bench.model(reports), bench.first_sheet(reports));
  }
  std::string by_input() {
    auto reports = bench.reports();
    MakeDetailByInputReport(context(reports, 4));
    return test::sheet_text(bench.model(reports), bench.first_sheet(reports));
  }
  static std::string notes(const std::string& sheet) {
    const std::size_t at = sheet.find("note at");
    return at == std::string::npos ? "" : sheet.substr(at);
  }

  test::TablesBench bench;
  model::OneBased<std::int32_t> selected = {1, 2};
  model::Records inputs, outputs;
};

// Body cells: output detail from row 9 on, values in D and F; detail by input from row 8 on, values in D, G,
// J.
const Case kCases[] = {
    {"every number is there", {-1, 2}, {3, 4}, {}, {}},
    {"a change that no cell holds", {1e-300, 2}, {3, 4}, {"F13 <600>"}, {"F9 <600>"}, {1e300, 2, 3, 4}},
    {"the second input's base is zero", {1, 0}, {3, 4}, {"F10 <607>"}, {"F11 <607>"}},
    {"the second output's base is zero", {1, 2}, {3, 0}, {}, {"L9 <608>"}},
    {"bases that are no numbers",
     {1, kNone},
     {kNone, 4},
     {"F10 <130>", "H10 <131>"},
     {"H9 <131>", "I9 <131>", "E11 <130>", "F11 <130>"}},
    {"results that are no numbers, beside a base of zero",
     {1, 2},
     {3, 0},
     {"G10 <261: 2, 4>"},
     {"A9 <261: 1, 4>", "L9 <608>", "G10 <261: 2, 4>", "A11 <261: 2, 4>", "J11 <261: 1, 4>"},
     {1, 2, 3, 4},
     {{1, kNone, 3, kNone}, {1, 2, kNone, 4}}},
    {"an input's value that is no number", {1, 2}, {3, 4}, {"E12 <600>"}, {"D10 <600>"}, {1, kNone, 3, 4}},
};

TEST(GapNotes, StandAtTheFirstCellThatTheyAreAbout) {
  const auto in_order = [](const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
      const std::size_t blank = part.find(' ');
      text += "note at " + part.substr(0, blank) + " \"<116>:\n" + part.substr(blank + 1) + "\"\n";
    }
    return text;
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    GapBench bench(c);
    EXPECT_EQ(GapBench::notes(bench.detail(1)), in_order(c.detail));
    EXPECT_EQ(GapBench::notes(bench.by_input()), in_order(c.by_input));
  }
}

TEST(DetailTables, ShowEveryStepOnce) {
  GapBench bench(kCases[0]);
  EXPECT_EQ(bench.detail(1), kDetail);
  EXPECT_EQ(bench.by_input(), kByInput);
  const auto ruled = [](const office::CellStyle& style) { return style.right.line_style != host::kXlNone; };
  for (const std::string& cell : test::cells_that_look(*bench.bench.kept, ruled))
    EXPECT_THAT(cell, testing::MatchesRegex("[CFI][0-9]+"));
  EXPECT_EQ(test::cells_that_look(*bench.bench.kept, ruled).size(), 15U) << "captions and four rows";
  const auto quiet = [](const office::CellStyle& style) { return style.font_color == layout::look::kMuted; };
  EXPECT_THAT(test::cells_that_look(*bench.bench.kept, quiet),
              testing::ElementsAre("A2", "A5", "A10", "B10", "A12", "B12"));
}

// Of an output without a name, some of whose results are no numbers.
TEST(DetailTexts, ReadAsSentences) {
  GapBench bench(kCases[5]);
  EXPECT_THAT(bench.detail(2), testing::AllOf(HasSubstr("B3 \"(B2)\""), HasSubstr("\"<405: B2>\""),
                                              HasSubstr("\"<430>\""), Not(HasSubstr("<400>"))));
  EXPECT_THAT(bench.detail(2, 3), testing::AllOf(HasSubstr("note at E9 \"<116>:\n<403>\""),
                                                 HasSubstr("A12 3  B12"), Not(HasSubstr("A13"))));
}

}  // namespace
}  // namespace ordvane::reports
