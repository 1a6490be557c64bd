// Evaluates the tree of a formula for one recalculation, part by part.
//
// This is the whole of what formulas can do. The programs of program.h do the frequent part of it for many
// recalculations at once, and come here for the rest.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <tuple>
#include <vector>

#include "calc/call.h"
#include "calc/formula.h"
#include "calc/value.h"
#include "calc/workbook.h"

namespace ordvane::calc {

struct Line;
class LineIndex;

// Where formulas find what is in other cells.
class CellValues {
 public:
  virtual ~CellValues() = default;
  virtual Value value(CellId cell) = 0;
  // Of a line of cells whose values stay while this is used; null where they may not.
  virtual const LineIndex* index(const Line&) { return nullptr; }
};

// What would be another value with every calculation, held for a whole run.
struct Frozen {
  double now = 0;  // days since 30 December 1899, whatever day the workbook counts from
  std::uint64_t seed = 0;
};
// What the n-th call of RAND and its kin in a cell gives, counted from 1.
double random_of(const Frozen& frozen, CellId cell, std::uint64_t n);

class Evaluation {
 public:
  Evaluation(const Workbook& book, CellValues& values, Arena& arena, const Frozen& frozen)
      : book_(book), values_(values), arena_(arena), frozen_(frozen) {}

  // What the formula of a cell, or the array formula that it is part of, gives in that cell.
  Value cell_result(CellId cell);
  // A part of the formula of a cell, as a single value.
  Value part(CellId cell, const Formula& formula, std::int32_t node, bool in_array);
  // A function of arguments that are there already.
  Operand call(CellId cell, const Function& function, std::span<const Operand> arguments);

  // Blank where there is no cell.
  Value at(std::int32_t sheet, std::int32_t row, std::int32_t column) {
    const CellId id = book_.find(sheet, row, column);
    return id == kNoCell ? Value() : values_.value(id);
  }
  Value single(const Operand& operand);

  const Workbook& book() const { return book_; }
  CellValues& values() { return values_; }
  Arena& arena() { return arena_; }
  const Frozen& frozen() const { return frozen_; }
  CellId cell() const { return cell_; }
  double random();

 private:
  Operand evaluate(std::int32_t node, bool in_array);
  Operand evaluate_name(const Node& node, bool in_array);
  Operand local(std::int32_t value, bool in_array);
  Operand operate_one(const Node& node, bool in_array);
  Operand operate_two(const Node& node, bool in_array);
  Operand function(const Node& node, bool in_array);
  Operand call_each(const Function& function, std::span<const Operand> arguments);
  struct Extent {
    std::int32_t rows = 1, columns = 1;
    void cover(const Matrix& matrix) {
      rows = std::max(rows, matrix.rows());
      columns = std::max(columns, matrix.columns());
    }
    std::int64_t size() const { return std::int64_t{rows} * columns; }
  };
  std::optional<Extent> extent_of(const Function& function, std::span<const Operand> arguments);
  Operand one_of(const Operand& several, char letter, std::int32_t row, std::int32_t column);
  Operand argument(const Node& node, int position, bool in_array);
  Operand operand_of(std::int32_t node, bool in_array);
  Operand intersected(const Operand& operand);
  Value first(const Operand& operand);

  Operand form_if(const Node& node, bool in_array);
  Operand form_if_array(const Node& node, const Matrix& condition, bool in_array);
  Operand form_if_error(const Node& node, bool in_array);
  // What CHOOSE and its kin come to: an error, or a child. `value_of` gives what a child that decides has.
  struct Choice {
    ErrorCode error = ErrorCode::kNone;
    std::size_t child = 0;
  };
  using ValueOfChild = std::function<Value(std::size_t child)>;
  using Decide = std::function<Choice(const ValueOfChild& value_of)>;
  Operand chosen_branch(const Node& node, bool in_array, std::span<const std::size_t> deciding,
                        const Decide& decide);
  using Children = std::vector<std::optional<Matrix>>;  // those that were evaluated
  static Value chosen_value(const Children& children, std::span<const Choice> choices, const Extent& decided,
                            std::int32_t row, std::int32_t column);
  Operand chosen_branches(const Node& node, bool in_array, std::span<const std::size_t> deciding,
                          const Decide& decide);
  Operand form_choose(const Node& node, bool in_array);
  Operand form_ifs(const Node& node, bool in_array);
  Operand form_switch(const Node& node, bool in_array);
  Operand branch(const Node& node, std::size_t position, bool in_array);

  Operand join(const Node& node, bool in_array);
  Operand spilled(const Node& node);
  Operand evaluated_in(CellId cell, const Formula& formula);
  void begin(CellId cell, const Formula* formula);

  const Workbook& book_;
  CellValues& values_;
  Arena& arena_;
  const Frozen& frozen_;
  CellId cell_ = kNoCell;
  const Formula* formula_ = nullptr;
  std::uint64_t randoms_ = 0;
  int spills_ = 0;  // that are evaluated, one within the other
  std::map<CellId, Operand> spilled_;
  std::map<std::tuple<CellId, const Formula*, std::int32_t, bool>, Operand>
      locals_;  // values of names of LET
};

}  // namespace ordvane::calc
