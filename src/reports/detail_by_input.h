// Detail by input: for every step of every input the value used and what each output did, side by side.
//
// Rows are grouped by input, columns by output. Every row names its input; all but the first of an input do
// so quietly. At most kMostDetailRows rows and kMostDetailOutputs outputs; notes say when a limit cut the
// table, where a value or change is no number and why, and which inputs have results that are none. Rows are
// written in blocks as they are filled, never the whole table at once.
#pragma once

#include <cstdint>

#include "reports/context.h"

namespace ordvane::reports {

inline constexpr std::int32_t kMostDetailOutputs = 80;

// Returns 0.
std::int32_t MakeDetailByInputReport(const Context& context);

}  // namespace ordvane::reports
