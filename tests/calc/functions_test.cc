// Functions against the values LibreOffice 7.4 gives, to the last bit: those of functions.txt. referee.py
// compares random calls in the same way. What differs from it on purpose has a table of its own.
#include "calc/functions.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "result_tables.h"
#include "support/files.h"
#include "tiny_workbook.h"

namespace ordvane::test {
namespace {

using calc::CellId;
using calc::Model;

// Numbers, texts, truths, errors, mixed values, payments, dates and what conditions pick from, a column each.
TinyWorkbook sample() {
  TinyWorkbook book;
  const auto column = [&](char letter, std::initializer_list<const char*> contents) {
    int row = 0;
    for (const char* content : contents)
      if (++row; *content != '\0') book.set(letter + std::to_string(row), content);
  };
  column('A', {"1", "2", "3", "4.5", "-1", "0", "10", "100", "1e300", "1e-300", "0.1", "0.2"});
  column('B', {"apple", "Banana", "'12", "'1e3", "", "'TRUE", "'2020-01-15", "' 5 ", "a*b", "~x"});
  column('C', {"TRUE", "FALSE"});
  column('D', {"=1/0", "=NA()"});
  column('E', {"1", "x", "TRUE", "3", "", "'4", "-2"});
  column('F', {"-100", "30", "40", "50", "60"});
  column('G', {"43831", "44000", "44200", "44500", "45000"});
  column('H',
         {"1",     "2", "3",  "'1",    "apple", "Apple pie", "a*b",   "a?b",    "",   "",   "TRUE", "FALSE",
          "=NA()", "0", "'0", "43831", "~x",    "x~",        "'TRUE", "banana", "-1", "' ", "",     "=\"\""});
  return book;
}

class Functions : public testing::TestWithParam<ResultTable> {};

// All formulas of a table are calculated in one workbook, each in a row of its own.
TEST_P(Functions, GiveTheseValues) {
  TinyWorkbook book = sample();
  int row = 0;
  for (const auto& [formula, expected] : GetParam().rows)
    book.set("Z" + std::to_string(++row), "=" + formula);
  const Model model = book.model();
  row = 0;
  for (const auto& [formula, expected] : GetParam().rows) {
    const CellId id = model.workbook().find(0, row++, 25);
    ASSERT_EQ(model.obstacle(id), "") << formula;
    std::string value = shown(model.base(id));
    if (value == "TRUE" || value == "FALSE") value = value == "TRUE" ? "1" : "0";
    if (value.starts_with("Err:") && expected == "error") continue;
    EXPECT_EQ(value, expected) << formula;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, Functions, testing::ValuesIn(result_tables("functions.txt")), name_of_table);

TEST(FunctionTable, TotalsLeaveTotalsOut) {
  TinyWorkbook book;
  book.set("A1", "1").set("A2", "2").set("A3", "=SUBTOTAL(9,A1:A2)").set("A4", "5");
  book.set("B1", "=SUBTOTAL(9,A1:A4)")
      .set("B2", "=SUM(A1:A4)")
      .set("B3", "=AGGREGATE(9,6,A1:A4,C1)")
      .set("C1", "=1/0");
  const Model model = book.model();
  EXPECT_EQ(shown(model.base(model.workbook().find(0, 0, 1))), "8");
  EXPECT_EQ(shown(model.base(model.workbook().find(0, 1, 1))), "11");
  EXPECT_EQ(shown(model.base(model.workbook().find(0, 2, 1))), "8");
}

// The table is what docs/calculation.md lists, and the other way round.
TEST(FunctionTable, EveryOneIsInTheDocumentation) {
  const std::string text = file_text(ORDVANE_SOURCE_DIR "/docs/calculation.md");
  const std::size_t list = text.find("## The functions");
  ASSERT_NE(list, std::string::npos);
  std::set<std::string> listed, there;
  const std::regex word("`([A-Z][A-Z0-9.]*)`");
  for (std::sregex_iterator it(text.begin() + static_cast<std::ptrdiff_t>(list), text.end(), word), end;
       it != end; ++it)
    listed.insert((*it)[1]);
  for (const calc::Function* function : calc::all_functions())
    EXPECT_TRUE(there.insert(std::string(function->name)).second)
        << function->name << " is in the table twice";
  EXPECT_GE(there.size(), 150u);
  EXPECT_EQ(listed, there);
}

}  // namespace
}  // namespace ordvane::test
