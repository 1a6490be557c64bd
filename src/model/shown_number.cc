#include "model/shown_number.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace ordvane::model {
namespace {

constexpr std::size_t kLongestGeneral = 11;  // characters without the sign

std::string plain_text(const Decimal& decimal) {
  const std::string whole = decimal.whole(), fraction = decimal.fraction();
  return (whole.empty() ? "0" : whole) + (fraction.empty() ? "" : "." + fraction);
}

std::string exponential_text(Decimal decimal) {
  const int exponent = decimal.exponent - 1;
  decimal.exponent = 1;
  return plain_text(decimal) + exponent_text(exponent, 2, true);
}

// Of a number without its sign.
std::string general_text(Decimal decimal) {
  constexpr int kMostZeros = 3;  // after the point; behind more of them, digits are not given up
  constexpr int kDigitsOfExponential = 6;
  const int longest = static_cast<int>(kLongestGeneral);
  if (decimal.exponent <= longest) {
    std::string text = plain_text(decimal);
    if (text.size() <= kLongestGeneral) return text;
  }
  Decimal rounded = decimal;
  rounded.round(decimal.exponent < -kMostZeros ? kDigitsOfExponential - decimal.exponent
                                               : std::max(longest - 1 - std::max(decimal.exponent, 1), 0));
  // Rounding may have made it a number of one digit more.
  if (rounded.exponent <= longest && rounded.exponent >= -kMostZeros) return plain_text(rounded);
  decimal.round(kDigitsOfExponential - decimal.exponent);
  return exponential_text(decimal);
}

}  // namespace

Decimal::Decimal(double number) {
  constexpr int kDigits = 15;
  if (number == 0) return;
  std::array<char, 32> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(number),
                                     std::chars_format::scientific, kDigits - 1);
  const std::string_view text(buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data()));
  const std::size_t mark = text.find('e');
  digits = std::string(text.substr(0, 1)) + std::string(text.substr(2, mark - 2));
  int power = 0;
  const std::size_t sign = text[mark + 1] == '+' ? 2 : 1;
  std::from_chars(text.data() + mark + sign, text.data() + text.size(), power);
  exponent = power + 1;
  trim();
}

void Decimal::round(int places) {
  const int kept = exponent + places;
  if (kept >= static_cast<int>(digits.size())) return;
  if (kept < 0) {
    digits.clear();
    return;
  }
  const bool up = digits[static_cast<std::size_t>(kept)] >= '5';
  digits.resize(static_cast<std::size_t>(kept));
  if (up) add_one();
  trim();
}

std::string Decimal::whole() const {
  if (exponent <= 0) return "";
  std::string text = digits.substr(0, static_cast<std::size_t>(exponent));
  if (!text.empty()) text.resize(static_cast<std::size_t>(exponent), '0');
  return text;
}

std::string Decimal::fraction() const {
  if (digits.empty() || exponent >= static_cast<int>(digits.size())) return "";
  if (exponent >= 0) return digits.substr(static_cast<std::size_t>(exponent));
  return std::string(static_cast<std::size_t>(-exponent), '0') + digits;
}

void Decimal::trim() {
  const std::size_t last = digits.find_last_not_of('0');
  digits.resize(last == std::string::npos ? 0 : last + 1);
}

void Decimal::add_one() {
  std::size_t at = digits.size();
  while (at > 0 && digits[at - 1] == '9') digits[--at] = '0';
  if (at > 0) {
    ++digits[at - 1];
  } else {
    digits.insert(digits.begin(), '1');
    ++exponent;
  }
}

std::string exponent_text(int exponent, std::size_t least_digits, bool plus) {
  std::string digits = std::to_string(std::abs(exponent));
  if (digits.size() < least_digits) digits.insert(0, least_digits - digits.size(), '0');
  return std::string("E") + (exponent < 0 ? "-" : plus ? "+" : "") + digits;
}

std::string general_text(double number) {
  const Decimal decimal(number);
  return (number < 0 && !decimal.is_zero() ? "-" : "") + general_text(decimal);
}

}  // namespace ordvane::model
