// Numbers in texts of reports, as their cells show them.
#pragma once

#include <string>
#include <vector>

#include "session/session.h"

namespace ordvane::reports {

// Significant digits of numbers without a format: as cells show them, and as short as labels are.
inline constexpr int kDigitsOfCell = 10;
inline constexpr int kDigitsOfLabel = 6;

// As the spreadsheet shows a number in this format, English codes; in one that is General, or that it cannot
// read, with so many significant digits and no more than needed.
std::string NumberText(const session::Session& session, double value, const std::string& format, int digits);

// The format with as many more decimals as it takes to tell the ends of a range and what lies between or
// beside them apart, and to show the ends to a few percent of the range. Dates stay as they are.
std::string FormatTellingApart(const std::string& format, double low, double high,
                               const std::vector<double>& others);

}  // namespace ordvane::reports
