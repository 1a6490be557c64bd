#include "sweep/run_files.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

#include "runfile/binary_table.h"
#include "xlsx/whole_file.h"

namespace ordvane::sweep {
namespace {

// Those that are to be removed where the process ends at once; more than a few are never written together.
constinit std::array<std::atomic<const char*>, 16> g_unfinished;
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads them");

// A table of a run: gone again, where it was not there before, unless the run file comes.
class Table {
 public:
  explicit Table(const std::filesystem::path& file) : file_(file.string()) {
    std::error_code error;
    if (std::filesystem::exists(file, error)) return;
    removed_ = true;
    for (auto& place : g_unfinished)
      if (const char* none = nullptr; place.compare_exchange_strong(none, file_.c_str())) break;
  }
  ~Table() {
    if (removed_) std::remove(file_.c_str());
    keep();
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  void keep() {
    removed_ = false;
    for (auto& place : g_unfinished)
      if (const char* mine = file_.c_str(); place.compare_exchange_strong(mine, nullptr)) break;
  }

 private:
  std::string file_;
  bool removed_ = false;
};

}  // namespace

void remove_unfinished_tables() noexcept {
  for (auto& place : g_unfinished)
    if (const char* const file = place.exchange(nullptr)) ::unlink(file);
}

RunFiles files_of_run(const std::filesystem::path& run, TableForm form) {
  const std::string ending = form == TableForm::kBinary ? runfile::kBinaryEnding : ".csv";
  std::string name = run.filename().string();
  if (name.ends_with(".json")) name.resize(name.size() - 5);
  return {run.parent_path() / (name + ending), run.parent_path() / (name + ".groups" + ending), run};
}

void write_run_files(const std::filesystem::path& run, runfile::Json description, const RunTables& tables,
                     bool replace) {
  const RunFiles files = files_of_run(run, tables.form);
  const std::string groups = tables.groups ? files.groups.filename().string() : "";
  const std::string text =
      runfile::run_text(std::move(description), files.singles.filename().string(), groups);
  xlsx::WholeFileOptions options;
  options.replace = replace;
  Table single_rows(files.singles), group_rows(files.groups);
  xlsx::write_whole_file(files.singles, tables.singles, options);
  if (tables.groups) xlsx::write_whole_file(files.groups, tables.groups, options);
  xlsx::write_whole(run, text, options);
  single_rows.keep();
  group_rows.keep();
}

}  // namespace ordvane::sweep
