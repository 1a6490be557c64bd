// Outputs as people name them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "runfile/run.h"

namespace ordvane::embedded {

// "Total interest (Overview!C14)", or the place alone for an output without a name.
std::string described(const runfile::Item& item);
// The same with another name for the item.
std::string described(const std::string& name, const runfile::Item& item);

// Zero-based positions of the outputs that `wanted` names: by name, or by cell ("C14", "Overview!C14",
// "'My sheet'!$C$14", "[book.xlsx]Overview!C14"). None, or more than one where it does not tell them apart.
std::vector<std::int32_t> outputs_named(const runfile::Run& run, const std::string& wanted);

}  // namespace ordvane::embedded
