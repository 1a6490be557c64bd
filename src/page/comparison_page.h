// A comparison of two runs as one page for browsers, which looks like the page of a run and needs no script.
#pragma once

#include <filesystem>

#include "embedded/report_job.h"
#include "exchange/comparison.h"

namespace ordvane::page {

// What the sheets have: every base value, and for each output that changed swings, ranks and break-evens of
// its inputs below a chart of both swings. Of the options language, colours and overwrite count. The file
// appears whole or not at all. Throws host::Error.
void write_comparison(const exchange::Comparison& comparison, const std::filesystem::path& file,
                      const embedded::ReportOptions& options);

}  // namespace ordvane::page
