#include "runfile/other_file.h"

#include <array>
#include <system_error>
#include <vector>

#include "runfile/binary_table.h"
#include "text/edit.h"

namespace ordvane::runfile {
namespace {

constexpr std::string_view kZip = "PK\x03\x04";
constexpr std::string_view kCompoundFile = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
constexpr std::string_view kBlanks = " \t\r\n";
constexpr const char* kRunFile =
    "; a run file is expected: JSON with the inputs and outputs of a what-if run and its recalculated "
    "values, "
    "or the name of their table (docs/run-file.md)";
constexpr const char* kHowToMakeOne = "; `ordvane sweep` records one from a workbook";

struct Mark {
  std::string_view bytes;
  const char* kind;
};
// The names of an archive's entries stand in it as they are.
constexpr std::array<Mark, 4> kArchives = {
    {{"xl/workbook", "an Excel workbook"},
     {"application/vnd.oasis.opendocument.spreadsheet", "an OpenDocument spreadsheet"},
     {"word/document", "a Word document"},
     {kZip, "a zip archive"}}};

bool is_table(const std::filesystem::path& file, std::string_view content) {
  if (begins_as_binary_table(content)) return true;
  const std::size_t first = content.find_first_not_of(kBlanks);
  if (first == std::string_view::npos || content[first] == '{' || content[first] == '[') return false;
  return text::lower_ascii(file.extension().string()) == ".csv" ||
         content.substr(first).starts_with("simulation,");
}

// The run file whose values stand in a CSV file, by the names that belong together: "a.run.csv" and
// "a.run.groups.csv" to "a.run.json", and so with binary tables. "" when none is there.
std::string run_file_of(std::filesystem::path csv) {
  csv.replace_extension();
  std::vector<std::filesystem::path> candidates;
  for (const char* ending : {".json", ".run.json"}) candidates.emplace_back(csv.string() + ending);
  candidates.emplace_back(csv.replace_extension(".json"));
  std::error_code error;
  for (const std::filesystem::path& candidate : candidates)
    if (std::filesystem::is_regular_file(candidate, error)) return candidate.string();
  return {};
}

}  // namespace

std::string other_file_fault(const std::filesystem::path& file, std::string_view content) {
  const auto workbook = [](const std::string& kind) { return "is " + kind + kRunFile + kHowToMakeOne; };
  if (content.starts_with(kZip))
    for (const Mark& mark : kArchives)
      if (content.find(mark.bytes) != std::string_view::npos) return workbook(mark.kind);
  if (content.starts_with(kCompoundFile)) return workbook("a workbook of an old or encrypted format");
  if (!is_table(file, content)) return {};
  const std::string run = run_file_of(file);
  return std::string("is a table of values") + kRunFile +
         (run.empty() ? kHowToMakeOne : "; is \"" + run + "\" meant?");
}

}  // namespace ordvane::runfile
