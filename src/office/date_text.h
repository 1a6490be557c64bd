// Serial numbers as dates and times.
#pragma once

#include <optional>
#include <string>

#include "office/number_format.h"

namespace ordvane::office {

// Day 1 is 1 January 1900, and 1900 counts as a leap year, as spreadsheets have it. Nothing before day 0 and
// after the year 9999.
std::optional<std::string> date_text(const NumberFormat::Section& section, double serial);

}  // namespace ordvane::office
