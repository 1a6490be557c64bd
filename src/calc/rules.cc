#include "calc/rules.h"

#include <limits>

namespace ordvane::calc {
namespace {

constexpr double kExactWhole = 9007199254740992.0;  // 2^53: up to here every whole number is itself

bool is_whole(double number) {
  return std::fabs(number) <= kExactWhole && std::trunc(number) == number;
}

}  // namespace

bool nearly_equal(double a, double b) {
  constexpr double kPart = 1.0 / 281474976710656.0;  // 2^-48
  if (a == b) return true;
  const double difference = std::fabs(a - b);
  if (!(difference < std::fabs(a) * kPart) || !(difference < std::fabs(b) * kPart)) return false;
  return !(is_whole(a) && is_whole(b));
}

double power(double base, double exponent) {
  if (base == 0 && exponent < 0) return std::numeric_limits<double>::quiet_NaN();
  double result = 0;
  if (base < 0 && std::trunc(exponent) != exponent) {
    const double root = 1 / exponent, whole = std::round(root);
    if (!nearly_equal(root, whole) || std::fmod(whole, 2) == 0)
      return std::numeric_limits<double>::quiet_NaN();
    result = -std::pow(-base, exponent);
  } else {
    result = std::pow(base, exponent);
  }
  // Too small to be held in full is an error, not 0.
  if (base != 0 && std::fabs(result) < std::numeric_limits<double>::min())
    return std::numeric_limits<double>::quiet_NaN();
  return result;
}

}  // namespace ordvane::calc
