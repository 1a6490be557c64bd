// The two small sheets that close a report set: the totals of the run, and the outputs without a graph.
#pragma once

#include <cstdint>

#include "model/one_based.h"
#include "model/summary.h"
#include "reports/context.h"

namespace ordvane::reports {

// Where results of selected outputs are no numbers, one more row says how many, and lines below the table
// which inputs and outputs have them. Returns 0.
std::int32_t MakeSummaryReport(const Context& context, const model::OrdvaneSummary& summary);

// Of the first `count` elements of `unreported`, which are positions in the context's selected outputs.
// Returns 0.
std::int32_t MakeOutputsMissingReport(const Context& context, std::int32_t count,
                                      const model::OneBased<std::int32_t>& unreported);

}  // namespace ordvane::reports
