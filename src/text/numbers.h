// Numbers written for programs: a point, no groups, no locale. Standard library alone.
#pragma once

#include <string>

namespace ordvane::text {

// The shortest text that reads back as the same number; "inf" and "nan" for what is none.
std::string shortest_number(double value);
// At most so many significant digits, with an exponent where that is shorter.
std::string general_number(double value, int digits);
// So many decimals, whatever the size.
std::string fixed_number(double value, int decimals);

}  // namespace ordvane::text
