#include "text/utf16.h"

#include "text/utf8.h"

namespace ordvane::text {
namespace {

std::int32_t units_of(const CodePoint& character) {
  return character.bytes == 4 ? 2 : 1;
}

}  // namespace

std::int32_t utf16_length(std::string_view text) {
  std::int32_t units = 0;
  for_each_character(text,
                     [&](const CodePoint& character, std::string_view) { units += units_of(character); });
  return units;
}

std::string_view left(std::string_view text, std::int32_t limit) {
  std::size_t at = 0;
  while (at < text.size()) {
    const CodePoint character = code_point_at(text, at);
    limit -= units_of(character);
    if (limit < 0) break;
    at += character.bytes;
  }
  return text.substr(0, at);
}

std::string_view mid(std::string_view text, std::int32_t start, std::int32_t length) {
  std::int32_t unit = 1;
  while (!text.empty() && unit < start) {
    const CodePoint character = code_point_at(text, 0);
    unit += units_of(character);
    text.remove_prefix(character.bytes);
  }
  return left(text, length);
}

std::string shortened(std::string_view text, std::int32_t limit) {
  if (utf16_length(text) <= limit) return std::string(text);
  return std::string(left(text, limit - 1)) + "\u2026";
}

}  // namespace ordvane::text
