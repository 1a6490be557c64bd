// Whether two names are the same, without folding those that differ early.
#include <algorithm>

#include "unicode/names.h"

namespace ordvane::unicode {
namespace {

char small_letter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

// Most names differ in a character of ASCII, or have no others: those need not be folded as a whole.
bool same_name(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    if ((static_cast<unsigned char>(a[i]) | static_cast<unsigned char>(b[i])) >= 0x80)
      return a == b || folded(a) == folded(b);
    if (small_letter(a[i]) != small_letter(b[i])) return false;
  }
  return a.size() == b.size();
}

}  // namespace ordvane::unicode
