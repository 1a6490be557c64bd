#include "model/decimal.h"

#include <array>
#include <charconv>
#include <cmath>
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

RoundStep RoundStep::at_least(double width) {
  const RoundStep decade{1, decimal_exponent(width)};
  const double mantissa = width / decade.times(1);
  for (const double digit : {1.0, 2.0, 5.0})
    if (mantissa <= digit) return {digit, decade.exponent};
  return {1, decade.exponent + 1};
}

RoundStep RoundStep::next() const {
  if (digit < 2) return {2, exponent};
  if (digit < 5) return {5, exponent};
  return {1, exponent + 1};
}

double RoundStep::times(double count) const {
  const double multiple = count * digit + 0.0;  // no negative zero
  return exponent < 0 ? multiple / power_of_ten(-exponent) : multiple * power_of_ten(exponent);
}

// Rounding may leave a quotient a hair on the wrong side of a whole number.
double RoundStep::not_above(double value) const {
  double count = std::floor(value / times(1));
  if (times(count) > value) --count;
  if (times(count + 1) <= value) ++count;
  return times(count);
}

double RoundStep::not_below(double value) const {
  double count = std::ceil(value / times(1));
  if (times(count) < value) ++count;
  if (times(count - 1) >= value) --count;
  return times(count);
}

}  // namespace ordvane::model
