// Cell addresses of run files: A1 style, on a sheet of 16,384 columns and 1,048,576 rows.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ordvane::runfile {

struct Cell {
  std::int32_t row = 0, column = 0;  // counted from 1
  bool operator==(const Cell&) const = default;
};
struct CellRange {
  Cell first, last;  // upper left and lower right
  bool holds(const Cell& cell) const {
    return cell.row >= first.row && cell.row <= last.row && cell.column >= first.column &&
           cell.column <= last.column;
  }
};

// "C5", "$c$5". Nothing for a text that names no cell of a sheet.
std::optional<Cell> parse_cell(std::string_view text);
// A cell, or two opposite corners: "B2:D4".
std::optional<CellRange> parse_range(std::string_view text);

std::string to_text(const Cell& cell);           // C5
std::string to_absolute_text(const Cell& cell);  // $C$5
std::string to_text(const CellRange& range);     // B2:D4; B2 for a single cell
std::string to_absolute_text(const CellRange& range);

}  // namespace ordvane::runfile
