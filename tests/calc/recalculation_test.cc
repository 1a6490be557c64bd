#include "calc/recalculation.h"

#include <gtest/gtest.h>

#include <random>

#include "tiny_workbook.h"

namespace ordvane::test {
namespace {

using calc::CellChange;
using calc::CellId;
using calc::Model;
using calc::Recalculation;
using calc::Value;

// Calculates one cell after the other without any order, asking for what it needs: slow, and right by its
// simplicity.
class Referee : public calc::CellValues {
 public:
  Referee(const Model& model, std::span<const CellChange> changes) : model_(model) {
    for (const CellChange& change : changes) known_.emplace(change.cell, change.value);
  }
  Value value(CellId cell) override {
    const auto found = known_.find(cell);
    if (found != known_.end()) return found->second;
    if (!model_.has_formula(cell) || !model_.obstacle(cell).empty()) return model_.base(cell);
    const Value value = calc::Evaluation(model_.workbook(), *this, arena_, model_.frozen()).cell_result(cell);
    return known_.emplace(cell, value).first->second;
  }

 private:
  const Model& model_;
  calc::Arena arena_;
  std::map<CellId, Value> known_;
};

// Both for every formula of the model, all lanes at once and then each alone, when much keeps its values.
void expect_same(const Model& model, const std::vector<std::vector<CellChange>>& changes) {
  std::vector<CellId> changing, outputs;
  for (const CellId cell : model.formula_cells())
    if (model.obstacle(cell).empty()) outputs.push_back(cell);
  for (const auto& lane : changes)
    for (const CellChange& change : lane) changing.push_back(change.cell);
  Recalculation recalculation(model, changing, outputs);
  const std::vector<std::span<const CellChange>> lanes(changes.begin(), changes.end());
  std::span<const Value> results = recalculation.evaluate(lanes);
  for (std::size_t at = 0; at < 2 * changes.size(); ++at) {
    const std::size_t lane = at % changes.size();
    if (at == lane + changes.size()) results = recalculation.evaluate(std::span(lanes).subspan(lane, 1));
    const std::size_t first = at == lane ? lane * outputs.size() : 0;
    Referee referee(model, changes[lane]);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      const Value expected = referee.value(outputs[i]);
      EXPECT_TRUE(calc::identical(results[first + i], expected))
          << "lane " << at << ", " << model.workbook().address(outputs[i]) << ": "
          << shown(results[first + i]) << ", not " << shown(expected);
    }
  }
}

const char* const kFormulas[] = {
    "=A1+A2",
    "=A1-A2",
    "=A1*A2/A3",
    "=A1^A2",
    "=-A1%",
    "=A1&A2",
    "=A1=A2",
    "=A1<A2",
    "=A1>=A3",
    "=A1<>A2",
    "=IF(A1>A2,A1,A2)",
    "=IF(A1,1/A2,\"no\")",
    "=IF(A1>1,IF(A2>1,A3))",
    "=IFERROR(A1/A2,A3)",
    "=IFNA(A1,5)",
    "=SUM(A1:A3)",
    "=SUM(A1,A2:A3,0.1)",
    "=SUM(A1:A9,B1)",
    "=MIN(A1:A3)",
    "=MAX(A1:A3,2)",
    "=MAX(A1,A2)",
    "=AND(A1>1,A2)",
    "=OR(A1:A3)",
    "=AVERAGE(A1:A4)",
    "=ABS(A1)",
    "=COUNT(A1:A4)",
    "=INDEX(A1:A3,A1)",
    "=MATCH(A1,A1:A3,0)",
    "=OFFSET(A1,A2,0)",
    "=SUM(OFFSET(A1,0,0,2,1))",
    "=SUM(OFFSET(A9,-5-A3,0))",
    "=CHOOSE(A2,A1,A3)",
    "=INDIRECT(\"A\"&A2)",
    "{=SUM(A1:A3*A1:A3)}",
    "{=SUM(IF(A1:A3>1,A1:A3))}",
    "=A1",
    "=A4",
    "=+A1",
    "=NOT(A1)",
    "=IF(A4=\"\",A1,A2)",
    "=SUM(IF(A1>1,A1,A2))",
    "=SUMPRODUCT(MAX((A1:A3>1)*A1:A3))",
    "=SUMPRODUCT(A1,1+SUM(A1:A3*2))",
    "{=AVERAGE(IF(A1:A3>1,A1:A3))}",
    "=SUMPRODUCT(SUBTOTAL(9,OFFSET(A1,ROW(A1:A3)-1,0)),A1:A3)",
    "{=SUM(COUNTIF(OFFSET(A1,A1:A2,0),A2))}",
    "{=SUM(CHOOSE(A1:A3,A2,A1:A3))}",
    "{=IF(A1:A3>1,A1)=\"\"}",
    "{=IF(A1:A3>1,A1)}",
    "=LET(x,A1*A2,y,IF(A1>1,x,A3),x+y*y)",
    "=IF(A1>1,LET(x,A1:A3*2,SUM(x)+MAX(x)),A2)",
    "{=SUM(LET(x,A1:A3,IF(x>1,x,A2)))}",
};

// All formulas over all kinds of values, and formulas over those formulas.
TEST(Recalculation, LanesAgreeWithTheEvaluator) {
  TinyWorkbook book;
  book.set("A1", "1").set("A2", "2").set("A3", "3").set("A9", "x");
  int row = 1;
  for (const char* formula : kFormulas) {
    const std::string number = std::to_string(row++);
    book.set("C" + number, formula)
        .set("D" + number, "=C" + number + "+A1")
        .set("E" + number, "=IF(A2>1,D" + number + ",C1)");
  }
  const Model model = book.model();
  const std::string text = "abc", digits = "2";
  const Value values[] = {0.0,
                          1.0,
                          2.0,
                          3.0,
                          -1.5,
                          1e300,
                          1e-300,
                          0.1,
                          Value(&text),
                          Value(&digits),
                          Value(),
                          Value::boolean(true),
                          calc::ErrorCode::kDivision,
                          calc::ErrorCode::kNotAvailable};
  std::mt19937 random(7);
  const auto any = [&] { return values[random() % std::size(values)]; };
  for (int batch = 0; batch < 40; ++batch) {
    std::vector<std::vector<CellChange>> lanes(1 + random() % calc::kLanes);
    for (auto& lane : lanes)
      for (const CellId cell : {0, 1, 2})
        if (random() % 3 != 0) lane.push_back({model.workbook().find(0, cell, 0), any()});
    expect_same(model, lanes);
  }
}

// Cells of array formulas are calculated each by itself.
TEST(Recalculation, ArrayFormulasOfSeveralCells) {
  const char* const formulas[] = {"A1:A3*2",
                                  "A1:A3+A2",
                                  "A1:A3*A1:C1",
                                  "A1:B2",
                                  "{1,2;3,4}*A1",
                                  "IF(A1:A3>1,A1:A3,C1)",
                                  "-A1:A3%",
                                  "IFERROR(1/A1:A3,0)",
                                  "ABS(A1:A3)",
                                  "SUM(A1:A3)*A1:A3",
                                  "TRANSPOSE(A1:A3)",
                                  "ROW(A1:A3)*A1",
                                  "A1:A3&\"x\"",
                                  "IF(A1>1,A1:A3)",
                                  "INDEX(A1:A3,A2)",
                                  "VLOOKUP(A1:A3,A1:C3,2,0)",
                                  "A1",
                                  "SUM(A1:A3*A1:A3)",
                                  "MAX(IF(A1:A3>1,A1:A3))",
                                  "IF(A1:A3>1,A1:A3)",
                                  "SUM(OFFSET(A1,{0;1},0,2),A1)",
                                  "SUM(CHOOSE(A1,OFFSET(A1,{0;1},0,2)))",
                                  "Sum3*A1:A3",
                                  "FILTER(A1:A3,A1:A3>1)",
                                  "SEQUENCE(A1)",
                                  "@A1:A3*A1:A3",
                                  "IF(A1>1,IF(A1:A3>1,A2,0),0)",
                                  "IFERROR(1/A1,A1:A3)"};
  const char* const areas[] = {"E1:G4", "E1:E3", "E1"};  // of dynamic ones; the first of the others, too
  for (std::size_t i = 0; i < 4 * std::size(formulas); ++i) {
    const char* const formula = formulas[i / 4];
    TinyWorkbook book;
    book.set("A1", "1").set("A2", "2").set("A3", "3").set("B1", "5").set("C1", "7").set("B2", "x").name(
        "Sum3", "SUM(Sheet1!$A$1:$A$3)");
    if (i % 4 == 0)
      book.set("E1", "{E1:G4=" + std::string(formula) + "}");
    else
      book.dynamic(areas[i % 4 - 1], formula);
    book.set("H1", "=SUM(E1:F2)").set("H2", "=SUM(E1#)&ROWS(E1#)&COUNTBLANK(E2:E4)");
    const Model model = book.model();
    const auto cell = [&](std::int32_t row) { return model.workbook().find(0, row, 0); };
    SCOPED_TRACE(std::string(formula) + " " + std::to_string(i % 4));
    expect_same(
        model, {{{cell(0), 2.0}}, {{cell(1), 0.0}, {cell(2), 4.0}}, {{cell(0), calc::ErrorCode::kDivision}}});
  }
}

// Keys that stay are indexed, keys that move are searched; both find the first.
TEST(Recalculation, LookupsAmongFixedAndMovingKeys) {
  TinyWorkbook book;
  book.set("A1", "1");
  for (int row = 1; row <= 60; ++row) {
    const std::string number = std::to_string(row);
    book.set("C" + number, std::to_string(row % 20 + 0.1))
        .set("D" + number, "Key" + std::to_string(row % 30))
        .set("E" + number, number);
    book.set("F" + number, row == 40 ? "=A1" : number);
  }
  book.set("B1", "=MATCH(A1+0.1,C1:C60,0)")
      .set("B2", "=MATCH(\"kEY\"&A1,D1:D60,0)")
      .set("B3", "=VLOOKUP(A1+0.1,C1:E60,3,FALSE)");
  book.set("B4", "=MATCH(A1,F1:F60,0)")
      .set("B5", "=MATCH(\"k*\"&A1,D1:D60,0)")
      .set("B6", "=MATCH(A1,OFFSET(F1,0,0,60,1),0)");
  book.set("B7", "=MATCH(A1+0.1+2^-51,C:C,0)")
      .set("B8", "=INDEX(E1:E60,MATCH(A1,E1:E60,0))")
      .set("B9", "=MATCH(Z1,E:E,0)");
  const Model model = book.model();
  std::vector<std::vector<CellChange>> lanes;
  for (const double value : {0.0, 1.0, 5.0, 19.0, 29.0, 40.0, 60.0, 61.0, -1.0})
    lanes.push_back({{model.workbook().find(0, 0, 0), value}});
  expect_same(model, lanes);
}

TEST(Recalculation, OnlyTheConeIsCalculatedAgain) {
  TinyWorkbook book;
  book.set("A1", "1")
      .set("A2", "5")
      .set("B1", "=A1+1")
      .set("B2", "=A2+1")
      .set("B3", "=B1+B2")
      .set("B4", "=B2*2");
  book.set("B5", "=UNKNOWN(A2)").set("B6", "=B5+A1").set("B7", "=UNKNOWN(A1)");
  const Model model = book.model();
  const auto cell = [&](std::int32_t row, std::int32_t column) {
    return model.workbook().find(0, row, column);
  };
  const std::vector<CellId> changing{cell(0, 0)}, outputs{cell(2, 1), cell(3, 1)};
  Recalculation recalculation(model, changing, outputs);
  EXPECT_EQ(recalculation.cone_size(), 2U);
  EXPECT_TRUE(recalculation.obstacles().empty());
  const std::vector<CellChange> first{{changing[0], 10.0}}, second;
  const std::vector<std::span<const CellChange>> lanes{first, second};
  const std::span<const Value> results = recalculation.evaluate(lanes);
  EXPECT_EQ(shown(results[0]) + " " + shown(results[1]) + " " + shown(results[2]) + " " + shown(results[3]),
            "17 12 8 12");

  const std::vector<CellId> beside{cell(5, 1)}, within{cell(6, 1)};
  EXPECT_TRUE(Recalculation(model, changing, beside).obstacles().empty())
      << "the unknown function is not in the cone";
  const Recalculation unknown(model, changing, within);
  ASSERT_EQ(unknown.obstacles().size(), 1U);
  EXPECT_EQ(unknown.obstacles()[0].what, "UNKNOWN");
  EXPECT_EQ(model.workbook().address(unknown.obstacles()[0].cell), "Sheet1!B7");
}

TEST(Recalculation, AChangedFormulaLosesItsFormula) {
  TinyWorkbook book;
  book.set("A1", "1").set("A2", "=A1*2").set("A3", "=A2+1");
  const Model model = book.model();
  const auto cell = [&](std::int32_t row) { return model.workbook().find(0, row, 0); };
  expect_same(model, {{{cell(1), 7.0}}, {{cell(0), 5.0}}, {{cell(0), 5.0}, {cell(1), 0.5}}, {}});
}

TEST(Recalculation, CellsThatAreFoundJoinTheCone) {
  TinyWorkbook book;
  book.set("A1", "1")
      .set("B1", "=A1*10")
      .set("B2", "=B1+1")
      .set("B3", "=B2+OFFSET(B1,A1-1,0)")
      .set("C1", "=OFFSET(B1,A1,0)");
  book.set("D1", "=INDIRECT(\"D\"&A1)");
  const Model model = book.model();
  const auto cell = [&](std::int32_t row, std::int32_t column) {
    return model.workbook().find(0, row, column);
  };
  expect_same(model, {{}, {{cell(0, 0), 0.0}}});
  const std::vector<CellId> changing{cell(0, 0)}, outputs{cell(0, 2)}, itself{cell(0, 3)};
  Recalculation recalculation(model, changing, outputs);
  EXPECT_EQ(recalculation.cone_size(), 3U) << "what it finds as the workbook stands, too";
  const std::vector<CellChange> one{{changing[0], 1.0}}, two{{changing[0], 2.0}};
  const std::vector<std::span<const CellChange>> lanes{one, two};
  const std::span<const Value> results = recalculation.evaluate(lanes);
  EXPECT_EQ(shown(results[0]) + " " + shown(results[1]), "11 42");
  EXPECT_EQ(recalculation.cone_size(), 4U);

  EXPECT_EQ(model.obstacle(itself[0]), "a circular reference") << "found as the workbook stands";
}

// What the lanes of four formulas make on their way is more than a gigabyte, and never there at once.
TEST(Recalculation, TakesNoMoreMemoryThanOneFormulaMay) {
  TinyWorkbook book;
  book.set("A1", "1").set("C1", R"(=SUMPRODUCT(LEN(REPT("x",32767)&SEQUENCE(20000)))+A1)");
  const std::string sum = "=SUMPRODUCT(SEQUENCE(1000,600)*A1)";
  for (const char* cell : {"B1", "B2", "B3", "B4"}) book.set(cell, sum);
  const Model model = book.model();
  const auto cell = [&](std::int32_t row, std::int32_t column) {
    return model.workbook().find(0, row, column);
  };
  const std::vector<CellId> changing{cell(0, 0)};
  const std::vector<CellId> outputs{cell(0, 1), cell(1, 1), cell(2, 1), cell(3, 1)}, large{cell(0, 2)};
  Recalculation recalculation(model, changing, outputs);
  const std::vector<CellChange> change{{changing[0], 2.0}};
  const std::vector<std::span<const CellChange>> lanes(calc::kLanes, change);
  for (const Value& value : recalculation.evaluate(lanes)) EXPECT_EQ(shown(value), "360000600000");
  EXPECT_TRUE(recalculation.obstacles().empty());

  EXPECT_EQ(model.obstacle(large[0]), calc::kTooLarge);
  EXPECT_EQ(Recalculation(model, changing, large).obstacles().size(), 1U);
}

// A chain as long as a sheet, and sums that each take in all before them.
TEST(Recalculation, LongChains) {
  TinyWorkbook book;
  book.set("A1", "1").set("B1", "=A1");
  for (int row = 2; row <= 20000; ++row)
    book.set("A" + std::to_string(row), "=A" + std::to_string(row - 1) + "+1");
  for (int row = 2; row <= 300; ++row)
    book.set("B" + std::to_string(row),
             "=SUM(B$1:B" + std::to_string(row - 1) + ")/" + std::to_string(row - 1) + "+1");
  book.set("E1", "=A1");
  for (int row = 2; row <= 3000; ++row) {
    const std::string number = std::to_string(row);
    book.set("E" + number, "=OFFSET(E" + number + ",-1,0)+1");
  }
  const Model model = book.model();
  const std::vector<CellId> changing{model.workbook().find(0, 0, 0)},
      outputs{model.workbook().find(0, 19999, 0), model.workbook().find(0, 299, 1),
              model.workbook().find(0, 2999, 4)};
  EXPECT_EQ(shown(model.base(outputs[0])), "20000");
  Recalculation recalculation(model, changing, outputs);
  const std::vector<CellChange> change{{changing[0], 5.0}};
  const std::vector<std::span<const CellChange>> lanes{change};
  const std::span<const Value> results = recalculation.evaluate(lanes);
  EXPECT_EQ(shown(results[0]), "20004");
  EXPECT_EQ(shown(results[2]), "3004");
  EXPECT_EQ(recalculation.cone_size(), 19999U + 300U + 3000U);
}

}  // namespace
}  // namespace ordvane::test
