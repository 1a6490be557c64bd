// The files of a run, written together.
#pragma once

#include <filesystem>
#include <functional>

#include "runfile/write_run.h"
#include "xlsx/whole_file.h"

namespace ordvane::sweep {

// Writes a CSV file piece by piece, its first line too.
using RowText = std::function<void(const xlsx::WritePiece& write)>;
struct RunRows {
  RowText singles;
  RowText groups;  // empty for a run without
};

// "budget.run.csv", "budget.run.groups.csv" and "budget.run.json", the last of which is `run`.
struct RunFiles {
  std::filesystem::path singles, groups, run;
};
RunFiles files_of_run(const std::filesystem::path& run);

// Each whole or not at all; the run file last: where it is, its rows are. `replace`: files that are there;
// false refuses them.
void write_run_files(const std::filesystem::path& run, runfile::Json description, const RunRows& rows,
                     bool replace);

}  // namespace ordvane::sweep
