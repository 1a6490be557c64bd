// Numbers in texts and texts of numbers, as formulas convert them without being told to.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "calc/value.h"

namespace ordvane::calc {

// A text that reads as a number in the way of English cells: with groups, a percent sign, a currency sign, an
// exponent, parentheses for negative ones; dates and times; TRUE and FALSE. Dates count from the workbook's
// day 0.
std::optional<double> number_of_text(std::string_view text, bool counts_from_1904);

// As "&" shows it: up to 15 digits.
std::string text_of_number(double number);

// Texts in the order of the alphabet without regard to case, signs before digits before letters. Below, at or
// above 0.
int compare_texts(std::string_view a, std::string_view b);

}  // namespace ordvane::calc
