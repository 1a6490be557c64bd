#include "text/cell_names.h"

namespace ordvane::text {
namespace {

constexpr std::int32_t kLetters = 26;

// Value of the letter in the alphabet, from 1; 0 for another character.
std::int32_t letter_value(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A' + 1;
  if (c >= 'a' && c <= 'z') return c - 'a' + 1;
  return 0;
}

}  // namespace

std::string column_name(std::int32_t column) {
  std::string name;
  for (; column > 0; column = (column - 1) / kLetters)
    name.insert(name.begin(), static_cast<char>('A' + (column - 1) % kLetters));
  return name;
}

std::string cell_name(std::int32_t row, std::int32_t column, bool absolute) {
  const char* const marker = absolute ? "$" : "";
  return marker + column_name(column) + marker + std::to_string(row);
}

std::int32_t read_column(std::string_view text, std::size_t& at) {
  std::int32_t column = 0;
  for (; at < text.size() && letter_value(text[at]) > 0; ++at)
    if (column <= kSheetColumns) column = column * kLetters + letter_value(text[at]);
  return column > kSheetColumns ? kBeyondSheet : column;
}

std::int32_t read_row(std::string_view text, std::size_t& at) {
  if (at < text.size() && text[at] == '0') return 0;
  std::int32_t row = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
    if (row <= kSheetRows) row = row * 10 + (text[at] - '0');
  return row > kSheetRows ? kBeyondSheet : row;
}

}  // namespace ordvane::text
