// Numbers in decimal digits as the spreadsheet counts and shows them.
#pragma once

#include <string>

namespace ordvane::model {

// A number of at most 15 digits: 0.d1d2d3… times ten to `exponent`, without its sign.
struct Decimal {
  std::string digits;  // no zeros at either end; empty for zero
  int exponent = 0;

  // The number must be finite.
  explicit Decimal(double number);

  bool is_zero() const { return digits.empty(); }
  // Keeps `places` digits after the decimal point (before it, if negative), halves away from zero.
  void round(int places);
  // The digits before the point; empty for a number below 1.
  std::string whole() const;
  // The digits after the point, without zeros at the end.
  std::string fraction() const;

 private:
  void trim();
  void add_one();
};

// "E+05": the exponent of a number in exponential notation.
std::string exponent_text(int exponent, std::size_t least_digits, bool plus);

// A number in the format General, in a cell that is wide enough: at most 11 characters and a sign, the
// decimal point among them. Decimals are rounded to that; what has more digits before its point, and what
// begins behind more than three zeros and does not end within the 11 characters, is shown with an exponent
// and at most six digits: "1.23457E+11".
std::string general_text(double number);

}  // namespace ordvane::model
