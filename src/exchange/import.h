// Tables of other programs made into runs: a row is a recalculation, inputs and outputs are columns.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "runfile/run.h"

namespace ordvane::exchange {

struct ImportOptions {
  // Names of columns. One of the two may be empty: all columns that the other does not name.
  std::vector<std::string> inputs, outputs;
  std::optional<std::int64_t> base_line;  // where the base case stands; none: found
};

struct ImportedRun {
  runfile::Run run;                       // with its texts
  std::int64_t base_line = 0;             // where the base case stands
  std::vector<std::string> never_varied;  // columns that were to be inputs, and are left out
};

// Throws runfile::BadRun, which names file, line and column, for what is no such table.
ImportedRun import_table(const std::filesystem::path& table, const ImportOptions& options);
}  // namespace ordvane::exchange
