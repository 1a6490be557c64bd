// Plans: which recalculations a definition means in a workbook, and in what order.
#include "sweep/plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "small_model.h"

namespace ordvane::sweep {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string rows_text(const Plan& plan, std::int64_t first) {
  PlanRows rows(plan, first);
  std::string text;
  for (std::int64_t i = first; i < plan.total(); ++i) {
    const PlannedRow& row = rows.next();
    text += (row.in_group ? "g" : "i") + std::to_string(row.of + 1) + "." + std::to_string(row.position + 1);
    for (const Change& change : row.changes)
      text += " " + std::to_string(change.input + 1) + "=" + shown({change.value, {}});
    text += "\n";
  }
  return text;
}

TEST(Plan, GoesInTheOrderOfTheRunFile) {
  calc::Model model = small_book().model();
  const Plan plan = planned(small_what_if(), model);
  const std::string all =
      "i1.1 1=1\ni1.2 1=2\ni1.3 1=3\n"
      "i2.1 2=2\ni2.2 2=6\n"
      "i3.1 3=5\ni3.2 3=7\ni3.3 3=9\n"
      "g1.1 2=2 1=1\ng1.2 2=2 1=2\ng1.3 2=2 1=3\ng1.4 2=6 1=1\ng1.5 2=6 1=2\ng1.6 2=6 1=3\n"
      "g2.1 1=1 3=5\ng2.2 1=1 3=9\ng2.3 1=3 3=5\ng2.4 1=3 3=9\n";
  ASSERT_EQ(plan.total(), 18);
  std::size_t line = 0;
  for (std::int64_t first = 0; first < plan.total(); ++first) {
    EXPECT_EQ(rows_text(plan, first), all.substr(line)) << "from " << first;
    line = all.find('\n', line) + 1;
  }
}

TEST(Plan, SpacesStepsInFullPrecision) {
  EXPECT_THAT(spaced(0.1, 0.7, 4), ElementsAre(0.1, 0.1 + (0.7 - 0.1) / 3, 0.1 + (0.7 - 0.1) * 2 / 3, 0.7));
  EXPECT_THAT(spaced(4, 9, 1), ElementsAre(4));
  EXPECT_THAT(spread(5, 3), ElementsAre(0U, 2U, 4U));
  EXPECT_THAT(spread(4, 3), ElementsAre(0U, 2U, 3U));
  EXPECT_THAT(spread(3, 1), ElementsAre(0U));
}

TEST(Plan, TakesNamesAndFormulasFromTheWorkbook) {
  calc::Model model = small_book().model();
  const Plan plan = planned(
      R"({"inputs": [{"cell": "Sheet1!B1", "low": 1, "high": 3}, {"name": "Amount", "values": [1]}],
          "outputs": [{"cell": "Sheet1!B5"}, {"cell": "Sheet1!C2", "name": "Moved"}]})",
      model);
  EXPECT_EQ(plan.inputs[0].item.labels.front().text, "Price");
  EXPECT_EQ(plan.inputs[0].item.labels.front().cell, "A1");
  EXPECT_EQ(plan.inputs[0].item.base, 10);
  EXPECT_EQ(plan.inputs[0].values.size(), 5U);
  EXPECT_EQ(plan.inputs[1].item.cell, "B2");
  EXPECT_EQ(plan.inputs[1].item.name, "Amount");
  EXPECT_EQ(plan.outputs[0].item.formula, "=B1*B2-B3");
  EXPECT_EQ(plan.outputs[1].item.formula, "=B2+1") << "a shared formula as its cell has it";
}

TEST(Plan, RefusesWhatTheWorkbookDoesNotHave) {
  const struct {
    const char* input;
    const char* complaint;
  } cases[] = {
      {R"({"cell": "T!B1", "values": [1]})",
       R"(inputs[0].sheet: is "T"; the workbook has "Sheet1", "Other sheet")"},
      {R"({"cell": "B1", "values": [1]})", "inputs[0].cell: is B1 without a sheet"},
      {R"({"name": "Tax", "values": [1]})", R"(inputs[0].name: is "Tax", which is no name of a single cell)"},
      {R"({"cell": "Sheet1!A1", "percent": [-1, 1]})",
       "inputs[0].percent: has no base to be a percentage of"},
      {R"({"cell": "Sheet1!B1", "values": [1], "base": 11})", "inputs[0].base: is 11; the workbook has 10"},
      {R"({"cell": "Sheet1!B1", "values": [1]}, {"cell": "sheet1!$b$1", "values": [1]})",
       "inputs[1].cell: is B1 on \"Sheet1\""},
  };
  for (const auto& c : cases) {
    calc::Model model = small_book().model();
    try {
      planned(std::string(R"({"inputs": [)") + c.input + R"(], "outputs": [{"cell": "Sheet1!B5"}]})", model);
      ADD_FAILURE() << c.input;
    } catch (const runfile::BadRun& bad) {
      EXPECT_THAT(bad.what(), HasSubstr(c.complaint));
    }
  }
}

}  // namespace
}  // namespace ordvane::sweep
