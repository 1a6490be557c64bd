// Inputs varied together, value by value: one sheet for one output, with a grid of its results for each group
// of two inputs, by the values of the first (down) and the second (across). A group of three has a grid for
// each value of the third. Above them, how the variance over the grid of each group divides.
//
// Draws what the multi-way analysis measured; never calls the engine's data functions.
#pragma once

#include <cstdint>

#include "model/multi_way.h"
#include "reports/context.h"

namespace ordvane::reports {

// `selected`: position in the context's selection. `effects`: of this output, one a group of `run`. Groups of
// more members, and those of one, have no grid, nor have those beyond a limit of values or of groups; lines
// below the grids name them. Without a grid there is no sheet. Errors go to the caller.
void MakeGridsReport(const Context& context, std::int32_t selected, const model::MultiWayRun& run,
                     const model::GroupEffects& effects);

}  // namespace ordvane::reports
