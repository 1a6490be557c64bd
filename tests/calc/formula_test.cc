#include "calc/formula.h"

#include <gtest/gtest.h>

#include "result_tables.h"
#include "tiny_workbook.h"
#include "xlsx/package_reader.h"

namespace ordvane::test {
namespace {

using calc::CellId;
using calc::Model;

// A column of numbers, a text, a truth, and names, on which formulas are tried.
TinyWorkbook sample() {
  TinyWorkbook book;
  book.set("A1", "1").set("A2", "2").set("A3", "3").set("B1", "abc").set("B2", "TRUE").set("B3", "'12");
  book.set("C1", "10").set("C2", "20").set("C3", "30").set("D1", "=1/0").set("D2", "=E1").set("D3", "=\"\"");
  book.set(1, "A1", "7").set(1, "A2", "8").set(1, "F1", "9");
  book.name("Rate", "Sheet1!$C$1")
      .name("Left", "Sheet1!XFD1")
      .name("Local", "Sheet1!$A$1", " localSheetId=\"0\"");
  book.name("Twice", "2*Rate").name("Apart", "Sheet1!$A$1:$A$2,Sheet1!$C$2:$C$3");
  return book;
}

std::string computed(const std::string& formula, const std::string& cell = "F1") {
  TinyWorkbook book = sample();
  book.set(cell, formula);
  const Model model = book.model();
  const calc::AddressEnd at = calc::read_address_end(cell);
  const CellId id = model.workbook().find(0, at.row, at.column);
  const std::string& obstacle = model.obstacle(id);
  return obstacle.empty() ? shown(model.base(id)) : obstacle;
}

class Formulas : public testing::TestWithParam<ResultTable> {};

TEST_P(Formulas, GiveTheseValues) {
  for (const auto& [formula, expected] : GetParam().rows) EXPECT_EQ(computed(formula), expected) << formula;
}

INSTANTIATE_TEST_SUITE_P(Of, Formulas, testing::ValuesIn(result_tables("formulas.txt")), name_of_table);

TEST(Formula, ReferencesGoByTheCellThatHoldsThem) {
  EXPECT_EQ(computed("=SUM(1:1)", "F9"), "Err:532");
  EXPECT_EQ(computed("=Left", "F9"), "(empty)");  // one column to the left of its own
}

TEST(Formula, PartsMayLieTooDeepWithin) {
  EXPECT_EQ(computed("=" + std::string(1000, '(') + "1" + std::string(1000, ')')).substr(0, 60),
            "a formula that cannot be read (its parts lie too deep within");
}

TEST(Formula, Tables) {
  TinyWorkbook book;
  book.set("A1", "Item")
      .set("B1", "Price [each]")
      .set("A2", "x")
      .set("B2", "3")
      .set("A3", "y")
      .set("B3", "4")
      .set("B4", "99");
  book.table("Sales", "A1:B4", {"Item", "Price [each]"}, 1);
  book.set("C2", "=Sales[[#This Row],[Price '[each']]]*2").set("C3", "=SUM(Sales[Price '[each']])");
  book.set("C4", "=SUM(Sales[[#All],[Price '[each']]])").set("C5", "=Sales[[#Headers],[Item]]");
  book.set("C6", "=Sales[[#Totals],[Price '[each']]]")
      .set("C7", "=COUNT(sales)")
      .set("C8", "=SUM(Sales[Nothing])")
      .set("C9", "=SUM(Sales[[#This Row],[Price '[each']]])");
  const Model model = book.model();
  const char* expected[] = {"6", "7", "106", "\"Item\"", "99", "2", "Err:524", "Err:519"};
  for (std::int32_t i = 0; i < 8; ++i)
    EXPECT_EQ(shown(model.base(model.workbook().find(0, i + 1, 2))), expected[i]) << i;
}

TEST(Formula, SharedAndArrayFormulasFillTheirCells) {
  TinyWorkbook book;
  book.set("A1", "1").set("A2", "2").set("A3", "3");
  book.raw("B1", "<c r=\"B1\"><f t=\"shared\" ref=\"B1:B3\" si=\"0\">A1*$A$3</f></c>");
  book.raw("B2", "<c r=\"B2\"><f t=\"shared\" si=\"0\"/></c>")
      .raw("B3", "<c r=\"B3\"><f t=\"shared\" si=\"0\"/></c>");
  book.set("C1", "{C1:D2=A1:A3*{1,10}}").set("E1", "=SUM(C1:D2)");
  const Model model = book.model();
  const auto at = [&](std::int32_t row, std::int32_t column) {
    return shown(model.base(model.workbook().find(0, row, column)));
  };
  EXPECT_EQ(at(0, 1) + " " + at(1, 1) + " " + at(2, 1), "3 6 9");
  EXPECT_EQ(at(0, 2) + " " + at(0, 3) + " " + at(1, 2) + " " + at(1, 3), "1 10 2 20");
  EXPECT_EQ(at(0, 4), "33");
  EXPECT_EQ(model.formula_cells().size(), 8U);
}

// Formulas that fill as many cells as they have values, and what asks them for these.
TEST(Formula, DynamicArrays) {
  TinyWorkbook book;
  book.set("A1", "3").set("A2", "5").set("A3", "1");
  book.dynamic("B1:B3", "_xlfn._xlws.FILTER(A1:A3,A1:A3>A3)")
      .dynamic("C1:C2", "IF(A1>2,7,A1:A2)")
      .dynamic("D1:D2", "_xlfn.SEQUENCE(A1)*10")
      .dynamic("E1:E3", "_xlfn.SINGLE(A1:A3)*A1:A3");
  const char* const formulas[] = {"=SUM(_xlfn.ANCHORARRAY(B1))",
                                  "=ROWS(_xlfn.ANCHORARRAY(B1))",
                                  "=SUM(_xlfn.ANCHORARRAY(D1))",
                                  "=SUM(D1#)+COUNT(C1#)",
                                  "=SUM(E1:E3)",
                                  "=COUNTBLANK(B1:C3)",
                                  "=_xlfn.ANCHORARRAY(A1)",
                                  "=@A1:A9",
                                  "=SUM(_xlfn.SINGLE(A1:A9),1)"};
  const char* const expected[] = {"8", "2", "60", "61", "27", "3", "Err:524", "Err:519", "Err:519"};
  for (std::size_t i = 0; i < std::size(formulas); ++i) book.set("F" + std::to_string(i + 20), formulas[i]);
  const Model model = book.model();
  for (std::size_t i = 0; i < std::size(formulas); ++i)
    EXPECT_EQ(shown(model.base(model.workbook().find(0, static_cast<std::int32_t>(i) + 19, 5))), expected[i])
        << formulas[i];
  EXPECT_EQ(shown(model.base(model.workbook().find(0, 2, 1))), "(blank)");
}

TEST(Workbook, TellsWhatItIs) {
  TinyWorkbook book;
  book.set("A1", "=\"1904-01-02\"+0")
      .set("A2", "=Deep")
      .name("Deep", "Deep+1")
      .set("A3", "=A4")
      .set("A4", "=A3+1");
  book.properties("date1904=\"1\"").calculation("calcMode=\"manual\" iterate=\"1\"");
  const Model model = book.model();
  EXPECT_TRUE(model.workbook().counts_from_1904);
  EXPECT_TRUE(model.workbook().iterates);
  EXPECT_EQ(model.workbook().mode, calc::CalculationMode::kManual);
  EXPECT_EQ(shown(model.base(0)), "1");
  EXPECT_EQ(model.obstacle(1), "the name Deep, which is made of itself");
  EXPECT_TRUE(model.obstacle(2) == "a circular reference" || model.obstacle(3) == "a circular reference");
}

TEST(Workbook, OthersAreRefused) {
  std::string old = "\xD0\xCF\x11\xE0 and more", encrypted = old;
  for (const char c : std::string("EncryptedPackage")) encrypted += {c, '\0'};
  const struct {
    std::string bytes;
    const char* why;
  } cases[] = {
      {old, "book: this is a workbook of the old format (.xls); save it as .xlsx first"},
      {encrypted, "book: the workbook is encrypted; save it without a password first"},
      {"text", "book: it is no sound workbook"},
  };
  for (const auto& one : cases) {
    try {
      calc::Workbook(one.bytes, "book");
      ADD_FAILURE() << one.why;
    } catch (const xlsx::BadWorkbook& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, std::string(one.why).size()), one.why);
    }
  }
}

}  // namespace
}  // namespace ordvane::test
