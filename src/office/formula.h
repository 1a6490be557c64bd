// Formulas: parsed once, computed on demand.
//
// Enough for what report charts and tables write: arithmetic, comparison, text joining, references to cells
// of the same sheet, and ABS, HYPERLINK, IF, ISNUMBER, MAX, MIN, N, NA, SUM and
// TEXT. Anything else is "#NAME?".
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "office/address.h"
#include "office/book.h"
#include "office/number_format.h"

namespace ordvane::office {

// The cells that a formula reads.
class CellSource {
 public:
  virtual ~CellSource() = default;
  virtual host::CellValue value(std::int32_t row, std::int32_t column) = 0;
  // Every cell of the area that is not blank, row by row.
  virtual void each_value(const Area& area, const std::function<void(const host::CellValue&)>& visit) = 0;
  // Of the numbers in texts.
  virtual const NumberSymbols& symbols() const = 0;
};

class Formula {
 public:
  // `text` without "=". A text that is no such formula computes to "#NAME?".
  explicit Formula(std::string_view text);
  ~Formula();
  Formula(Formula&&) noexcept;
  Formula& operator=(Formula&&) noexcept;

  // `shift`: of the cell that it is computed for from the one that it was written for.
  host::CellValue compute(CellSource& cells, const Shift& shift = {}) const;
  // The cells it refers to.
  const std::vector<Reference>& precedents() const { return precedents_; }

  struct Node;

 private:
  std::vector<Reference> precedents_;  // before the tree, whose reading fills it
  std::unique_ptr<const Node> root_;
};

// The formula as it reads in a cell that lies this far away: relative references move, those that leave the
// sheet become "#REF!".
std::string moved_formula(std::string_view formula, std::int32_t rows, std::int32_t columns);

// What a text typed into a cell is: a number, TRUE or FALSE, an error value, or a text (a leading apostrophe
// makes it one).
host::CellValue typed_value(std::string_view text);
// A value as it is edited: numbers in full, no number format.
std::string edited_text(const host::CellValue& value);

}  // namespace ordvane::office
