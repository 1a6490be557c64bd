#include "unicode/letters.h"

#include <utf8proc.h>

#include "text/utf8.h"

namespace ordvane::unicode {
namespace {

template <class Change>
std::string changed(std::string_view text, const Change& change) {
  std::string result;
  text::for_each_character(text, [&](const text::CodePoint& character, std::string_view bytes) {
    if (character.valid) {
      result += utf8(static_cast<char32_t>(change(static_cast<utf8proc_int32_t>(character.code))));
    } else {
      result += bytes;
    }
  });
  return result;
}

}  // namespace

bool is_letter(char32_t code) {
  switch (utf8proc_category(static_cast<utf8proc_int32_t>(code))) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
      return true;
    default:
      return false;
  }
}

std::string upper(std::string_view text) {
  return changed(text, utf8proc_toupper);
}

std::string lower(std::string_view text) {
  return changed(text, utf8proc_tolower);
}

std::string utf8(char32_t code) {
  utf8proc_uint8_t bytes[4];
  const utf8proc_ssize_t length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(code), bytes);
  return {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)};
}

}  // namespace ordvane::unicode
