#include "model/decimal.h"

#include <array>
#include <charconv>
#include <limits>
#include <string>
#include <string_view>

namespace ordvane::model {

double power_of_ten(int exponent) {
  const std::string text = "1e" + std::to_string(exponent);
  double power = 0;
  if (std::from_chars(text.data(), text.data() + text.size(), power).ec == std::errc()) return power;
  return exponent > 0 ? std::numeric_limits<double>::infinity() : 0;
}

int decimal_exponent(double value) {
  std::array<char, 32> text;
  const char* const end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific).ptr;
  const std::string_view written(text.data(), static_cast<std::size_t>(end - text.data()));
  std::size_t digits = written.find('e') + 1;
  if (written[digits] == '+') ++digits;
  int exponent = 0;
  std::from_chars(text.data() + digits, end, exponent);
  return exponent;
}

}  // namespace ordvane::model
