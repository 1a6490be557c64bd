// Rounding as spreadsheets do it: by the decimal number that a binary one stands for, not by its last bits.
//
// 4.35*100 is 434.99999999999994 in binary; users see 435 and expect INT to give it. So numbers are taken to
// 15 significant digits before they are cut, unless they are exact sums of halves, quarters and so on down to
// 2^-11, which no calculation with decimals leaves behind by chance.
#pragma once

#include <cstdint>

namespace ordvane::calc {

// The number to 15 significant digits, half away from zero.
double to_fifteen_digits(double number);
// The next whole number below or above, of the number to 15 digits.
double floor_of(double number);
double ceiling_of(double number);
// Towards zero.
double whole_part(double number);

// Powers of ten as decimal numbers are read: exactly rounded; infinity above 308.
double power_of_ten(int exponent);

// Half away from zero to so many decimals; negative: to tens, hundreds …
double rounded(double number, int decimals);
// Away from zero, and towards it. What is no whole number is first rounded to 12 significant digits.
double rounded_up(double number, int decimals);
double rounded_down(double number, int decimals);

}  // namespace ordvane::calc
