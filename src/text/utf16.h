// Text measured and cut by UTF-16 units, never through the middle of a character.
//
// Texts are UTF-8; the system's length limits count UTF-16 units, because that is what
// the spreadsheet counts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ordvane::text {

// Number of UTF-16 units. A byte that is no UTF-8 counts as one unit.
std::int32_t utf16_length(std::string_view text);
// The longest beginning of at most `limit` UTF-16 units.
std::string_view left(std::string_view text, std::int32_t limit);
// The text from the one-based UTF-16 position `start`, at most `length` units long; "" past the end.
std::string_view mid(std::string_view text, std::int32_t start, std::int32_t length);
// At most `limit` units; a cut text ends in "…".
std::string shortened(std::string_view text, std::int32_t limit);

}  // namespace ordvane::text
