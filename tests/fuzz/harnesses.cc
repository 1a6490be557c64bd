#include "fuzz/harnesses.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "calc/recalculation.h"
#include "calc/tiny_workbook.h"
#include "embedded/report_job.h"
#include "runfile/describe.h"
#include "support/archive_of.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

// Of this process, gone when it ends as it should.
class Folder {
 public:
  Folder() : path_(fs::temp_directory_path() / ("ordvane-fuzz-" + std::to_string(::getpid()))) {
    fs::create_directories(path_);
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  fs::path file(const char* name, std::string_view bytes) const {
    std::ofstream(path_ / name, std::ios::binary) << bytes;
    return path_ / name;
  }

 private:
  fs::path path_;
};

const Folder& folder() {
  static const Folder kFolder;
  return kFolder;
}

// Nothing for what is refused.
std::shared_ptr<const runfile::Run> run_of(std::string_view bytes) {
  constexpr std::string_view kBetween = "\n=====\n";
  const std::size_t end = std::min(bytes.find(kBetween), bytes.size());
  const fs::path file = folder().file("a.run.json", bytes.substr(0, end));
  for (const char* table : {"a.run.csv", "a.run.bin"})
    folder().file(table, bytes.substr(std::min(end + kBetween.size(), bytes.size())));
  try {
    return std::make_shared<const runfile::Run>(runfile::read_run(file));
  } catch (const runfile::BadRun&) {
    return nullptr;
  }
}

std::shared_ptr<const runfile::Run> tiny_run() {
  static const auto kRun = run_of(R"({"format": "ordvane-run", "version": 1, "simulations": 1,
    "inputs": [{"book": "b.xlsx", "sheet": "S", "cell": "A1", "formula": "1", "base": 1, "steps": 2}],
    "outputs": [{"book": "b.xlsx", "sheet": "S", "cell": "B1", "formula": "=A1", "base": 1}],
    "recalculations": [[1, 1, 1, 0, 0], [1, 1, 2, 2, 2]]})");
  return kRun;
}

embedded::ReportOptions every_report(const runfile::Run& run) {
  embedded::ReportOptions options;
  options.matrix = options.tornado = options.spider = options.sensitivity = true;
  options.output_detail = options.detail_by_input = true;
  options.multi_way = !run.groups.empty();
  options.clock = [] { return xlsx::kFirstDate; };
  return options;
}

// Calculates all of it, with its first cell changed.
void calculate(const std::string& workbook) {
  try {
    const calc::Model model(workbook, "fuzz");
    if (model.workbook().cells.empty()) return;
    const std::vector<calc::CellId> changing{0};
    calc::Recalculation recalculation(model, changing, model.formula_cells());
    const std::vector<calc::CellChange> change{{0, 2.0}};
    const std::vector<std::span<const calc::CellChange>> lanes{change, {}};
    if (recalculation.obstacles().empty()) recalculation.evaluate(lanes);
  } catch (const xlsx::BadWorkbook&) {
  }
}

}  // namespace

void try_run_file(std::string_view bytes) {
  if (const auto run = run_of(bytes)) runfile::describe(*run);
}

void try_reports(std::string_view bytes) {
  constexpr std::size_t kMostValues = 4000;  // more take time, and show nothing else
  const auto run = run_of(bytes);
  if (!run || run->output_values.size() + run->group_output_values.size() > kMostValues) return;
  embedded::pack_reports(run, every_report(*run));
}

void try_package(std::string_view bytes) {
  const fs::path file = folder().file("b.xlsx", bytes);
  try {
    embedded::add_reports(tiny_run(), file, every_report(*tiny_run()));
  } catch (const xlsx::BadWorkbook&) {
  }
  calculate(std::string(bytes));
}

void try_formula(std::string_view bytes) {
  test::TinyWorkbook book;
  book.set("A1", "1").set("A2", "2").set("A3", "x").set("B1", "TRUE").set("B2", "=A1/0").set("C1", "=A1+A2");
  book.set(1, "A1", "=Sheet1!C1").name("Rate", "Sheet1!$A$1");
  book.set("D4", "=" + std::string(bytes));
  calculate(book.bytes());
}

void try_workbook(std::string_view bytes) {
  constexpr std::string_view kMark = "@@ ";
  std::vector<std::pair<std::string, std::string>> parts;
  while (bytes.starts_with(kMark)) {
    bytes.remove_prefix(kMark.size());
    const std::size_t line = std::min(bytes.find('\n'), bytes.size());
    std::string name(bytes.substr(0, line));
    bytes.remove_prefix(std::min(line + 1, bytes.size()));
    const std::size_t end = std::min(bytes.find("\n@@ "), bytes.size());
    parts.emplace_back(std::move(name), bytes.substr(0, end));
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
  }
  std::string packed;
  try {
    packed = test::archive_of(parts);
  } catch (const host::Error&) {
    return;  // names that no archive can hold
  }
  calculate(packed);
}

std::span<const Harness> harnesses() {
  static constexpr Harness kHarnesses[] = {
      {"run_file", try_run_file, "runs", "runs.dict"},
      {"reports", try_reports, "runs", "runs.dict"},
      {"package", try_package, "packages", "workbooks.dict"},
      {"formula", try_formula, "formulas", "formulas.dict"},
      {"workbook", try_workbook, "workbooks", "workbooks.dict"},
  };
  return kHarnesses;
}

}  // namespace ordvane::fuzz
