// Tornado report: one sheet for one output, with a bar per input, longest first, over the ranked table.
//
// Reads the ranked input records; never calls the engine's data functions.
#pragma once

#include <cstdint>

#include "model/ranking.h"
#include "reports/context.h"
#include "reports/tornado_chart.h"

namespace ordvane::reports {

// `output`: position in the context's outputs. Errors go to the caller.
void GenerateTornadoReport(const Context& context, std::int32_t output, const model::RankingRecord& ranking,
                           const TornadoStyle& style);

}  // namespace ordvane::reports
