// Values of items as texts, in sentences and tables.
#pragma once

#include <string>

#include "model/input_output.h"
#include "reports/number_texts.h"
#include "session/session.h"

namespace ordvane::reports {

// The item's value as its cell shows it; without a format with at most so many digits, dates as dates.
std::string ValueText(session::Session& session, const model::DralInputOutput& item, double value,
                      int digits);

}  // namespace ordvane::reports
