// Why cells of the detail tables show no number, in tables of two inputs and two outputs.
#include "reports/gap_notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/engine.h"
#include "layout/layout_bench.h"
#include "reports/detail_by_input.h"
#include "reports/output_detail.h"
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
  std::vector<double> values;                 // of the inputs at their steps
  std::vector<std::vector<double>> results;   // of each output at every step
  std::vector<std::string> detail, by_input;  // parts of the detail of output 1, and of the detail by input
};

class GapNotesTest : public testing::TestWithParam<Case> {
 protected:
  GapNotesTest() {
    const Case& c = GetParam();
    auto run = std::make_shared<runfile::Run>();
    for (std::int32_t i = 1; i <= 2; ++i) {
      auto& input = item(inputs_, "", "A", c.input_bases);
      input.numSteps = 2;
      input.inputValuesUsedInit(2);
      input.outputValuesCalculatedInit(2, 2);
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
    item(outputs_, "Profit", "B", c.output_bases);
    item(outputs_, " ", "B", c.output_bases);
    bench_.session.engine = runfile::make_recorded_engine(run);
    bench_.session.session_flag = 1;
  }

  static model::DralInputOutput& item(model::Records& records, const std::string& name,
                                      const std::string& column, const std::vector<double>& bases) {
    model::DralInputOutput record;
    record.ioName = name;
    record.set_SimpleName(name);
    record.set_BaseValue(bases[static_cast<std::size_t>(records.size())]);
    record.bookName = "M.xlsx";
    record.cellAddress = column + std::to_string(records.size() + 1);
    records.push_back(record);
    return records(records.size());
  }

  Context context(layout::ReportWorkbook& workbook) {
    return {.session = bench_.session,
            .workbook = workbook,
            .selected = selected_,
            .inputs = inputs_,
            .outputs = outputs_,
            .recalculations = 4};
  }
  std::string text(layout::ReportWorkbook& reports) {
    const auto& sheet = bench_.first_sheet(reports);
    return test::sheet_text(*bench_.kept, sheet);
  }
  static std::string notes(const std::string& sheet) {
    const std::size_t at = sheet.find("note at");
    return at == std::string::npos ? "" : sheet.substr(at);
  }

  test::TablesBench bench_;
  model::OneBased<std::int32_t> selected_ = {1, 2};
  model::Records inputs_, outputs_;
};

// Body cells: output detail from row 9 on, values in D and F; detail by input from row 8 on, values in D, G,
// J.
const Case kCases[] = {
    {"every number is there", {1, 2}, {3, 4}, {1, 2, 3, 4}, {{1, 2, 3, 4}, {1, 2, 3, 4}}, {}, {}},
    {"the second input's base is zero",
     {1, 0},
     {3, 4},
     {1, 2, 3, 4},
     {{1, 2, 3, 4}, {1, 2, 3, 4}},
     {"F10 \"<116>:\n<607>\""},
     {"F11 \"<116>:\n<607>\""}},
    {"the second output's base is zero",
     {1, 2},
     {3, 0},
     {1, 2, 3, 4},
     {{1, 2, 3, 4}, {1, 2, 3, 4}},
     {},
     {"L9 \"<116>:\n<608>\""}},
    {"bases that are no numbers",
     {1, kNone},
     {kNone, 4},
     {1, 2, 3, 4},
     {{1, 2, 3, 4}, {1, 2, 3, 4}},
     {"F10 \"<116>:\n<130>\"", "H10 \"<116>:\n<131>\""},
     {"H9 \"<116>:\n<131>\"", "I9 \"<116>:\n<131>\"", "E11 \"<116>:\n<130>\"", "F11 \"<116>:\n<130>\""}},
    {"results that are no numbers, beside a base of zero",
     {1, 2},
     {3, 0},
     {1, 2, 3, 4},
     {{1, kNone, 3, kNone}, {1, 2, 3, kNone}},
     {"G10 \"<116>:\n<261: 2, 4>\""},
     {"A9 \"<116>:\n<261: 1, 4>\"", "L9 \"<116>:\n<608>\"", "G10 \"<116>:\n<261: 2, 4>\"",
      "A11 \"<116>:\n<261: 2, 4>\"", "J12 \"<116>:\n<261: 1, 4>\""}},
    {"an input's value that is no number",
     {1, 2},
     {3, 4},
     {1, kNone, 3, 4},
     {{1, 2, 3, 4}, {1, 2, 3, 4}},
     {"E12 \"<116>:\n<600>\""},
     {"D10 \"<116>:\n<600>\""}},
};

TEST_P(GapNotesTest, StandAtTheFirstCellThatTheyAreAbout) {
  SCOPED_TRACE(GetParam().what);
  const auto in_order = [](const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += "note at " + part + "\n";
    return text;
  };
  auto details = bench_.reports();
  MakeOutputDetailReport(context(details), 1);
  EXPECT_EQ(notes(text(details)), in_order(GetParam().detail));
  auto by_input = bench_.reports();
  MakeDetailByInputReport(context(by_input));
  EXPECT_EQ(notes(text(by_input)), in_order(GetParam().by_input));
}

INSTANTIATE_TEST_SUITE_P(Of, GapNotesTest, testing::ValuesIn(kCases));

// Of an output without a name, some of whose results are no numbers.
class DetailTexts : public GapNotesTest {};

TEST_P(DetailTexts, ReadAsSentences) {
  auto reports = bench_.reports();
  MakeOutputDetailReport(context(reports), 2);
  EXPECT_THAT(text(reports), testing::AllOf(HasSubstr("B3 \"(B2)\""), HasSubstr("\"<405: B2>\""),
                                            HasSubstr("\"<430>\""), Not(HasSubstr("<400>"))));
}

INSTANTIATE_TEST_SUITE_P(WithFailedSteps, DetailTexts, testing::Values(kCases[4]));

}  // namespace
}  // namespace ordvane::reports
