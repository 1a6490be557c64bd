// Names of cells, A1 style, and the size of a sheet. Rows and columns count from 1. Standard library alone.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ordvane::text {

inline constexpr std::int32_t kSheetRows = 1048576;
inline constexpr std::int32_t kSheetColumns = 16384;

// The letters of a column: "B", "XFD". Empty below 1.
std::string column_name(std::int32_t column);
// "B5", or "$B$5".
std::string cell_name(std::int32_t row, std::int32_t column, bool absolute = false);

inline constexpr std::int32_t kBeyondSheet = -1;

// The column that a text names at a place, in letters of either case, or the row, in digits that do not begin
// with 0; the place moves behind it. 0 where none stands, kBeyondSheet for one that no sheet has.
std::int32_t read_column(std::string_view text, std::size_t& at);
std::int32_t read_row(std::string_view text, std::size_t& at);

}  // namespace ordvane::text
