// Output detail report: every step of every input for one output, the step with the lowest result first.
//
// Row r of the table is the step whose rank for this output is r; at most kMostDetailRows rows, the steps
// ranked beyond them are left out and a note says so. Steps whose result is no number have the lowest ranks,
// and the line below the caption says that too. Reads the records only. Errors go to the caller.
#pragma once

#include <cstdint>

#include "reports/context.h"

namespace ordvane::reports {

// Body rows that fit the smallest worksheet together with titles and headers.
inline constexpr std::int32_t kMostDetailRows = 65525;

// `output`: position in the context's outputs. As many rows as the run has recalculations.
void MakeOutputDetailReport(const Context& context, std::int32_t output);

}  // namespace ordvane::reports
