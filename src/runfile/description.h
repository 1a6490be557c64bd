// A run file without its recalculated values, for runs that get them from elsewhere.
#pragma once

#include <cstdint>
#include <string>

#include "runfile/json_tree.h"
#include "runfile/run.h"

namespace ordvane::runfile {

inline constexpr const char* kFormat = "ordvane-run";
inline constexpr const char* kWhatIfFormat = "ordvane-what-if";  // of definitions that are given for runs
inline constexpr std::int64_t kVersion = 1;

// Simulations, inputs, outputs and groups, verified as those of a run file are. Throws BadRun, which names
// `name` in the place of a file.
Run read_description(const Json& tree, const std::string& name);

}  // namespace ordvane::runfile
