// Values as texts, beside charts and in sentences.
#pragma once

#include <string>

#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::reports {

// Significant digits of numbers without a format: as cells show them, and as short as labels are.
inline constexpr int kDigitsOfCell = 10;
inline constexpr int kDigitsOfLabel = 6;

// As the spreadsheet shows the number in this format, local form; in General, and in a format that it cannot
// read, with at most so many digits.
std::string NumberText(session::Session& session, double value, const std::string& format, int digits);
// The item's value as its cell shows it, likewise; dates as dates.
std::string ValueText(session::Session& session, const model::DralInputOutput& item, double value,
                      int digits);

}  // namespace ordvane::reports
