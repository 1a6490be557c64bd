// Letters made large and small, by Unicode's simple case mapping: one character becomes one.
#pragma once

#include <string>
#include <string_view>

namespace ordvane::unicode {

bool is_letter(char32_t code);
std::string upper(std::string_view text);
std::string lower(std::string_view text);
// One character; nothing for what is none.
std::string utf8(char32_t code);

}  // namespace ordvane::unicode
