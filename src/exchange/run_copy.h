// A run that was read, written as a run of its own.
#pragma once

#include <cstdint>
#include <filesystem>

#include "runfile/run.h"

namespace ordvane::exchange {

// What its recalculated values stand in.
enum class TableForm : std::uint8_t { kCsv, kBinary };

// The run file and its tables, which appear whole or not at all; `replace`: files that are there. The run was
// read with its texts. Throws host::Error, also where one of the files is one of the run's own.
void write_copy(const runfile::Run& run, const std::filesystem::path& file, TableForm form, bool replace);

}  // namespace ordvane::exchange
