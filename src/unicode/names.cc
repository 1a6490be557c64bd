#include "unicode/names.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "text/edit.h"

namespace ordvane::unicode {
namespace {

utf8proc_int32_t simple_fold(utf8proc_int32_t code, void*) {
  std::array<utf8proc_int32_t, 8> full{};
  int boundary = 0;
  const utf8proc_ssize_t length =
      utf8proc_decompose_char(code, full.data(), full.size(), UTF8PROC_CASEFOLD, &boundary);
  if (length == 1) return full[0];
  // Folded to several characters: what is left is a small letter of its own, as ẞ has one and İ has none.
  const utf8proc_int32_t small = utf8proc_tolower(code);
  return utf8proc_toupper(small) == code ? small : code;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

std::string folded(std::string_view name) {
  if (is_ascii(name)) return text::lower_ascii(name);
  utf8proc_uint8_t* result = nullptr;
  constexpr auto kForm = static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_COMPOSE);
  const utf8proc_ssize_t length =
      utf8proc_map_custom(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                          static_cast<utf8proc_ssize_t>(name.size()), &result, kForm, simple_fold, nullptr);
  if (length < 0) return text::lower_ascii(name);
  const std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owner(result, &std::free);
  return {reinterpret_cast<const char*>(result), static_cast<std::size_t>(length)};
}

}  // namespace ordvane::unicode
