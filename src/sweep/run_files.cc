#include "sweep/run_files.h"

#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

namespace ordvane::sweep {
namespace {

// A table of a run: gone again, where it was not there before, unless the run file comes.
class Table {
 public:
  explicit Table(const std::filesystem::path& file) : file_(file.string()) {
    std::error_code error;
    removed_ = !std::filesystem::exists(file, error);
  }
  ~Table() {
    if (removed_) std::remove(file_.c_str());
  }
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  void keep() { removed_ = false; }

 private:
  std::string file_;
  bool removed_;
};

}  // namespace

RunFiles files_of_run(const std::filesystem::path& run, const std::string& ending) {
  std::string name = run.filename().string();
  if (name.ends_with(".json")) name.resize(name.size() - 5);
  return {run.parent_path() / (name + ending), run.parent_path() / (name + ".groups" + ending), run};
}

void write_run_files(const std::filesystem::path& run, runfile::Json description, const RunRows& rows,
                     bool replace) {
  const RunFiles files = files_of_run(run, rows.ending);
  const std::string groups = rows.groups ? files.groups.filename().string() : "";
  const std::string text =
      runfile::run_text(std::move(description), files.singles.filename().string(), groups);
  xlsx::WholeFileOptions options;
  options.replace = replace;
  Table single_rows(files.singles), group_rows(files.groups);
  xlsx::write_whole_pieces(files.singles, rows.singles, options);
  if (rows.groups) xlsx::write_whole_pieces(files.groups, rows.groups, options);
  xlsx::write_whole(run, text, options);
  single_rows.keep();
  group_rows.keep();
}

}  // namespace ordvane::sweep
