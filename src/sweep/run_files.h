// The files of a run, written together.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "runfile/write_run.h"
#include "xlsx/whole_file.h"

namespace ordvane::sweep {

// Writes a table piece by piece: of a CSV file its first line too.
using RowText = std::function<void(const xlsx::WritePiece& write)>;
inline constexpr const char* kCsvEnding = ".csv";
struct RunRows {
  RowText singles;
  RowText groups;  // empty for a run without
  const char* ending = kCsvEnding;
};

// "budget.run.csv", "budget.run.groups.csv" and "budget.run.json", the last of which is `run`.
struct RunFiles {
  std::filesystem::path singles, groups, run;
};
RunFiles files_of_run(const std::filesystem::path& run, const std::string& ending = kCsvEnding);

// Each whole or not at all; the run file last: where it is, its rows are. `replace`: files that are there;
// false refuses them.
void write_run_files(const std::filesystem::path& run, runfile::Json description, const RunRows& rows,
                     bool replace);

}  // namespace ordvane::sweep
