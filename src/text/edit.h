// Small changes to texts, and the ways a text from outside is shown in messages. Standard library alone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace ordvane::text {

// Without any of some characters at its ends; blanks (spaces only) unless told otherwise.
std::string_view trimmed(std::string_view text, std::string_view blanks = " ");
// The part before the first NUL.
std::string_view cut_at_nul(std::string_view text);
// Without any occurrence of one character.
std::string without(std::string_view text, char character);
// With A to Z made small. For the words of formats and protocols; names go by unicode/names.h.
std::string lower_ascii(std::string_view text);

// One line without control characters, whatever the bytes: those, and bytes that are no UTF-8, are written
// as escapes such as \n, \u0007 and \xE4.
std::string one_line(std::string_view text);
// For a message: one line in double quotes, cut to about 40 characters.
std::string quoted_text(std::string_view text);
// The longest beginning of at most `limit` characters, with "..." when it is cut.
std::string cut_to(std::string_view text, std::size_t limit);

}  // namespace ordvane::text
