// Definitions made from models alone: which inputs and outputs are found, and what their file says.
#include "sweep/suggest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include "runfile/json_file.h"
#include "small_model.h"
#include "support/external_checks.h"
#include "sweep/find_inputs.h"
#include "sweep/find_outputs.h"
#include "sweep/labels.h"
#include "sweep/sweep.h"
#include "text/numbers.h"

namespace ordvane::sweep {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string kSolarPlant = std::string(ORDVANE_SOURCE_DIR) + "/examples/solar-plant/solar-plant.xlsx";

// What becomes of each constant that a cell is calculated from: what it is set to, or why it is not.
std::map<std::string, std::string> judged(const calc::Model& model, const char* output) {
  const calc::AddressEnd at = calc::read_address_end(output);
  const calc::CellId cell = model.workbook().find(0, at.row, at.column);
  const Candidates candidates = find_candidates(model, std::span(&cell, 1));
  std::map<std::string, std::string> result;
  const auto add = [&](calc::CellId id, const std::string& text) {
    const calc::Cell& place = model.workbook().cells[static_cast<std::size_t>(id)];
    result[calc::cell_name(place.row, place.column)] += text;
  };
  for (const Candidate& candidate : candidates.varied)
    for (const double value : candidate.values) add(candidate.cell, text::general_number(value, 12) + " ");
  for (const LeftOut& left : candidates.left_out) add(left.cell, left.why);
  return result;
}

TEST(Suggestion, JudgesConstantsAsTheyAreUsed) {
  struct Case {
    const char *label, *content, *use, *expected, *unit = "";
  };
  const Case kCases[] = {
      {"Price", "50", "#*2", "45 55 "},
      {"Debt", "-50", "#*2", "-55 -45 "},
      {"Worked out", "=5*10", "#*2", "45 55 "},
      {"Construction", "2026", "#*2", "a year"},
      {"Full load hours", "2000", "#*2", "1800 2200 "},
      {"Year of the replacement", "2000", "#*2", "a year"},
      {"Months per year", "12", "#*2", "the size of a unit"},
      {"Loan period (years)", "12", "#*2", "10 11 12 13 14 "},
      {"Cost per month", "12", "#*2", "10.8 13.2 "},
      {"Loan", "12", "#*2", "10 11 12 13 14 ", "years"},
      {"Fee", "12", "#*2", "10.8 13.2 ", "USD/month"},
      {"Last period", "12", "IF(#=Z1,1,2)", "10 11 12 13 14 "},
      {"Scenario", "2", "IF(#=1,8,9)", "a case that formulas tell apart"},
      {"Scenario", "2", "CHOOSE(#,7,8,9)", "a case that formulas tell apart"},
      {"Scenario", "2", "INDEX(Z1:Z3,#)", "a case that formulas tell apart"},
      {"Index", "1", "#*2", "1, a switch or no factor"},
      {"Subsidy", "0", "#*2", "0, of which a percentage is nothing"},
      {"With storage", "TRUE", "IF(#,1,2)", "a switch"},
      {"Region", "North", "LEN(#)", ""},
  };
  for (const Case& each : kCases) {
    std::string formula = each.use;
    formula.replace(formula.find('#'), 1, "B1");
    const calc::Model model = test::TinyWorkbook()
                                  .set("A1", each.label)
                                  .set("C1", each.unit)
                                  .set("B1", each.content)
                                  .set("B9", "=" + formula)
                                  .model();
    EXPECT_EQ(judged(model, "B9")["B1"], each.expected)
        << each.label << " " << each.content << " " << each.use;
  }
}

TEST(Suggestion, LeavesOutTheHeadsOfTables) {
  test::TinyWorkbook book;
  for (int i = 0; i < 4; ++i) {
    const std::string row = std::to_string(i + 1);
    book.set("A" + row, std::to_string(i + 5)).set("B" + row, std::to_string(100 * (i + 1)));
    book.set("C" + row, "45").set("D" + row, i < 2 ? std::to_string(i + 5) : "31");
  }
  std::map<std::string, std::string> all = judged(book.set("F1", "=SUM(A1:D4)").model(), "F1");
  for (const char* head : {"A1", "A4", "B1", "B4"})
    EXPECT_EQ(all[head], "one of a series of numbers") << head;
  EXPECT_EQ(all["C2"], "40.5 49.5 ");
  EXPECT_EQ(all["D1"], "4.5 5.5 ") << "two are no series";
}

TEST(Suggestion, TakesTheValuesOfDropDownLists) {
  test::TinyWorkbook book;
  book.set("A1", "Tariff")
      .set("B1", "2")
      .set("B2", "0.05")
      .set("B3", "High")
      .set("B4", "7")
      .set("B5", "=SUM(B1:B4)");
  book.set("E1", "30").set("E2", "10").set("E3", "20").name("Levels", "Sheet1!$E$1:$E$3");
  book.drop_down("B1 D4", "\"1, 2,5\"").drop_down("B2", "\"5%,10%\"").drop_down("B3", "\"Low,High\"");
  book.drop_down("B4", "Levels");
  EXPECT_THAT(judged(book.model(), "B5"),
              ElementsAre(testing::Pair("B1", "1 2 5 "), testing::Pair("B2", "0.05 0.1 "),
                          testing::Pair("B3", "a choice of texts"), testing::Pair("B4", "10 20 30 ")));
}

TEST(Suggestion, NamesCellsByTheTextsBesideThem) {
  test::TinyWorkbook book;
  book.set("A1", "Price:").set("B1", "EUR/MWh").set("C1", "45").set("B2", "Base\n load").set("C2", "3");
  book.set("C4", "2027")
      .set("D4", "High")
      .set("A5", "PV")
      .set("C5", "1")
      .set("D5", "2")
      .set("F5", "[kW]")
      .set("G5", "3");
  book.set("A6", "Note").set("F6", "2").set("G6", "3").set("G3", "Capital");
  const calc::Model model = book.model();
  const auto label = [&](int row, int column) {
    return label_of(model, model.workbook().find(0, row, column));
  };
  EXPECT_EQ(label(0, 2), "Price");
  EXPECT_EQ(label(1, 2), "Base load");
  EXPECT_EQ(label(4, 2), "PV");
  EXPECT_EQ(label(4, 3), "PV, High") << "behind a number of the table";
  EXPECT_EQ(label(4, 6), "Capital");
  EXPECT_EQ(label(5, 6), "Capital") << "A6 is of another table";
}

TEST(Suggestion, ProposesWhatNoNumberIsCalculatedFrom) {
  test::TinyWorkbook book;
  book.set("A1", "Price")
      .set("B1", "10")
      .set("A2", "Income")
      .set("B2", "=B1*12")
      .set("A3", "Result")
      .set("B3", "=B2-7");
  book.set("A4", "Said")
      .set("B4", "=\"It is \"&B3")
      .set("A5", "Sound")
      .set("B5", "=B3>0")
      .set("A6", "Input")
      .set("B6", "=B1");
  book.set("E8", "=B1*3")
      .set("A9", "Large")
      .set("B9", "=B2+B1*B3")
      .set("A10", "Check")
      .set("B10", "=B2-B1*12");
  const calc::Model model = book.set("A11", "Share").set("B11", "=B1/B2").model();
  std::string found;
  for (const calc::CellId cell : find_outputs(model, 3)) found += model.workbook().address(cell) + " ";
  EXPECT_EQ(found, "Sheet1!B9 Sheet1!B11 Sheet1!B10 ");
}

Job solar_job(const test::TemporaryFolder& folder) {
  Job job;
  job.workbook = kSolarPlant;
  job.run = folder / "solar-plant.run.json";
  job.verify = Verify::kNone;
  return job;
}

TEST(Suggestion, IsADefinitionThatSweepsAsItStands) {
  const test::TemporaryFolder folder;
  Job job = solar_job(folder);
  job.what_if.outputs.push_back(output_option("Results!B5"));
  OpenedWorkbook book(job);
  const Suggestion found = suggest(job, book.model);
  EXPECT_THAT(found.inputs.front().name, testing::AnyOf("Feed-in price", "Specific yield"))
      << "they are multiplied";
  EXPECT_EQ(found.outputs.front().defined_name, "ProjectNPV");
  const std::string file = folder / "solar-plant.whatif.json";
  std::ofstream(file) << what_if_text(found.what_if);
  EXPECT_THAT(
      runfile::read_text(file, "a definition"),
      AllOf(
          HasSubstr(R"({"name": "FeedInPrice", "label": "Feed-in price", "base": 74, "percent": [-10, 10]})"),
          HasSubstr(R"("label": "Availability", "base": 0.985, "low": 0.8865, "high": 1})")));
  EXPECT_EQ(hash_of(make_plan(read_what_if(file), book.model, "w")),
            hash_of(make_plan(found.what_if, book.model, "w")));
  job.what_if = read_what_if(file);
  const runfile::Run run = (run_job(job), runfile::read_run(job.run));
  ASSERT_EQ(run.inputs.size(), found.inputs.size());
  // The order is that of the swings of the run.
  std::vector<double> swings;
  for (std::size_t i = 0, row = 0; i < run.inputs.size();
       row += static_cast<std::size_t>(run.inputs[i++].steps)) {
    const auto begin = run.output_values.in_memory().begin() + static_cast<std::ptrdiff_t>(row);
    const auto [low, high] = std::minmax_element(begin, begin + run.inputs[i].steps);
    swings.push_back(*high - *low);
  }
  EXPECT_TRUE(std::is_sorted(swings.rbegin(), swings.rend()));
  EXPECT_GT(swings.back(), 0);
}

TEST(Suggestion, SaysWhyItFindsNothing) {
  const test::TemporaryFolder folder;
  Job job = solar_job(folder);
  job.what_if.outputs.push_back(output_option("Finance!B5"));
  try {
    OpenedWorkbook book(job);
    suggest(job, book.model);
    FAIL();
  } catch (const runfile::BadRun& bad) {
    EXPECT_STREQ(bad.what(), "--output: Finance!B5 has no formula, so that nothing can move it");
  }
}

}  // namespace
}  // namespace ordvane::sweep
