// Tornado report: one sheet for one output, with a bar per input, longest first, and the ranked table under
// it.
//
// Reads the ranked input records; never calls the engine's data functions.
#pragma once

#include <cstdint>
#include <string>

#include "host/excel.h"
#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/ranking.h"
#include "session/session.h"

namespace ordvane::reports {

// `outputIndex` and `selectedOutputs` are one-based positions in `trOutputs`. `baseValue`: host::kNoBaseValue
// for no base line. Returns 0; errors go to the caller.
std::int32_t GenerateTornadoReport(session::Session& session, layout::ReportWorkbook& rWB,
                                   std::int32_t outputIndex,
                                   const model::OneBased<std::int32_t>& selectedOutputs,
                                   const model::Records& trInputs, const model::Records& trOutputs,
                                   std::int32_t numIterations, model::OrdvaneRangeMode rangeMode,
                                   model::OrdvaneOutputMode outputMode, const model::RankingRecord& ranking,
                                   std::int32_t runNumber, std::int32_t totalRuns, double baseValue,
                                   const std::string& baseLabel, host::Color barColor,
                                   host::Color baselineColor);

}  // namespace ordvane::reports
