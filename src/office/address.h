// Addresses beyond what the plain data needs: external addresses, and what a sheet may be named.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "office/book.h"

namespace ordvane::office {

// '[book]sheet'!A1, [book]sheet!A1, sheet!A1 or A1. Parts that are not given are empty.
struct ExternalAddress {
  std::string book, sheet;
  Area area;
};
std::optional<ExternalAddress> parse_external_address(std::string_view address);
std::string external_address(const std::string& book, const std::string& sheet, const Area& area,
                             bool absolute);

// What is wrong with a sheet name; nothing when it is well formed.
std::optional<std::string> sheet_name_fault(std::string_view name);

// One cell reference at the start of a text, with its "$" markers; `length` is 0 when there is none.
struct ReferenceText {
  std::size_t length = 0;
  CellRef cell;
  bool fixed_row = false, fixed_column = false;
};
ReferenceText read_reference(std::string_view text);

// How far a formula is moved.
struct Shift {
  std::int32_t rows = 0, columns = 0;
};

// Cells as a formula names them. What has a "$" stays where it is when the formula is moved, and so do whole
// rows and columns.
struct Reference {
  Area area;
  bool top_moves = false, bottom_moves = false, left_moves = false, right_moves = false;
  // May lie outside the sheet.
  Area moved(const Shift& shift) const;
};
std::optional<Reference> parse_reference(std::string_view address);

inline bool inside_sheet(const Area& area) {
  return area.row >= 1 && area.column >= 1 && area.rows >= 1 && area.columns >= 1 &&
         area.rows <= kSheetRows - area.row + 1 && area.columns <= kSheetColumns - area.column + 1;
}
inline bool contains(const Area& area, std::int32_t row, std::int32_t column) {
  return row >= area.row && row - area.row < area.rows && column >= area.column &&
         column - area.column < area.columns;
}
inline bool contains(const Area& outer, const Area& inner) {
  return contains(outer, inner.row, inner.column) &&
         contains(outer, inner.row + inner.rows - 1, inner.column + inner.columns - 1);
}
// No rows or no columns when the areas do not meet.
Area intersection(const Area& a, const Area& b);
inline bool is_empty(const Area& area) {
  return area.rows <= 0 || area.columns <= 0;
}

}  // namespace ordvane::office
