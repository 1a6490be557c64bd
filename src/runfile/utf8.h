// Text from files: strict UTF-8, and the ways such text is shown in messages and tables.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ordvane::runfile {

struct CodePoint {
  char32_t code;      // the byte itself when it is no UTF-8
  std::size_t bytes;  // 1 when it is no UTF-8
  bool valid;
};

// The character that starts at `at`, which lies inside the text.
CodePoint code_point_at(std::string_view text, std::size_t at);
// Position of the first byte that is no UTF-8; npos for none.
std::size_t first_invalid_byte(std::string_view text);

// One line without control characters, whatever the bytes: those, and bytes that are no UTF-8, are written
// as escapes such as \n, \u0007 and \xE4.
std::string one_line(std::string_view text);
// For a message: one line in double quotes, cut to about 40 characters.
std::string quoted_text(std::string_view text);
// The longest beginning of at most `limit` characters, with "..." when it is cut.
std::string cut_to(std::string_view text, std::size_t limit);

// With A to Z made small: books and sheets are not told apart by case.
std::string folded(std::string_view text);

// Columns that the text takes in a terminal.
std::size_t display_width(std::string_view text);

}  // namespace ordvane::runfile
