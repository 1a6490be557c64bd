// Output detail report: every step of every input for one output, the step with
// the lowest result first.
//
// Row r of the table is the step whose rank for this output is r; at most
// kMostDetailRows rows, the steps ranked beyond them are left out and a note
// says so. Steps whose result is no number have the lowest ranks, and the line
// below the caption says that too. Reads the records only. Errors go to the
// caller.
#pragma once

#include <cstdint>
#include <string>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::reports {

// Body rows that fit the smallest worksheet together with titles and headers.
inline constexpr std::int32_t kMostDetailRows = 65525;

// `outputIndex`: one-based position in `trOutputs`. `rowsWanted`:
// recalculations of the run. Returns 0.
std::int32_t MakeOutputDetailReport(session::Session& session, layout::ReportWorkbook& rWB,
                                    std::int32_t outputIndex, const model::Records& trInputs,
                                    const model::Records& trOutputs, std::int32_t rowsWanted,
                                    model::OrdvaneRangeMode rangeMode, std::int32_t runNumber,
                                    std::int32_t totalRuns);

}  // namespace ordvane::reports
