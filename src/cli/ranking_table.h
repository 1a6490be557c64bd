// The table of `ordvane show`.
#pragma once

#include "embedded/report_job.h"
#include "runfile/run.h"

namespace ordvane::cli {

// The ranking of an output with bars, as wide as the terminal.
void print_table(const runfile::Run& run, const embedded::OutputRanking& ranking);

}  // namespace ordvane::cli
