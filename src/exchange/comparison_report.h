// A comparison of two runs as sheets of a workbook.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "embedded/report_job.h"
#include "exchange/comparison.h"
#include "session/session.h"

namespace ordvane::exchange {

// What became of an item, in words; "" of one that is as it was.
std::string status_text(const session::Session& session, const ItemPair& pair);

// How many inputs of an output a chart of both swings has.
inline constexpr std::size_t kMostPairs = 20;

// A sheet with every base value, and one for each output that changed: swings, ranks and break-evens of its
// inputs, with a chart of both swings. Of the options language, clock and overwrite count. Throws
// host::Error; nothing is written then.
void write_comparison(const Comparison& comparison, const std::filesystem::path& workbook,
                      const embedded::ReportOptions& options);

}  // namespace ordvane::exchange
