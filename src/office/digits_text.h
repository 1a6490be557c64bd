// A number in the places of a format's section.
#pragma once

#include <string>

#include "office/number_format.h"

namespace ordvane::office {

// Without a sign. The number is scaled and rounded as the section says; its literals stand as they are.
std::string digits_text(const NumberFormat::Section& section, double number, const NumberSymbols& symbols);

// What a place shows that the number has no digit for.
std::string filler(const NumberFormat::Token& place);

}  // namespace ordvane::office
