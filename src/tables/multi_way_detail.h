// Multi-way detail: for every combination of every group of inputs varied together, what the members were set
// to and what each selected output did.
//
// Reads what the multi-way analysis gathered; never calls the engine's data functions. Rows are capped by the
// session's sheet limits and outputs by its columns; notes say when a limit cut the table.
#pragma once

#include <cstdint>

#include "model/input_output.h"
#include "model/multi_way.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::tables {

// `selectedOutputs`: one-based positions in `trOutputs`. `effects`: one element a selected output, in the
// same order, each with one element a group of `run`. Returns 0.
std::int32_t MakeMultiWayDetailReport(session::Session& session, ReportWorkbook& rWB,
                                      const model::OneBased<std::int32_t>& selectedOutputs,
                                      const model::Records& trInputs, const model::Records& trOutputs,
                                      const model::MultiWayRun& run,
                                      const model::OneBased<model::GroupEffects>& effects,
                                      model::OrdvaneRangeMode rangeMode, std::int32_t runNumber,
                                      std::int32_t totalRuns);

}  // namespace ordvane::tables
