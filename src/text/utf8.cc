#include "text/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace ordvane::text {

CodePoint detail::long_code_point_at(std::string_view text, std::size_t at) {
  const auto byte = [text](std::size_t index) {
    return static_cast<char32_t>(static_cast<unsigned char>(text[index]));
  };
  const char32_t lead = byte(at);
  const CodePoint invalid{lead, 1, false};
  const std::size_t bytes = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || at + bytes > text.size()) return invalid;
  char32_t code = lead & (0x7FU >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80U) return invalid;
    code = (code << 6U) | (byte(at + i) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  if (code < kSmallest[bytes] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return invalid;
  return {code, bytes, true};
}

std::size_t first_invalid_byte(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    std::uint64_t eight = 0;
    if (at + sizeof eight <= text.size()) {
      std::memcpy(&eight, text.data() + at, sizeof eight);
      if ((eight & 0x8080808080808080U) == 0) {
        at += sizeof eight;
        continue;
      }
    }
    const CodePoint character = code_point_at(text, at);
    if (!character.valid) return at;
    at += character.bytes;
  }
  return std::string_view::npos;
}

bool is_control(char32_t code) {
  struct Span {
    char32_t first, last;
  };
  constexpr std::array<Span, 5> kControls = {
      {{0x00, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}}};
  return std::any_of(kControls.begin(), kControls.end(),
                     [code](const Span& span) { return code >= span.first && code <= span.last; });
}

}  // namespace ordvane::text
