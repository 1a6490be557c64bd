#include "runfile/sources.h"

#include <algorithm>
#include <set>
#include <system_error>

namespace ordvane::runfile {
namespace {

bool is_same(const std::filesystem::path& file, const std::filesystem::path& other) {
  std::error_code error;  // files that are not there are none
  return std::filesystem::equivalent(file, other, error);
}

std::set<std::string> books_of(const Run& run) {
  std::set<std::string> books;
  for (const Input& input : run.inputs) books.insert(input.book);
  for (const Output& output : run.outputs) books.insert(output.book);
  return books;
}

}  // namespace

std::string role_in_run(const Run& run, const std::filesystem::path& file) {
  const auto is_file = [&](const std::filesystem::path& other) { return is_same(file, other); };
  if (is_file(run.file)) return "the run file";
  if (std::any_of(run.tables.begin(), run.tables.end(), is_file)) return "a table of the run";
  for (const std::string& book : books_of(run))
    if (is_file(run.file.parent_path() / book) || is_file(book)) return "the model of the run";
  return "";
}

}  // namespace ordvane::runfile
