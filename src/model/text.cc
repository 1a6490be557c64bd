#include "model/text.h"

#include <algorithm>

namespace ordvane::model {
namespace {

struct Character {
  std::size_t bytes;
  std::int32_t units;
};

// The character that starts at `at`: its length in bytes and in UTF-16 units.
Character character_at(std::string_view text, std::size_t at) {
  const auto lead = static_cast<unsigned char>(text[at]);
  const std::size_t bytes = lead < 0x80                   ? 1
                            : lead >= 0xF0 && lead < 0xF8 ? 4
                            : lead >= 0xE0                ? 3
                            : lead >= 0xC0                ? 2
                                                          : 1;
  if (lead >= 0xF8 || at + bytes > text.size()) return {1, 1};
  for (std::size_t i = 1; i < bytes; ++i)
    if ((static_cast<unsigned char>(text[at + i]) & 0xC0U) != 0x80U) return {1, 1};
  return {bytes, bytes == 4 ? 2 : 1};
}

}  // namespace

std::int32_t utf16_length(std::string_view text) {
  std::int32_t units = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Character character = character_at(text, at);
    units += character.units;
    at += character.bytes;
  }
  return units;
}

std::string_view left(std::string_view text, std::int32_t limit) {
  return mid(text, 1, limit);
}

std::string_view mid(std::string_view text, std::int32_t start, std::int32_t length) {
  std::int32_t unit = 1;
  std::size_t at = 0;
  while (at < text.size() && unit < start) {
    const Character character = character_at(text, at);
    unit += character.units;
    at += character.bytes;
  }
  const std::size_t begin = at;
  std::int32_t taken = 0;
  while (at < text.size()) {
    const Character character = character_at(text, at);
    if (taken + character.units > length) break;
    taken += character.units;
    at += character.bytes;
  }
  return text.substr(begin, at - begin);
}

std::string shortened(std::string_view text, std::int32_t limit) {
  if (utf16_length(text) <= limit) return std::string(text);
  return std::string(left(text, limit - 1)) + "\u2026";
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

std::string_view cut_at_nul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

std::string without(std::string_view text, char character) {
  std::string result(text);
  std::erase(result, character);
  return result;
}

}  // namespace ordvane::model
