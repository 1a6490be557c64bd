// The files of a run, written together.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>

#include "runfile/write_run.h"
#include "xlsx/byte_sink.h"

namespace ordvane::sweep {

// What the recalculated values stand in.
enum class TableForm : std::uint8_t { kCsv, kBinary };

using WriteTable = std::function<void(xlsx::ByteSink& file)>;
struct RunTables {
  WriteTable singles;
  WriteTable groups;  // empty for a run without
  TableForm form = TableForm::kCsv;
};

// "budget.run.csv" (or .bin), "budget.run.groups.csv" and "budget.run.json", the last of which is `run`.
struct RunFiles {
  std::filesystem::path singles, groups, run;
};
RunFiles files_of_run(const std::filesystem::path& run, TableForm form);

// Each whole or not at all; the run file last: where it is, its rows are. `replace`: files that are there;
// false refuses them.
void write_run_files(const std::filesystem::path& run, runfile::Json description, const RunTables& tables,
                     bool replace);

// Removes the tables of runs that are being written and whose run files are not there yet. For a process that
// ends at once: may be called where a signal is handled.
void remove_unfinished_tables() noexcept;

}  // namespace ordvane::sweep
