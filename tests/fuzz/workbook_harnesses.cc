#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "calc/functions.h"
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
#include "text/numbers.h"

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

// Reports are put in, and put in the place of those.
void add_reports(std::string_view workbook) {
  const std::filesystem::path file = scratch("b.xlsx", workbook);
  embedded::ReportOptions options = every_report();
  try {
    embedded::add_reports(tiny_run(), file, options);
    options.overwrite = true;
    embedded::add_reports(tiny_run(), file, options);
  } catch (const xlsx::BadWorkbook&) {
  }
}

// What a sweep looks for when nobody says what to vary.
void look_around(const calc::Model& model) {
  std::vector<calc::CellId> outputs = sweep::find_outputs(model, kMostOutputs);
  if (outputs.empty()) {
    outputs = model.formula_cells();
    outputs.resize(std::min(outputs.size(), kMostOutputs));
  }
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

// Nothing for names that no archive can hold.
std::optional<std::string> packed_parts(std::string_view bytes) {
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
  try {
    return test::archive_of(parts);
  } catch (const host::Error&) {
    return std::nullopt;
  }
}

// A call of any function, as bytes tell.
class CallText {
 public:
  explicit CallText(std::string_view bytes) : bytes_(bytes) {}

  std::string text(int depth = 0) {
    const auto functions = calc::all_functions();
    const unsigned high = next() * 256U;
    const calc::Function& function = *functions[(high + next()) % functions.size()];
    const unsigned most = std::min<unsigned>(function.most, function.least + 4U);
    const unsigned count = function.least + next() % (most - function.least + 1);
    std::string result = std::string(function.name) + "(";
    for (unsigned i = 0; i < count; ++i) result += (i > 0 ? "," : "") + argument(depth);
    return result + ")";
  }

 private:
  unsigned next() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(bytes_[0]);
    bytes_.remove_prefix(1);
    return byte;
  }

  // At "|".
  static std::vector<std::string> split(std::string_view list) {
    std::vector<std::string> pieces(1);
    for (const char c : list) {
      if (c == '|')
        pieces.emplace_back();
      else
        pieces.back() += c;
    }
    return pieces;
  }

  std::string argument(int depth) {
    static const std::vector<std::string> kKnown =
        split(R"(1|0|2|-1|0.5|3|10|1E300|-1E300|1E-300|9007199254740993|255|2958465|43831|36526.75||TRUE|)"
              R"(""|"x"|"a*"|">1"|"2020-02-29"|"1+2i"|"FF"|"0.00E+0;[Red]-#,##0 ""k"""|"Sheet1!A1"|A1|)"
              R"(A1:A9|A1:C3|A:A|1:1|B1:B9|C1:C9|D1|H1:J3|ZZ99|(A1:A3,C5)|Sheet2!A1|{1,2;3,4}|)"
              R"({"a",TRUE;#N/A,-5}|NA()|1/0|A1:A9*2|A1:A9>B1:B9|-C1:C9)");
    constexpr unsigned kNested = 200, kNumber = 216;
    const unsigned choice = next();
    if (choice >= kNumber) {
      std::uint64_t bits = 0;
      for (int i = 0; i < 8; ++i) bits = bits << 8 | next();
      const auto number = std::bit_cast<double>(bits);
      return std::isfinite(number) ? text::shortest_number(number) : "1E308";
    }
    if (choice >= kNested && depth < 3) return text(depth + 1);
    return kKnown[choice % kKnown.size()];
  }

  std::string_view bytes_;
};

// Numbers, texts that are some, dates, and what else cells hold.
test::TinyWorkbook arguments_workbook() {
  test::TinyWorkbook book;
  const auto column = [&](char letter, std::initializer_list<const char*> contents) {
    int row = 0;
    for (const char* content : contents)
      if (++row; *content != '\0') book.set(letter + std::to_string(row), content);
  };
  column('A', {"1", "2", "3", "4.5", "-1", "0", "10", "1e300", "0.1"});
  column('B', {"apple", "'12", "TRUE", "", "'2020-01-15", "=NA()", "a*b", "-5", "~x"});
  column('C', {"43831", "44000", "44200", "44500", "45000", "=1/0", "0.05", "100", "'"});
  column('D', {"=A1:A3*2", "=D1"});
  column('H', {"2", "1", "0"});
  column('I', {"1", "3", "1"});
  column('J', {"0", "1", "4"});
  return book.set(1, "A1", "=Sheet1!A1");
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
  add_reports(bytes);
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
  if (const auto packed = packed_parts(bytes)) calculate(*packed);
}

void try_graft(std::string_view bytes) {
  if (const auto packed = packed_parts(bytes)) add_reports(*packed);
}

void try_function(std::string_view bytes) {
  CallText calls(bytes);
  test::TinyWorkbook book = arguments_workbook();
  book.set("Z1", "=" + calls.text());
  book.set("Z3", "{Z3:AA4=" + calls.text() + "}");
  calculate(book.bytes());
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
