#include "runfile/cell_address.h"

#include <algorithm>

namespace ordvane::runfile {
namespace {

constexpr std::int32_t kColumns = 16384;
constexpr std::int32_t kRows = 1048576;
constexpr std::int32_t kLetters = 26;

void skip_dollar(std::string_view& text) {
  if (text.starts_with('$')) text.remove_prefix(1);
}

std::int32_t letter_value(char character) {
  if (character >= 'A' && character <= 'Z') return character - 'A' + 1;
  if (character >= 'a' && character <= 'z') return character - 'a' + 1;
  return 0;
}

// Takes a cell from the front of `text`.
std::optional<Cell> take_cell(std::string_view& text) {
  Cell cell;
  skip_dollar(text);
  while (!text.empty() && letter_value(text.front()) > 0) {
    cell.column = cell.column * kLetters + letter_value(text.front());
    if (cell.column > kColumns) return std::nullopt;
    text.remove_prefix(1);
  }
  if (cell.column == 0) return std::nullopt;
  skip_dollar(text);
  if (text.starts_with('0')) return std::nullopt;
  while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
    cell.row = cell.row * 10 + (text.front() - '0');
    if (cell.row > kRows) return std::nullopt;
    text.remove_prefix(1);
  }
  if (cell.row == 0) return std::nullopt;
  return cell;
}

std::string spelled(const Cell& cell, const char* marker) {
  std::string letters;
  for (std::int32_t rest = cell.column; rest > 0; rest = (rest - 1) / kLetters)
    letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % kLetters));
  return marker + letters + marker + std::to_string(cell.row);
}

std::string spelled(const CellRange& range, const char* marker) {
  if (range.first == range.last) return spelled(range.first, marker);
  return spelled(range.first, marker) + ":" + spelled(range.last, marker);
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
  return spelled(cell, "");
}
std::string to_absolute_text(const Cell& cell) {
  return spelled(cell, "$");
}
std::string to_text(const CellRange& range) {
  return spelled(range, "");
}
std::string to_absolute_text(const CellRange& range) {
  return spelled(range, "$");
}

}  // namespace ordvane::runfile
