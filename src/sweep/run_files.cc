#include "sweep/run_files.h"

#include <string>
#include <utility>

namespace ordvane::sweep {
namespace {

std::string beside(const std::filesystem::path& run, const std::string& ending) {
  std::string name = run.filename().string();
  if (name.ends_with(".json")) name.resize(name.size() - 5);
  return name + ending;
}

}  // namespace

void write_run_files(const std::filesystem::path& run, runfile::OrderedJson description, const RunRows& rows,
                     bool replace) {
  const std::string csv = beside(run, ".csv");
  const std::string groups_csv = rows.groups ? beside(run, ".groups.csv") : "";
  xlsx::WholeFileOptions options;
  options.replace = replace;
  xlsx::write_whole_pieces(run.parent_path() / csv, rows.singles, options);
  if (rows.groups) xlsx::write_whole_pieces(run.parent_path() / groups_csv, rows.groups, options);
  xlsx::write_whole(run, runfile::run_text(std::move(description), csv, groups_csv), options);
}

}  // namespace ordvane::sweep
