// Strict UTF-8: the one decoder of the program. Standard library alone.
#pragma once

#include <cstddef>
#include <string_view>

namespace ordvane::text {

struct CodePoint {
  char32_t code;      // the byte itself when it is no UTF-8
  std::size_t bytes;  // 1 when it is no UTF-8
  bool valid;
};

namespace detail {
CodePoint long_code_point_at(std::string_view text, std::size_t at);
}

// The character that starts at `at`, which lies inside the text.
inline CodePoint code_point_at(std::string_view text, std::size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  return byte < 0x80 ? CodePoint{byte, 1, true} : detail::long_code_point_at(text, at);
}

// Each character of a text in turn: `visit(CodePoint, std::string_view bytes)`.
template <class Visit>
void for_each_character(std::string_view text, const Visit& visit) {
  while (!text.empty()) {
    const CodePoint character = code_point_at(text, 0);
    visit(character, text.substr(0, character.bytes));
    text.remove_prefix(character.bytes);
  }
}

// Position of the first byte that is no UTF-8; npos for none.
std::size_t first_invalid_byte(std::string_view text);

// Characters that break a line, move the cursor or turn the writing direction.
bool is_control(char32_t code);

}  // namespace ordvane::text
