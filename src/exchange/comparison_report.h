// A comparison of two runs as sheets of a workbook.
#pragma once

#include <filesystem>

#include "embedded/report_job.h"
#include "exchange/comparison.h"

namespace ordvane::exchange {

// A sheet with every base value, and one for each output that changed: swings and ranks of its inputs, with a
// chart of both swings. Of the options language, clock and overwrite count. Throws host::Error; nothing is
// written then.
void write_comparison(const Comparison& comparison, const std::filesystem::path& workbook,
                      const embedded::ReportOptions& options);

}  // namespace ordvane::exchange
