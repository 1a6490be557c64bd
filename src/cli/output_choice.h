// Outputs as a user names them on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "embedded/find_outputs.h"
#include "runfile/run.h"

namespace ordvane::cli {

using embedded::described;

// Zero-based positions of the outputs that `wanted` names: by name, or by cell ("C14", "Overview!C14",
// "'My sheet'!$C$14", "[book.xlsx]Overview!C14"). Throws BadArguments, with the candidates, for what names no
// output or more than one.
std::vector<std::int32_t> find_outputs(const runfile::Run& run, const std::vector<std::string>& wanted);

}  // namespace ordvane::cli
