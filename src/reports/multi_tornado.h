// Multi-way tornado report: one sheet for one output, with a bar per group of inputs varied together, longest
// first, over the ranked table of the groups.
//
// Draws what the multi-way analysis measured; never calls the engine's data functions.
#pragma once

#include <cstdint>

#include "model/multi_way.h"
#include "reports/context.h"
#include "reports/tornado_chart.h"

namespace ordvane::reports {

// What cuts the groups, from the last rank on: the smaller of both counts is shown.
struct MultiTornadoLimits {
  std::int32_t max_inputs_per_graph;  // most groups
  // The first group, by rank, whose bar is narrower ends the list; in the unit of GroupEffect::bar_width. Not
  // applied to an output whose base value is 0 or no number.
  double inputs_change_threshold;
};

// `output`: position in the context's outputs. `effects`: of this output, one a group of `run`. Errors go to
// the caller.
void GenerateMultiTornadoReport(const Context& context, std::int32_t output, const model::MultiWayRun& run,
                                const model::GroupEffects& effects, const MultiTornadoLimits& limits,
                                const TornadoStyle& style);

}  // namespace ordvane::reports
