// Formulas, their order of computing, and the recorded results of model cells.
#include "office/formula.h"

#include <gtest/gtest.h>

#include <cmath>

#include "office/office.h"
#include "support/snapshot.h"

namespace ordvane::office {
namespace {

using host::CellError;
using host::CellValue;

class Formulas : public testing::Test {
 protected:
  std::shared_ptr<OfficeApplication> app = make_application();
  std::shared_ptr<host::Workbook> book = app->open_workbook("model.xlsx");
  std::shared_ptr<host::Worksheet> sheet = app->open_sheet(*book, "Overview");

  std::shared_ptr<host::Range> at(const std::string& address) { return sheet->range(address); }
  CellValue value(const std::string& address) { return at(address)->value(); }
};

TEST_F(Formulas, ComputeAsTheSpreadsheetDoes) {
  at("A1")->set_value(4.0);
  at("A2")->set_value("text");
  at("A3")->set_value(CellError::kNA);
  at("A4")->set_value(CellValue::boolean(true));
  at("A5")->set_value("12");
  at("B1:B3")->set_value(10.0);
  const struct {
    const char* formula;
    CellValue value;
  } cases[] = {
      {"1+2*3", 7.0},
      {"-2^2", 4.0},
      {"2^3^2", 64.0},
      {"2*3^2", 18.0},
      {"50%", 0.5},
      {"1.5e3+.5", 1500.5},
      {"1/0", CellError::kDiv0},
      {"1e308*10", CellError::kNum},
      {"0^0", CellError::kNum},
      {"A1+A2", CellError::kValue},
      {"A1+A5", 16.0},
      {"A1+A4", 5.0},
      {"A3+1/0", CellError::kNA},
      {"A1:A2+1", CellError::kValue},
      {"SUM(A1:A2,A4,5)", 9.0},
      {"SUM(A1,A3,1/0)", CellError::kNA},
      {"MIN(B1:B3,A1)", 4.0},
      {"MAX(A1,B1:B3,-1)", 10.0},
      {"MIN(A2)", 0.0},
      {"N(A2)+N(A4)", 1.0},
      {"ISNUMBER(A1)", CellValue::boolean(true)},
      {"IF(ISNUMBER(A2),A2,NA())", CellError::kNA},
      {"IF(A1>3,\"big\",1/0)", "big"},
      {"IF(A1<3,1)", CellValue::boolean(false)},
      {"A1<>4", CellValue::boolean(false)},
      {"\"b\">\"A\"", CellValue::boolean(true)},
      {"\"a\"=\"A\"", CellValue::boolean(true)},
      {"\"a\">99", CellValue::boolean(true)},
      {"A9=\"\"", CellValue::boolean(true)},
      {"\"a\"\"b\"&A1&TRUE", "a\"b4TRUE"},
      {"TEXT(9E12,\"General\")", "9E+12"},
      {"#DIV/0!", CellError::kDiv0},
      {"ABS(1,2)", CellError::kName},
      {"VLOOKUP(1,A1:B2,2)", CellError::kName},
      {"1+", CellError::kName},
      {"Other!A1", CellError::kName},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(app->evaluate(c.formula), c.value) << c.formula;
    at("H9")->set_formula(std::string("=") + c.formula);
    EXPECT_EQ(value("H9"), c.value) << c.formula;
  }
}

TEST_F(Formulas, OfAnyDepthEndWithAValue) {
  const auto nested = [](int depth) {
    return std::string(static_cast<std::size_t>(depth), '(') + "1" +
           std::string(static_cast<std::size_t>(depth), ')');
  };
  EXPECT_EQ(app->evaluate(nested(50)), CellValue(1.0));
  EXPECT_EQ(app->evaluate(nested(100000)), CellValue(CellError::kName));
  std::string sum = "1";
  for (int i = 0; i < 100000; ++i) sum += "+1";
  EXPECT_TRUE(app->evaluate(sum).is_error());
}

TEST_F(Formulas, AChainAsLongAsATableIsComputed) {
  at("A1")->set_value(1.0);
  at("A2:A65525")->set_formula("=A1+1");
  EXPECT_EQ(value("A65525"), CellValue(65525.0));
  at("A1")->set_value(2.0);
  EXPECT_EQ(at("A65525")->values().value(1, 1), CellValue(65526.0));
}

// Filled into an area, a formula is read once; in each cell it shows what its text there computes to.
TEST_F(Formulas, FilledOnesShowWhatEachTextSays) {
  for (std::int32_t i = 1; i <= 9; ++i) at("A" + std::to_string(i))->set_value(std::pow(2.0, i));
  at("B1:B9")->set_formula("=A1*1000");
  at("A1048576")->set_value(7.0);
  for (const char* formula :
       {"=A1+$B$2", "=A$3&$B4", "=SUM(A1:B2)", "=SUM($A$1:A1)", "=SUM(A4:$A$3)", "=SUM($B5:A$4)",
        "=SUM(A:A)+A1", "=IF(A1>4,\"A1\",-B1)", "=A1048575", "=SUM(A1:A1048575)", "=A1+"}) {
    at("D1:E3")->set_formula(formula);
    for (const char* cell : {"D1", "E1", "D2", "E2", "D3", "E3"}) {
      const std::string text = at(cell)->formula();
      EXPECT_EQ(value(cell), app->evaluate(text.substr(1))) << formula << " as " << text;
    }
  }
  at("D1:D3")->set_formula("=SUM(A4:$A$3)");
  for (const auto& [cell, sum] : {std::pair("D1", 24.0), {"D2", 56.0}, {"D3", 120.0}})
    EXPECT_EQ(value(cell), CellValue(sum)) << cell;
}

TEST_F(Formulas, CirclesAreErrorsAndOthersAreNot) {
  at("A1")->set_formula("=B1+1");
  at("B1")->set_formula("=C1+1");
  at("C1")->set_formula("=SUM(A1:A3)");
  at("D1")->set_formula("=D1");
  at("E1")->set_formula("=IF(TRUE,1,E2)+F1");
  at("F1")->set_value(1.0);
  for (const char* cell : {"A1", "B1", "C1", "D1"}) EXPECT_TRUE(value(cell).is_error()) << cell;
  EXPECT_EQ(value("E1"), CellValue(2.0));
  at("C1")->set_value(1.0);
  EXPECT_EQ(value("A1"), CellValue(3.0)) << "the circle is broken";
}

TEST_F(Formulas, ValuesAreCurrentInTheModel) {
  at("A1:A2")->set_value(3.0);
  at("B1")->set_formula("=A1*A2");
  const auto model = app->model(*book);
  const test::BookReader reader(*model);
  EXPECT_EQ(reader.value(*model->sheets[0], 1, 2), CellValue(9.0));
  at("A2")->set_value(5.0);
  app->model(*book);
  EXPECT_EQ(reader.value(*model->sheets[0], 1, 2), CellValue(15.0));
  EXPECT_EQ(model->sheets[0]->formulas.at({1, 2}), "=A1*A2");
}

TEST_F(Formulas, ModelCellsShowWhatTheRunSaw) {
  app->set_model_cell(*at("C14"), "=C13-C7", 40461.18, "#,##0.00", false);
  app->set_model_cell(*at("C5"), "400000", 400000.0, "#,##0", true);
  app->set_model_cell(*at("C6"), "DralInput(0.05,1)", 0.05, "", true);
  EXPECT_EQ(value("C14"), CellValue(40461.18));
  EXPECT_EQ(at("C14")->formula(), "=C13-C7");
  EXPECT_EQ(at("C14")->number_format(), "#,##0.00");
  EXPECT_FALSE(at("C14")->locked());
  EXPECT_EQ(at("C6")->number_format(), "General");
  // What the evaluation of a function text does: enter it, read, put the former formula back.
  for (const char* cell : {"C14", "C5", "C6"}) {
    const std::string former = at(cell)->formula();
    const CellValue shown = value(cell);
    const std::string text =
        cell == std::string("C6") ? "DralInput(0.05,1)" : former.substr(former[0] == '=');
    at(cell)->set_formula("=" + text);
    app->calculate();
    EXPECT_EQ(value(cell), shown) << cell;
    EXPECT_EQ(at(cell)->evaluate(text), shown) << cell;
    at(cell)->set_formula(former);
    EXPECT_EQ(at(cell)->formula(), former);
    EXPECT_EQ(value(cell), shown) << cell;
  }
  at("D1")->set_formula("=DralInput(0.05,1)");
  for (const CellValue& elsewhere :
       {value("D1"), at("D1")->evaluate("DralInput(0.05,1)"), app->evaluate("DralInput(0.05,1)")})
    EXPECT_EQ(elsewhere, CellValue(CellError::kName)) << "recorded for another cell";
}

TEST_F(Formulas, TextsOfNumbersReadBackExactly) {
  for (const double number : {0.1 + 0.2, 1.0 / 3, 1e-300, -1e21, 123456789012345678.0, 5e-324, -0.5}) {
    const std::string text = edited_text(number);
    EXPECT_EQ(typed_value(text), CellValue(number)) << text;
  }
}

}  // namespace
}  // namespace ordvane::office
