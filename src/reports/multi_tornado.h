// Multi-way tornado report: one sheet for one output, with a bar per group of inputs varied together, longest
// first, over the ranked table of the groups.
//
// Draws what the multi-way analysis measured; never calls the engine's data functions.
#pragma once

#include <cstdint>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/multi_way.h"
#include "reports/tornado_chart.h"
#include "session/session.h"

namespace ordvane::reports {

// What cuts the groups, from the last rank on: the smaller of both counts is shown.
struct MultiTornadoLimits {
  std::int32_t max_inputs_per_graph;  // most groups
  // The first group, by rank, whose bar is narrower ends the list; in the unit of GroupEffect::bar_width. Not
  // applied to an output whose base value is 0 or no number.
  double inputs_change_threshold;
};

// `outputIndex`: one-based position in `trOutputs`. `effects`: of this output, one a group of `run`. Returns
// 0; errors go to the caller.
std::int32_t GenerateMultiTornadoReport(session::Session& session, layout::ReportWorkbook& rWB,
                                        std::int32_t outputIndex, const model::Records& trInputs,
                                        const model::Records& trOutputs, const model::MultiWayRun& run,
                                        const model::GroupEffects& effects, model::OrdvaneRangeMode rangeMode,
                                        model::OrdvaneOutputMode outputMode, std::int32_t runNumber,
                                        std::int32_t totalRuns, const MultiTornadoLimits& limits,
                                        const TornadoStyle& style);

}  // namespace ordvane::reports
