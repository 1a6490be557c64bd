// Arithmetic to the last digit: what a spreadsheet does differently from the processor. docs/calculation.md
// tells how each rule was found.
#pragma once

#include <cmath>
#include <cstdint>

namespace ordvane::calc {

// Whether two numbers count as the same in comparisons: they differ by less than 2^-48 of each of them. Whole
// numbers whose difference is whole, too, are compared exactly.
bool nearly_equal(double a, double b);

// Sum and difference; what would be no more than rounding error of two numbers that nearly cancel is 0.
inline double add(double a, double b) {
  if (((a < 0 && b > 0) || (b < 0 && a > 0)) && nearly_equal(a, -b)) return 0;
  return a + b;
}
inline double subtract(double a, double b) {
  if (((a < 0 && b < 0) || (a > 0 && b > 0)) && nearly_equal(a, b)) return 0;
  return a - b;
}
// NaN for what has no result. Roots of negative numbers exist for exponents that are 1 / an odd number.
double power(double base, double exponent);

// Below, at or above zero, nearly equal numbers being equal.
inline int compare(double a, double b) {
  if (nearly_equal(a, b)) return 0;
  return a < b ? -1 : 1;
}

// A sum with the rounding error of each addition carried along, so that the order of what is added hardly
// matters. What was added last is kept apart: if it nearly cancels all before it, the sum is 0.
class Sum {
 public:
  Sum() = default;
  Sum(double sum, double error, double last) : sum_(sum), error_(error), last_(last) {}
  void add(double number) {
    if (number == 0) return;
    carry(last_);
    last_ = number;
  }
  double result() const {
    const double before = sum_ + error_;
    if (((last_ < 0 && before > 0) || (before < 0 && last_ > 0)) && nearly_equal(before, -last_)) return 0;
    Sum whole = *this;
    whole.carry(last_);
    return whole.sum_ + whole.error_;
  }

 private:
  void carry(double number) {
    const double sum = sum_ + number;
    error_ += std::fabs(sum_) >= std::fabs(number) ? (sum_ - sum) + number : (number - sum) + sum_;
    sum_ = sum;
  }

  double sum_ = 0, error_ = 0, last_ = 0;
};

}  // namespace ordvane::calc
