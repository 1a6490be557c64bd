#include "calc/formula.h"

#include <gtest/gtest.h>

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
  book.set(1, "A1", "7").set(1, "A2", "8");
  book.name("Rate", "Sheet1!$C$1")
      .name("Left", "Sheet1!XFD1")
      .name("Local", "Sheet1!$A$1", " localSheetId=\"0\"");
  book.name("Twice", "2*Rate");
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

struct Case {
  const char* formula;
  const char* expected;
};

TEST(Formula, OperatorsRank) {
  const Case cases[] = {
      {"=1+2*3", "7"},
      {"=-2^2", "4"},
      {"=2^-1", "0.5"},
      {"=2^3^2", "64"},
      {"=-3%", "-0.029999999999999999"},
      {"=5%%", "0.00050000000000000001"},
      {"=1=1=1", "TRUE"},
      {"=1+1&2+2", "\"24\""},
      {"=1&2=12", "FALSE"},
      {"=\"12\"=1&2", "TRUE"},
      {"=2-3-4", "-5"},
      {"=2/4/2", "0.25"},
      {"= ( 1 + 2 ) * 3 ", "9"},
      {"=--\"3\"", "3"},
      {"=1<>2", "TRUE"},
      {"=2>=2", "TRUE"},
      {"=1<2", "TRUE"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
}

TEST(Formula, References) {
  const Case cases[] = {
      {"=A2", "2"},
      {"=$A$2+A$3", "5"},
      {"=SUM(A1:A3)", "6"},
      {"=SUM(A:A)", "6"},
      {"=SUM($A:$A,$C$1:C2)", "36"},
      {"='Other sheet'!A1+'other SHEET'!A2", "15"},
      {"=SUM(Sheet1:'Other sheet'!A1)", "the name Sheet1"},
      {"=SUM('Sheet1:Other sheet'!A1:A2)", "18"},
      {"=Missing!A1", "Err:524"},
      {"=Sheet1!#REF!", "Err:524"},
      {"=SUM(A1:C3 A2:C2)", "22"},
      {"=SUM((A1,C2:C3))", "51"},
      {"=SUM(A1:INDEX(A1:A3,2))", "3"},
      {"=A1:A3", "1"},        // the row of the formula
      {"=A2:A3", "Err:519"},  // no cell in its row
      {"=Rate", "10"},
      {"=Twice+1", "21"},
      {"=Local", "1"},
      {"=[1]Book!A1", "a reference to another workbook"},
      {"='[1]A sheet'!A1:B2", "a reference to another workbook"},
      {"=Nobody+1", "the name Nobody"},
      {"=MYFUNCTION(1)", "MYFUNCTION"},
      {"=ABS(1,2)", "ABS with 2 arguments"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
  EXPECT_EQ(computed("=SUM(1:1)", "F9"), "Err:532");
  EXPECT_EQ(computed("=Left", "F9"), "(empty)");  // one column to the left of its own
}

TEST(Formula, UnreadableOnesNameThePlace) {
  const Case cases[] = {
      {"=1+", "a formula that cannot be read (it ends too early at character 3)"},
      {"=(1", "a formula that cannot be read (\")\" is missing at character 3)"},
      {"=1 2", "a formula that cannot be read (something follows what is a formula at character 3)"},
      {"=\"abc", "a formula that cannot be read (a text does not end at character 5)"},
      {"={1,2;3}", "a formula that cannot be read (the rows of an array differ in length at character 7)"},
      {"=#WHAT!", "a formula that cannot be read (an error value cannot be read at character 1)"},
      {"=SUM(1,*)", "a formula that cannot be read (a value is missing at character 7)"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
  EXPECT_EQ(computed("=" + std::string(1000, '(') + "1" + std::string(1000, ')')).substr(0, 60),
            "a formula that cannot be read (its parts lie too deep within");
}

TEST(Formula, ValuesAreConverted) {
  const Case cases[] = {
      {"=B3+1", "13"},
      {"=B1+1", "Err:519"},
      {"=B2+1", "2"},
      {"=B2&\"x\"", "\"1x\""},
      {"=E1&\"x\"", "\"x\""},
      {"=D2&\"x\"", "\"0x\""},
      {"=D2=\"\"", "TRUE"},
      {"=D2=0", "TRUE"},
      {"=E1", "(empty)"},
      {"=D3+1", "Err:519"},
      {"=\"1,234.5\"+0", "1234.5"},
      {"=\" 12% \"+0", "0.12"},
      {"=\"(5)\"+0", "-5"},
      {"=\"$5\"+0", "5"},
      {"=\"1e3\"+0", "1000"},
      {"=\"2020-01-02\"+0", "43832"},
      {"=\"1/2/2020\"+0", "43832"},
      {"=\"5-Jan-2020\"+0", "43835"},
      {"=\"13/1/2020\"+0", "Err:519"},
      {"=\"12:30\"+0", "0.52083333333333337"},
      {"=\"1:00 PM\"+0", "0.54166666666666663"},
      {"=\"TRUE\"+1", "2"},
      {"=0.1+0.2&\"\"", "\"0.3\""},
      {"=1E20&\"\"", "\"1E+020\""},
      {"=1E-10&\"\"", "\"0.0000000001\""},
      {"=1E-15&\"\"", "\"1E-015\""},
      {"=1234567890123456&\"\"", "\"1234567890123456\""},
      {"=1/7&\"\"", "\"0.142857142857143\""},
      {"=\"a\"=\"A\"", "TRUE"},
      {"=\"a\"<\"B\"", "TRUE"},
      {"=\"_\"<\"a\"", "TRUE"},
      {"=9<\"a\"", "TRUE"},
      {"=TRUE=1", "TRUE"},
      {"=\"2\"=2", "FALSE"},
      {"=D1&B1", "Err:532"},
      {"=D1+NA()", "Err:532"},
      {"=NA()+D1", "Err:32767"},
      {"=D1&NA()", "Err:32767"},
      {"=IF(B1,1,2)", "Err:519"},
      {"=IF(\"TRUE\",1,2)", "1"},
      {"=IF(1,,5)", "(empty)"},
      {"=IF(FALSE,1)", "FALSE"},
      {"=IFERROR(D1,\"e\")", "\"e\""},
      {"=IFNA(D1,\"e\")", "Err:532"},
      {"=IFNA(NA(),\"e\")", "\"e\""},
      {"=CHOOSE(2.9,1,2)", "2"},
      {"=CHOOSE(3,1,2)", "Err:502"},
      {"=SUM(CHOOSE(2,A1:A3,C1:C3))", "60"},
      {"=IFS(FALSE,1,TRUE,2)", "2"},
      {"=IFS(FALSE,1)", "Err:32767"},
      {"=SWITCH(2,1,\"a\",2,\"b\")", "\"b\""},
      {"=SWITCH(9,1,\"a\",\"z\")", "\"z\""},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
}

// As a spreadsheet calculates, which is not in every place as the processor does.
TEST(Formula, NumbersToTheLastDigit) {
  const Case cases[] = {
      {"=0.1+0.2-0.3", "0"},
      {"=0.1+0.2=0.3", "TRUE"},
      {"=1=1+2^-48", "FALSE"},
      {"=1=1+2^-49", "TRUE"},
      {"=(1+2^-48)-1", "3.5527136788005009e-15"},
      {"=(1+2^-49)-1", "0"},
      {"=1E15=1E15+0.125", "TRUE"},
      {"=1000000000000001=1000000000000002", "FALSE"},
      {"=1E16=1E16+2", "TRUE"},
      {"=281474976710656.5=281474976710657.5", "TRUE"},
      {"=1E16+1-1E16", "0"},
      {"=SUM(1,1E100,1,-1E100)", "2"},
      {"=SUM(1E10,-1E10,1E-7)", "0"},  // added from the last to the first
      {"=SUM(1E-7,1E10,-1E10)", "9.9999999999999995e-08"},
      {"=SUM(8,-8+2^-46)", "0"},
      {"=SUM(8,-8+2^-45)", "2.8421709430404007e-14"},
      {"=(-8)^(1/3)", "-2"},
      {"=(-8)^(2/3)", "Err:503"},
      {"=0^0", "1"},
      {"=0^-1", "Err:503"},
      {"=2^-1022", "2.2250738585072014e-308"},
      {"=2^-1023", "Err:503"},
      {"=1E-160*1E-160", "9.9998886718268301e-321"},
      {"=1E308*10", "Err:503"},
      {"=1/0", "Err:532"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
}

TEST(Formula, Arrays) {
  const Case cases[] = {
      {"{=SUM(IF(A1:A3>1,A1:A3,0))}", "5"},
      {"=SUM(IF(A2:A3>1,A2:A3,0))", "Err:519"},
      {"{=SUM(A1:A3*C1:C3)}", "140"},
      {"{=SUM(A1:A3*{1,2})}", "18"},
      {"{=A1:A3*2}", "2"},
      {"=SUM({1,2;3,4}*2)", "20"},
      {"=SUM(ABS({-1,-2}))", "3"},
      {"=SUM(IF({1,0},5,7))", "12"},
      {"{=SUM(IFERROR(1/(A1:A3-1),0))}", "1.5"},
      {"{=SUM(A1:A3+A1:A2)}", "Err:32767"},
      {"{=INDEX(A1:A3*2,3)}", "6"},
      {"=SUM(INDEX({1,2;3,4},0,2))", "6"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
}

TEST(Formula, Lookups) {
  const Case cases[] = {
      {"=MATCH(2,A1:A3,0)", "2"},
      {"=MATCH(2.5,A1:A3)", "2"},
      {"=MATCH(0,A1:A3)", "Err:32767"},
      {"=MATCH(2.5,{3,2,1},-1)", "1"},
      {"=MATCH(\"AB*\",B1:B3,0)", "1"},
      {"=MATCH(\"?b?\",B1:B3,0)", "1"},
      {"=MATCH(\"~*\",{\"a\",\"*\"},0)", "2"},
      {"=VLOOKUP(2,A1:C3,3)", "20"},
      {"=VLOOKUP(9,A1:C3,3,0)", "Err:32767"},
      {"=VLOOKUP(2,A1:C3,4)", "Err:502"},
      {"=HLOOKUP(10,A1:C3,2,0)", "Err:32767"},
      {"=HLOOKUP(10,C1:C3,2,0)", "20"},
      {"=INDEX(A1:C3,2,3)", "20"},
      {"=INDEX(A1:A3,4)", "Err:502"},
      {"=SUM(INDEX(A1:C3,0,3))", "60"},
      {"=OFFSET(A1,1,2)", "20"},
      {"=SUM(OFFSET(A1,0,0,3,1))", "6"},
      {"=OFFSET(A1,-1,0)", "Err:502"},
      {"=INDIRECT(\"A\"&2)", "2"},
      {"=SUM(INDIRECT(\"A1:A3\"))", "6"},
      {"=INDIRECT(\"'Other sheet'!A2\")", "8"},
      {"=INDIRECT(\"Rate\")", "10"},
      {"=INDIRECT(\"R2C1\",0)", "2"},
      {"=INDIRECT(\"R[1]C[-5]\",FALSE)", "2"},
      {"=INDIRECT(\"no!\")", "Err:524"},
  };
  for (const Case& one : cases) EXPECT_EQ(computed(one.formula), one.expected) << one.formula;
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
      .set("C8", "=SUM(Sales[Nothing])");
  const Model model = book.model();
  const char* expected[] = {"6", "7", "106", "\"Item\"", "99", "2", "Err:524"};
  for (std::int32_t i = 0; i < 7; ++i)
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
