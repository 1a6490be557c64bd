// Decimal scaling that gives the same digits everywhere. The C libraries' pow and log10 differ in their last
// bits between systems, and for programs of 32 bits with the processor's control word.
#pragma once

namespace ordvane::model {

// The double nearest to 10^exponent; 0 or infinity where there is none.
double power_of_ten(int exponent);

// The exponent of the value's first digit: 3 for 1000, 2 for 999.9, -1 for 0.5. For finite values other than
// 0, whose exponent is 0.
int decimal_exponent(double value);

// A step of 1, 2 or 5 times a power of ten. The power is kept apart, so that fractions of ten come out as the
// nearest doubles: 3 / 10 and not 3 x 0.1.
struct RoundStep {
  double digit = 1;
  int exponent = 0;

  // The smallest step that is not below `width`, more than 0.
  static RoundStep at_least(double width);
  RoundStep next() const;
  double times(double count) const;
  // The multiples next to a value that are not above it and not below it.
  double not_above(double value) const;
  double not_below(double value) const;
};

}  // namespace ordvane::model
