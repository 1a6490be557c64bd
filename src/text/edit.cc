#include "text/edit.h"

#include "text/utf8.h"

namespace ordvane::text {
namespace {

constexpr std::size_t kQuotedCharacters = 40;

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

std::string_view trimmed(std::string_view text, std::string_view blanks) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::string_view cut_at_nul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}

std::string without(std::string_view text, char character) {
  std::string result(text);
  std::erase(result, character);
  return result;
}

std::string lower_ascii(std::string_view text) {
  std::string result(text);
  for (char& c : result)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return result;
}

std::string one_line(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for_each_character(text, [&line](const CodePoint& character, std::string_view bytes) {
    if (!character.valid || is_control(character.code))
      line += escaped(character);
    else
      line += bytes;
  });
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

}  // namespace ordvane::text
