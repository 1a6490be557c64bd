// Formulas as they stand in workbook files, read once into a tree.
//
// References that move when a formula is copied are kept as distances from the cell that holds the formula,
// so that one tree serves every cell of a shared formula, and a defined name every cell that uses it.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "calc/functions.h"
#include "calc/value.h"

namespace ordvane::calc {

enum class NodeType : std::uint8_t {
  kConstant,
  kArray,      // {1,2;3,4}
  kReference,  // a block of cells
  kName,       // a defined name: the tree of another formula
  kNegate,
  kPlus,  // of one operand
  kPercent,
  kAdd,
  kSubtract,
  kMultiply,
  kDivide,
  kPower,
  kConcatenate,
  kEqual,
  kUnequal,
  kLess,
  kLessEqual,
  kGreater,
  kGreaterEqual,
  kRange,         // A1:B2 of computed ends
  kUnion,         // (A1,B2)
  kIntersection,  // A1:B2 B1:B9
  kSpill,         // A1#
  kSingle,        // @A1:A9
  kLet,           // LET: the values of its names, and what it comes to
  kLocal,         // a name of LET: its value, a child of the LET as well
  kFunction,
  kMissing,      // an argument left empty
  kUnsupported,  // what is not calculated here, named by `text`
};

// One corner of a reference: a place, or the distance from the cell of the formula.
struct Corner {
  std::int32_t row = 0, column = 0;
  bool row_moves = false, column_moves = false;
};

struct Node {
  NodeType type = NodeType::kMissing;
  Value constant;
  // Of references. Whole columns have all rows, whole rows all columns.
  std::int32_t sheet = 0, last_sheet = 0;
  Corner first, last;
  const Array* array = nullptr;  // of {1,2;3,4}
  std::int32_t name = -1;        // position in the workbook's list of names
  const Function* function = nullptr;
  std::vector<std::int32_t> children;  // positions in Formula::nodes
};

struct Formula {
  std::vector<Node> nodes;   // children before their parents
  std::string unsupported;   // what in it is not calculated here: a function, say; empty for nothing
  bool finds_cells = false;  // OFFSET and its kin, names included
  bool is_volatile = false;

  std::int32_t root() const { return static_cast<std::int32_t>(nodes.size()) - 1; }
};

// The block that a node means in the formula of a cell. What would leave the sheet comes in on its other
// side.
Reference resolved(const Node& node, std::int32_t row, std::int32_t column);

// What formulas refer to by name.
class FormulaNames {
 public:
  virtual ~FormulaNames() = default;
  // -1 for none.
  virtual std::int32_t sheet(std::string_view name) const = 0;
  // Position in the workbook's list of names, those of the sheet before those of the workbook; -1 for none.
  virtual std::int32_t name(std::string_view name, std::int32_t sheet) const = 0;
  struct Table {
    std::int32_t sheet = 0;
    Reference area;  // with its headers and totals
    std::int32_t header_rows = 1, total_rows = 0;
    std::vector<std::string> columns;
  };
  // Null for none; for an empty name the table that this cell is in.
  virtual const Table* table(std::string_view name, const Reference& cell) const = 0;
  virtual const Formula& named(std::int32_t name) const = 0;
};

// A formula that cannot be read; what() says why, and `position` in which byte of it.
class BadFormula : public std::runtime_error {
 public:
  BadFormula(const std::string& what, std::size_t position) : std::runtime_error(what), position_(position) {}
  std::size_t position() const { return position_; }

 private:
  std::size_t position_;
};

// `text` without "="; texts in it live in `arena`. `cell`: where it stands. Throws BadFormula.
Formula parse_formula(std::string_view text, const Reference& cell, const FormulaNames& names, Arena& arena);

// What a name of the workbook stands for, relative to the first cell of `sheet`. Several blocks, with commas
// between them, are one reference. Throws BadFormula.
Formula parse_name(std::string_view text, std::int32_t sheet, const FormulaNames& names, Arena& arena);

}  // namespace ordvane::calc
