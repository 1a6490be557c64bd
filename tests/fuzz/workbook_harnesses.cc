#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "calc/recalculation.h"
#include "calc/tiny_workbook.h"
#include "embedded/report_job.h"
#include "fuzz/harnesses.h"
#include "fuzz/scratch.h"
#include "support/archive_of.h"
#include "sweep/candidates.h"
#include "sweep/describe.h"
#include "sweep/find_outputs.h"
#include "sweep/job.h"
#include "sweep/labels.h"
#include "sweep/plan.h"

namespace ordvane::fuzz {
namespace {

constexpr std::size_t kMostOutputs = 10;

std::shared_ptr<const runfile::Run> tiny_run() {
  static const auto kRun = std::make_shared<const runfile::Run>(
      runfile::read_run(scratch("tiny.run.json", R"({"format": "ordvane-run", "version": 1, "simulations": 1,
        "inputs": [{"book": "b.xlsx", "sheet": "S", "cell": "A1", "formula": "1", "base": 1, "steps": 2}],
        "outputs": [{"book": "b.xlsx", "sheet": "S", "cell": "B1", "formula": "=A1", "base": 1}],
        "recalculations": [[1, 1, 1, 0, 0], [1, 1, 2, 2, 2]]})")));
  return kRun;
}

embedded::ReportOptions every_report() {
  embedded::ReportOptions options;
  options.matrix = options.tornado = options.spider = options.sensitivity = true;
  options.output_detail = options.detail_by_input = true;
  options.clock = [] { return xlsx::kFirstDate; };
  return options;
}

// What a sweep looks for when nobody says what to vary.
void look_around(const calc::Model& model) {
  const std::vector<calc::CellId> outputs = sweep::find_outputs(model, kMostOutputs);
  for (const calc::CellId output : outputs) {
    sweep::label_of(model, output);
    sweep::long_label_of(model, output);
    sweep::unit_of(model, output);
  }
  sweep::find_candidates(model, outputs);
}

// Calculates all of it, with its first cell changed.
void calculate(const std::string& workbook) {
  try {
    const calc::Model model(workbook, "fuzz");
    if (model.workbook().cells.empty()) return;
    look_around(model);
    const std::vector<calc::CellId> changing{0};
    calc::Recalculation recalculation(model, changing, model.formula_cells());
    const std::vector<calc::CellChange> change{{0, 2.0}};
    const std::vector<std::span<const calc::CellChange>> lanes{change, {}};
    if (recalculation.obstacles().empty()) recalculation.evaluate(lanes);
  } catch (const xlsx::BadWorkbook&) {
  }
}

const std::string& planned_workbook() {
  static const std::string kBytes = [] {
    test::TinyWorkbook book;
    book.set("A1", "Price").set("B1", "10").set("C1", "EUR").set("A2", "Rate").set("B2", "0.05");
    book.set("A3", "Day")
        .set("B3", "45000")
        .set("A4", "Kind")
        .set("B4", "2")
        .set("A5", "Text")
        .set("B5", "x");
    book.set("A6", "Profit")
        .set("B6", "=B1*(1+B2)^B4")
        .set("A7", "Test")
        .set("B7", "=IF(B3>45001,1/0,\"-\")");
    book.set(1, "A1", "=Sheet1!B6/2").name("Rate", "Sheet1!$B$2").name("Profit", "Sheet1!$B$6");
    return book.drop_down("B4", "\"1,2,5\"").bytes();
  }();
  return kBytes;
}

// A file, or lines such as options have them: the output first, then inputs.
sweep::WhatIf what_if_of(std::string_view bytes) {
  if (bytes.starts_with('{')) return sweep::read_what_if(scratch("a.what-if.json", bytes));
  sweep::WhatIf what_if;
  for (bool first = true; !bytes.empty(); first = false) {
    const std::string line(bytes.substr(0, bytes.find('\n')));
    bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
    if (first)
      what_if.outputs.push_back(sweep::output_option(line));
    else
      what_if.inputs.push_back(sweep::input_option(line));
  }
  return what_if;
}

// The recalculations of a plan from one on, as many as take no time.
void walk(const sweep::Plan& plan, std::int64_t first) {
  constexpr std::int64_t kMostWalked = 1000;
  sweep::PlanRows rows(plan, first);
  for (std::int64_t row = first; row < std::min(plan.total(), first + kMostWalked); ++row) rows.next();
}

}  // namespace

void try_package(std::string_view bytes) {
  try {
    embedded::add_reports(tiny_run(), scratch("b.xlsx", bytes), every_report());
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

void try_what_if(std::string_view bytes) {
  constexpr std::int64_t kMostCalculated = 300;
  try {
    sweep::Job job;
    job.what_if = what_if_of(bytes);
    sweep::describe(job.what_if);
    calc::Model model(planned_workbook(), "fuzz");
    const sweep::Plan plan = sweep::make_plan(job.what_if, model, "b.xlsx");
    walk(plan, 0);
    walk(plan, plan.total() / 2);
    if (plan.total() * static_cast<std::int64_t>(plan.outputs.size()) > kMostCalculated) return;
    job.workbook = scratch("planned.xlsx", planned_workbook());
    job.run = scratch("planned.run.json");
    job.verify = sweep::Verify::kNone;
    job.overwrite = true;
    job.threads = 1;
    must_be_readable(sweep::run_job(job).file);
  } catch (const runfile::BadRun&) {
  }
}

}  // namespace ordvane::fuzz
