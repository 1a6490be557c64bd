#include "calc/rounding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace ordvane::calc {
namespace {

// From here on doubles have no fractions that rounding could remove.
constexpr double kNoHalves = 4503599627370496.0;  // 2^52

double shifted(double number, int decimals) {
  return decimals >= 0 ? number * power_of_ten(decimals) : number / power_of_ten(-decimals);
}

double shifted_back(double number, int decimals) {
  return decimals >= 0 ? number / power_of_ten(decimals) : number * power_of_ten(-decimals);
}

int magnitude(double positive) {
  return static_cast<int>(std::floor(std::log10(positive)));
}

// What is no whole number is cut from its first 12 digits, as a whole number of units of the last of them. To
// more decimals than these have, the units are made a number again, whose binary error then shows; to 12
// decimals and more, the number itself is cut.
double cut(double number, int decimals, double (*whole)(double)) {
  const double positive = std::fabs(number);
  if (decimals > 20 || (decimals > 0 && positive == std::floor(positive))) return number;
  if (decimals < -308) return 0;
  double scaled = shifted(positive, decimals);
  if (positive != std::floor(positive) && decimals < 12) {
    const int last = 11 - magnitude(positive);
    const double unit = power_of_ten(-last), units = std::floor(positive / unit + 0.5);
    if (decimals <= last) {
      const double shift = power_of_ten(last - decimals);
      scaled = std::isfinite(shift) ? units / shift : std::numeric_limits<double>::quiet_NaN();
    } else {
      scaled = shifted(units * unit, decimals);
    }
  }
  return std::copysign(shifted_back(whole(scaled), decimals), number);
}

}  // namespace

double power_of_ten(int exponent) {
  if (exponent < 0) return std::pow(10.0, exponent);
  static const auto powers = [] {
    std::array<double, 309> list{};
    for (std::size_t i = 0; i < list.size(); ++i) {
      const std::string digits = "1e" + std::to_string(i);
      std::from_chars(digits.data(), digits.data() + digits.size(), list[i]);
    }
    return list;
  }();
  return exponent < 309 ? powers[static_cast<std::size_t>(exponent)]
                        : std::numeric_limits<double>::infinity();
}

double to_fifteen_digits(double number) {
  const double positive = std::fabs(number);
  if (positive == 0 || positive >= kNoHalves || positive * 2048 == std::floor(positive * 2048)) return number;
  const int decimals = 14 - magnitude(positive);
  const double digits = std::floor(shifted(positive, decimals) + 0.5);
  const double result = shifted_back(digits, decimals);
  return std::isfinite(result) ? std::copysign(result, number) : number;
}

double floor_of(double number) {
  return std::floor(to_fifteen_digits(number));
}

double ceiling_of(double number) {
  return std::ceil(to_fifteen_digits(number));
}

double whole_part(double number) {
  return std::trunc(to_fifteen_digits(number));
}

double rounded(double number, int decimals) {
  if (decimals == 0 || number == 0) return std::round(number);
  if (decimals < -308) return 0;
  const double positive = std::fabs(number);
  if (decimals > 20 || (decimals > 0 && positive == std::floor(positive))) return number;
  const double whole = shifted(positive, decimals);
  if (!std::isfinite(whole)) return number;
  const double digits = whole < kNoHalves ? floor_of(whole + 0.5) : whole;
  return std::copysign(shifted_back(digits, decimals), number);
}

double rounded_up(double number, int decimals) {
  return cut(number, decimals, std::ceil);
}

double rounded_down(double number, int decimals) {
  return cut(number, decimals, std::floor);
}

}  // namespace ordvane::calc
