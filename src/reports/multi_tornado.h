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

// `output`: position in the context's outputs. `effects`: of this output, one a group of `run`. The settings'
// most inputs and threshold cut the groups, from the last rank on: the smaller of both counts is shown. The
// first group, by rank, whose bar is narrower than the threshold ends the list, in the unit of
// GroupEffect::bar_width, but for an output whose base value is 0 or no number. Errors go to the caller.
void GenerateMultiTornadoReport(const Context& context, std::int32_t output, const model::MultiWayRun& run,
                                const model::GroupEffects& effects, const TornadoStyle& style);

}  // namespace ordvane::reports
