// Cell contents as they cross the host interface: single values and blocks of cells.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "host/error.h"

namespace ordvane::host {

enum class CellKind : std::uint8_t { kBlank, kNumber, kText, kBoolean, kError };

// Spreadsheet error values by their automation numbers.
enum class CellError : std::int32_t {
  kNull = 2000,
  kDiv0 = 2007,
  kValue = 2015,
  kRef = 2023,
  kName = 2029,
  kNum = 2036,
  kNA = 2042,
};

// "#DIV/0!" and its kin; "#VALUE!" for a number that is none of the above.
std::string_view cell_error_text(CellError error);
// The error that a text such as "#N/A" names. Returns false when it names none.
bool cell_error_from_text(std::string_view text, CellError& error);

struct CellValue {
  CellKind kind = CellKind::kBlank;
  double number = 0;  // kNumber: the number; kBoolean: 0 or 1; kError: the CellError
  std::string text;   // kText only

  CellValue() = default;
  CellValue(double value) : kind(CellKind::kNumber), number(value) {}        // NOLINT: a value is a cell
  CellValue(std::int32_t value) : kind(CellKind::kNumber), number(value) {}  // NOLINT
  CellValue(std::string value) : kind(CellKind::kText), text(std::move(value)) {}             // NOLINT
  CellValue(const char* value) : kind(CellKind::kText), text(value) {}                        // NOLINT
  CellValue(CellError error) : kind(CellKind::kError), number(static_cast<double>(error)) {}  // NOLINT
  static CellValue boolean(bool value) {
    CellValue result;
    result.kind = CellKind::kBoolean;
    result.number = value ? 1 : 0;
    return result;
  }

  bool is_number() const { return kind == CellKind::kNumber; }
  bool is_error() const { return kind == CellKind::kError; }
  CellError error() const { return static_cast<CellError>(static_cast<std::int32_t>(number)); }
  bool operator==(const CellValue&) const = default;
};

// A rectangle of cell values, row-major, rows and columns counted from 1. Texts are kept once per block.
// All cells start blank. Every accessor raises error 9 outside the rectangle.
class CellBlock {
 public:
  using TextId = std::uint32_t;

  struct Cell {
    double number = 0;  // as in CellValue
    TextId text = 0;    // kText only
    CellKind kind = CellKind::kBlank;
  };

  CellBlock(std::int32_t rows, std::int32_t columns);

  std::int32_t rows() const { return rows_; }
  std::int32_t columns() const { return columns_; }

  void set(std::int32_t row, std::int32_t column, const CellValue& value);
  void set_number(std::int32_t row, std::int32_t column, double value) {
    Cell& cell = at_mutable(row, column);
    cell.kind = CellKind::kNumber;
    cell.number = value;
  }
  void set_text(std::int32_t row, std::int32_t column, TextId text) {
    Cell& cell = at_mutable(row, column);
    cell.kind = CellKind::kText;
    cell.text = text;
  }
  void set_text(std::int32_t row, std::int32_t column, std::string_view text) {
    set_text(row, column, add_text(text));
  }
  // Registers a text once; the id serves any number of cells of this block.
  TextId add_text(std::string_view text);

  const Cell& at(std::int32_t row, std::int32_t column) const { return cells_[index(row, column)]; }
  const std::string& text(TextId id) const { return *texts_[id]; }
  std::size_t text_count() const { return texts_.size(); }
  CellValue value(std::int32_t row, std::int32_t column) const;

  // Blanks every cell and forgets the texts; keeps the size and the memory.
  void clear();
  // Drops the rows after the first `rows`.
  void truncate(std::int32_t rows);

 private:
  std::size_t index(std::int32_t row, std::int32_t column) const {
    if (row < 1 || row > rows_ || column < 1 || column > columns_) raise_subscript_out_of_range("cell block");
    return static_cast<std::size_t>(row - 1) * static_cast<std::size_t>(columns_) +
           static_cast<std::size_t>(column - 1);
  }
  Cell& at_mutable(std::int32_t row, std::int32_t column) { return cells_[index(row, column)]; }

  std::int32_t rows_;
  std::int32_t columns_;
  std::vector<Cell> cells_;
  std::unordered_map<std::string, TextId> text_ids_;
  std::vector<const std::string*> texts_;
};

}  // namespace ordvane::host
