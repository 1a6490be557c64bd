// Multi-way tornado report: one sheet for one output, with a bar per group of inputs varied together, longest
// first, over the ranked table of the groups.
//
// Draws what the multi-way analysis measured; never calls the engine's data functions.
#pragma once

#include <cstdint>
#include <string>

#include "host/excel.h"
#include "model/input_output.h"
#include "model/multi_way.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::graphs {

struct MultiTornadoOptions {
  std::int32_t max_inputs_per_graph;  // most groups shown
  double inputs_change_threshold;     // narrower bars are left out, by rank; see GroupEffect::bar_width
  double base_value;                  // host::kNoBaseValue for no base line
  std::string base_label;
  host::Color bar_color;
  host::Color baseline_color;
};

// `outputIndex`: one-based position in `trOutputs`. `effects`: of this output, one a group of `run`. Returns
// 0; errors go to the caller.
std::int32_t GenerateMultiTornadoReport(session::Session& session, tables::ReportWorkbook& rWB,
                                        std::int32_t outputIndex, const model::Records& trInputs,
                                        const model::Records& trOutputs, const model::MultiWayRun& run,
                                        const model::GroupEffects& effects, model::OrdvaneRangeMode rangeMode,
                                        model::OrdvaneOutputMode outputMode,
                                        const MultiTornadoOptions& options, std::int32_t runNumber,
                                        std::int32_t totalRuns);

}  // namespace ordvane::graphs
