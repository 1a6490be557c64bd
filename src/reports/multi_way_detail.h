// Multi-way detail: for every combination of every group of inputs varied together, what the members were set
// to and what each selected output did.
//
// Two tables under one header. The upper one has two rows an output: the combination with its highest result
// over all groups, then the one with its lowest. The lower one has every combination, the groups by their
// rank for the first output, each in reading order; the rows of the upper table are shaded there. Rank and
// interaction are figures of a group and stand in its first row; words mark its lowest and highest result.
//
// Reads what the multi-way analysis gathered; never calls the engine's data functions. What the session's
// sheet has no rows or columns for is left out, and notes say what; of a sheet that is not known, the table
// has at most kMostDetailRows rows and kMostDetailOutputs outputs. Notes also say why a group has no
// interaction, how many of its results are no numbers, and that its combinations leave out the base values. A
// run without groups gets a sheet that says that.
#pragma once

#include "model/multi_way.h"
#include "model/one_based.h"
#include "reports/context.h"

namespace ordvane::reports {

// `effects`: one element a selected output, in the same order, each with one element a group of `run`.
void MakeMultiWayDetailReport(const Context& context, const model::MultiWayRun& run,
                              const model::OneBased<model::GroupEffects>& effects);

}  // namespace ordvane::reports
