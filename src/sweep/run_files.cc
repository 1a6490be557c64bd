#include "sweep/run_files.h"

#include <string>
#include <utility>

namespace ordvane::sweep {

RunFiles files_of_run(const std::filesystem::path& run, const std::string& ending) {
  std::string name = run.filename().string();
  if (name.ends_with(".json")) name.resize(name.size() - 5);
  return {run.parent_path() / (name + ending), run.parent_path() / (name + ".groups" + ending), run};
}

void write_run_files(const std::filesystem::path& run, runfile::OrderedJson description, const RunRows& rows,
                     bool replace) {
  const RunFiles files = files_of_run(run, rows.ending);
  xlsx::WholeFileOptions options;
  options.replace = replace;
  xlsx::write_whole_pieces(files.singles, rows.singles, options);
  if (rows.groups) xlsx::write_whole_pieces(files.groups, rows.groups, options);
  const std::string groups = rows.groups ? files.groups.filename().string() : "";
  xlsx::write_whole(run, runfile::run_text(std::move(description), files.singles.filename().string(), groups),
                    options);
}

}  // namespace ordvane::sweep
