#include "runfile/utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace ordvane::runfile {
namespace {

constexpr std::size_t kQuotedCharacters = 40;

struct Span {
  char32_t first, last;
};

// Characters that break a line, move the cursor or turn the writing direction.
constexpr std::array<Span, 5> kControls = {
    {{0x00, 0x1F}, {0x7F, 0x9F}, {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}}};
constexpr std::array<Span, 3> kZeroWidth = {{{0x0300, 0x036F}, {0x200B, 0x200F}, {0xFE00, 0xFE0F}}};
// East Asian wide characters and pictographs.
constexpr std::array<Span, 9> kDoubleWidth = {{{0x1100, 0x115F},
                                               {0x2E80, 0xA4CF},
                                               {0xAC00, 0xD7A3},
                                               {0xF900, 0xFAFF},
                                               {0xFE30, 0xFE6F},
                                               {0xFF00, 0xFF60},
                                               {0xFFE0, 0xFFE6},
                                               {0x1F300, 0x1FAFF},
                                               {0x20000, 0x3FFFD}}};

template <class Spans>
bool lies_in(const Spans& spans, char32_t code) {
  return std::any_of(spans.begin(), spans.end(),
                     [code](const Span& span) { return code >= span.first && code <= span.last; });
}

std::string hexadecimal(const char* prefix, char32_t code, int digits) {
  std::string text = prefix;
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    text += "0123456789ABCDEF"[(code >> static_cast<unsigned>(shift)) & 0xFU];
  return text;
}

std::string escaped(const CodePoint& character) {
  if (!character.valid) return hexadecimal("\\x", character.code, 2);
  switch (character.code) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return hexadecimal("\\u", character.code, 4);
  }
}

}  // namespace

CodePoint code_point_at(std::string_view text, std::size_t at) {
  const auto byte = [text](std::size_t index) {
    return static_cast<char32_t>(static_cast<unsigned char>(text[index]));
  };
  const char32_t lead = byte(at);
  const CodePoint invalid{lead, 1, false};
  if (lead < 0x80) return {lead, 1, true};
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

std::string one_line(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint character = code_point_at(text, at);
    if (!character.valid || lies_in(kControls, character.code))
      line += escaped(character);
    else
      line += text.substr(at, character.bytes);
    at += character.bytes;
  }
  return line;
}

std::string cut_to(std::string_view text, std::size_t limit) {
  std::size_t at = 0;
  for (std::size_t count = 0; at < text.size() && count < limit; ++count) at += code_point_at(text, at).bytes;
  std::string cut(text.substr(0, at));
  return at < text.size() ? cut + "..." : cut;
}

std::string quoted_text(std::string_view text) {
  return '"' + one_line(cut_to(text, kQuotedCharacters)) + '"';
}

std::string folded(std::string_view text) {
  std::string result(text);
  for (char& character : result)
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  return result;
}

std::size_t display_width(std::string_view text) {
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) {
    const CodePoint character = code_point_at(text, at);
    if (!lies_in(kZeroWidth, character.code)) width += lies_in(kDoubleWidth, character.code) ? 2 : 1;
    at += character.bytes;
  }
  return width;
}

}  // namespace ordvane::runfile
