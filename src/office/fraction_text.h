// A number as a fraction, such as 5 1/4, as a format's section wants it.
#pragma once

#include <optional>
#include <string>

#include "office/number_format.h"

namespace ordvane::office {

// Of a number that is not negative: a whole part, where there are places in front of the numerator's, and
// what is left as the nearest fraction that has places for its denominator. The fraction is left blank when
// it is nothing. No text for numbers that are too large for fractions.
std::optional<std::string> fraction_text(const NumberFormat::Section& section, double number,
                                         const NumberSymbols& symbols);

}  // namespace ordvane::office
