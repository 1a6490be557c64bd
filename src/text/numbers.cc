#include "text/numbers.h"

#include <array>
#include <charconv>

namespace ordvane::text {
namespace {

constexpr std::size_t kLongest = 400;  // the greatest number in fixed notation, with some decimals

template <class... Format>
std::string written(double value, Format... format) {
  std::array<char, kLongest> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, format...).ptr;
  return {text.data(), end};
}

}  // namespace

std::string shortest_number(double value) {
  return written(value);
}

std::string general_number(double value, int digits) {
  return written(value, std::chars_format::general, digits);
}

std::string fixed_number(double value, int decimals) {
  return written(value, std::chars_format::fixed, decimals);
}

}  // namespace ordvane::text
