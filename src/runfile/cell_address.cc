#include "runfile/cell_address.h"

#include <algorithm>

#include "text/cell_names.h"

namespace ordvane::runfile {
namespace {

void skip_dollar(std::string_view& text) {
  if (text.starts_with('$')) text.remove_prefix(1);
}

// Takes a cell from the front of `text`.
std::optional<Cell> take_cell(std::string_view& text) {
  Cell cell;
  std::size_t at = 0;
  skip_dollar(text);
  cell.column = text::read_column(text, at);
  text.remove_prefix(at);
  skip_dollar(text);
  at = 0;
  cell.row = text::read_row(text, at);
  text.remove_prefix(at);
  return cell.row > 0 && cell.column > 0 ? std::optional(cell) : std::nullopt;
}

std::string spelled(const CellRange& range, bool absolute) {
  const auto corner = [&](const Cell& cell) { return text::cell_name(cell.row, cell.column, absolute); };
  if (range.first == range.last) return corner(range.first);
  return corner(range.first) + ":" + corner(range.last);
}

}  // namespace

std::optional<Cell> parse_cell(std::string_view text) {
  const std::optional<Cell> cell = take_cell(text);
  return text.empty() ? cell : std::nullopt;
}

std::optional<CellRange> parse_range(std::string_view text) {
  const std::optional<Cell> one = take_cell(text);
  if (!one) return std::nullopt;
  if (text.empty()) return CellRange{*one, *one};
  if (!text.starts_with(':')) return std::nullopt;
  const std::optional<Cell> other = parse_cell(text.substr(1));
  if (!other) return std::nullopt;
  const auto [top, bottom] = std::minmax(one->row, other->row);
  const auto [left, right] = std::minmax(one->column, other->column);
  return CellRange{{top, left}, {bottom, right}};
}

std::string to_text(const Cell& cell) {
  return text::cell_name(cell.row, cell.column);
}
std::string to_absolute_text(const Cell& cell) {
  return text::cell_name(cell.row, cell.column, true);
}
std::string to_text(const CellRange& range) {
  return spelled(range, false);
}
std::string to_absolute_text(const CellRange& range) {
  return spelled(range, true);
}

}  // namespace ordvane::runfile
