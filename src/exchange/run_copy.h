// A run that was read, written as a run of its own.
#pragma once

#include <filesystem>

#include "runfile/run.h"
#include "sweep/run_files.h"

namespace ordvane::exchange {

// The run file and its tables, which appear whole or not at all; `replace`: files that are there. The run was
// read with its texts. Throws host::Error, also where one of the files is one of the run's own.
void write_copy(const runfile::Run& run, const std::filesystem::path& file, sweep::TableForm form,
                bool replace);

}  // namespace ordvane::exchange
