// The two small sheets that close a report set: the totals of the run, and the outputs that no graph could
// show.
#pragma once

#include <cstdint>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/summary.h"
#include "session/session.h"

namespace ordvane::reports {

// Where results of selected outputs are no numbers, one more row says how many, and lines below the table
// which inputs and outputs have them. `isSelectedOutput` holds positions in `trOutputs`. Returns 0.
std::int32_t MakeSummaryReport(session::Session& session, layout::ReportWorkbook& rWB,
                               const model::OneBased<std::int32_t>& isSelectedOutput,
                               const model::Records& trResults, const model::Records& trOutputs,
                               const model::OrdvaneSummary& trSum, std::int32_t runNumber = 1,
                               std::int32_t totalRuns = 1);

// `t_UnreportedOutputs` holds positions in `isSelectedOutput`, which holds positions in `trOutputs`. Returns
// 0.
std::int32_t makeOutputsMissingReport(session::Session& session, layout::ReportWorkbook& rWB,
                                      const model::OneBased<std::int32_t>& isSelectedOutput,
                                      const model::Records& trResults, const model::Records& trOutputs,
                                      std::int32_t t_NumUnreportedOutputs,
                                      const model::OneBased<std::int32_t>& t_UnreportedOutputs,
                                      std::int32_t runNumber = 1, std::int32_t totalRuns = 1);

}  // namespace ordvane::reports
