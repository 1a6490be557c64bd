// What is in a run file, for a reader who has never seen it.
#pragma once

#include <string>

#include "runfile/run.h"

namespace ordvane::runfile {

// Plain text in aligned columns: the totals, each input with the values it was set to, each output with the
// results it had, how many of them are not numbers, and what stands out. Ends with a line break. Holds no
// control characters but line breaks, whatever the run's names are.
std::string describe(const Run& run);

}  // namespace ordvane::runfile
