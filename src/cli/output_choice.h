// Outputs as a user names them on the command line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "runfile/run.h"

namespace ordvane::cli {

// "Total interest (Overview!C14)", or the place alone for an output without a name.
std::string described(const runfile::Item& item);
std::string described(const std::string& name, const runfile::Item& item);
// "Overview!C14"
std::string place_of(const runfile::Item& item);

// Zero-based positions of the outputs that `wanted` names: by name, or by cell ("C14", "Overview!C14",
// "'My sheet'!$C$14", "[book.xlsx]Overview!C14"). Throws BadArguments, with the candidates, for what names no
// output or more than one.
std::vector<std::int32_t> find_outputs(const runfile::Run& run, const std::vector<std::string>& wanted);

}  // namespace ordvane::cli
