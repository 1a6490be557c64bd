// Decimal scaling that gives the same digits everywhere. The C libraries' pow and log10 differ in their last
// bits: between systems, and for programs of 32 bits with what their host left in the processor's control
// word.
#pragma once

namespace ordvane::model {

// The double nearest to 10^exponent; 0 or infinity where there is none.
double power_of_ten(int exponent);

// The exponent of the value's first digit: 3 for 1000, 2 for 999.9, -1 for 0.5. For finite values other than
// 0, whose exponent is 0.
int decimal_exponent(double value);

}  // namespace ordvane::model
