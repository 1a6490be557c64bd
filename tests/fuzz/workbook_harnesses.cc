#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "calc/functions.h"
#include "calc/recalculation.h"
#include "calc/tiny_workbook.h"
#include "embedded/report_job.h"
#include "fuzz/choices.h"
#include "fuzz/harnesses.h"
#include "fuzz/scratch.h"
#include "runfile/json_file.h"
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

// Reports are put in, and put in the place of those.
void add_reports(std::string_view workbook) {
  const std::filesystem::path file = scratch("b.xlsx", workbook);
  embedded::ReportOptions options = report_options(*tiny_run());
  options.overwrite = false;
  try {
    embedded::add_reports(tiny_run(), file, options);
    options.overwrite = true;
    embedded::add_reports(tiny_run(), file, options);
  } catch (const xlsx::BadWorkbook&) {
    return;
  }
  if (is_well_formed(workbook) && !is_well_formed(runfile::read_text(file, "a workbook")))
    throw std::logic_error("a workbook that is no XML any more");
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

void must_be_same(const calc::Model& model, calc::CellId id, const calc::Value& one,
                  const calc::Value& other) {
  if (calc::identical(one, other)) return;
  const calc::Workbook& book = model.workbook();
  const calc::Cell* cell = &book.cells[static_cast<std::size_t>(id)];
  if (cell->formula < 0) cell = &book.cells[static_cast<std::size_t>(cell->array)];
  throw std::logic_error(book.address(id) + ", " +
                         book.formulas[static_cast<std::size_t>(cell->formula)].text + ": " +
                         test::shown(one) + " and " + test::shown(other));
}

// The last formula for itself, and all of them; with the first cell changed to 2, and with none. `changed`,
// where it is there, is the workbook with that cell.
void recalculate(const calc::Model& model, const calc::Model* changed) {
  const std::vector<calc::CellId> changing{0}, all = model.formula_cells();
  if (all.empty()) return;
  calc::Recalculation together(model, changing, all), alone(model, changing, {&all.back(), 1});
  const std::vector<calc::CellChange> change{{0, 2.0}};
  const std::vector<std::span<const calc::CellChange>> lanes{change, {}};
  if (!together.obstacles().empty()) return;
  const std::span<const calc::Value> values = together.evaluate(lanes), last = alone.evaluate(lanes);
  if (!together.obstacles().empty() || !alone.obstacles().empty()) return;
  for (std::size_t i = 0; i < all.size(); ++i)
    must_be_same(model, all[i], values[all.size() + i], model.base(all[i]));
  for (std::size_t i = 0; changed != nullptr && i < all.size(); ++i)
    if (changed->obstacle(all[i]).empty()) must_be_same(model, all[i], values[i], changed->base(all[i]));
  for (const std::size_t lane : {0U, 1U})
    must_be_same(model, all.back(), last[lane], values[(lane + 1) * all.size() - 1]);
}

// Calculates all of it, and what it is with the first cell changed.
void calculate(const std::string& workbook, const std::string& changed = {}) {
  try {
    const calc::Model model(workbook, "fuzz");
    if (model.workbook().cells.empty()) return;
    look_around(model);
    std::optional<calc::Model> other;
    if (!changed.empty()) other.emplace(changed, "fuzz");
    recalculate(model, other ? &*other : nullptr);
  } catch (const xlsx::BadWorkbook&) {
  }
}

void calculate_twice(test::TinyWorkbook& book) {
  const std::string workbook = book.bytes();
  calculate(workbook, book.set("A1", "2").bytes());
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
  explicit CallText(std::string_view bytes) : choices_(bytes) {}

  std::string text(int depth = 0) {
    const auto functions = calc::all_functions();
    const unsigned high = choices_.next() * 256U;
    const calc::Function& function = *functions[(high + choices_.next()) % functions.size()];
    const unsigned most = std::min<unsigned>(function.most, function.least + 4U);
    const unsigned count = function.least + choices_.next() % (most - function.least + 1);
    std::string result = std::string(function.name) + "(";
    for (unsigned i = 0; i < count; ++i) result += (i > 0 ? "," : "") + argument(depth);
    return result + ")";
  }

 private:
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
    static const std::vector<std::string> kMeant =
        split(R"(E1:E5|C1:C5|C1|C3|G1:G40|G7|Sales[Amount]|Sales[#All]|Sales[[#This Row],[Amount]]|Sales|)"
              R"(Sales[[#Totals],[Month]:[Amount]]|"kg"|"lbm"|"Mm"|"C"|"K"|"R[1]C[-1]"|"R1C1:R[2]C3"|)"
              R"("1/31/2020"|"12:30"|"5%"|"yyyy-mm-dd hh:mm:ss.00"|"[h]:mm AM/PM"|"# ?/?"|"General"|)"
              R"(0.05|0.1|-0.05|1000|100|4|5|6|7|8|12|14|15|16|17|18|19|30|365|44000|45000|1E10|1E-10|)"
              R"(4294967296|-43831|20|40|FALSE|OFFSET(A1,A2,1)|INDIRECT("B"&A2)|Z9|)"
              R"(IF(A1:A9>1,A1:A9)|IF(E1:E5>0,C1:C5)|SUM(A1:A3*2)|G1:G40="k5"|A1:A9&"x")");
    constexpr unsigned kMeantFrom = 148, kNested = 200, kNumber = 216;
    const unsigned choice = choices_.next();
    if (choice >= kNumber) return text::shortest_number(choices_.number());
    if (choice >= kNested && depth < 3) return text(depth + 1);
    if (choice >= kMeantFrom) return kMeant[choices_.next() % kMeant.size()];
    return kKnown[choice % kKnown.size()];
  }

  Choices choices_;
};

// In this column and the next one, from the first row on.
void add_table(test::TinyWorkbook& book, char column) {
  const std::string month(1, column), amount(1, static_cast<char>(column + 1));
  book.table("Sales", month + "1:" + amount + "4", {"Month", "Amount"}, 1).set(month + "1", "Month");
  book.set(amount + "1", "Amount").set(month + "2", "1").set(amount + "2", "=A1*10");
  book.set(month + "3", "2")
      .set(amount + "3", "20")
      .set(amount + "4", "=SUM(" + amount + "2:" + amount + "3)");
}

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
  column('E', {"-100", "30", "40", "50", "60"});
  column('H', {"2", "1", "0"});
  column('I', {"1", "3", "1"});
  column('J', {"0", "1", "4"});
  for (int row = 1; row <= 40; ++row)
    book.set("G" + std::to_string(row), row % 5 == 0 ? "k" + std::to_string(row) : std::to_string(row % 7));
  add_table(book, 'L');
  return book.set("Z9", "=A1+1").set(1, "A1", "=Sheet1!A1");
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
    book.set("A8", "Chance").set("B8", "=RAND()*B1").set("A9", "Age").set("B9", "=NOW()-B3");
    book.set("A10", "Units").set("B10", "3").drop_down("B10", "$B$1:$B$4");
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
  book.set(1, "A1", "=Sheet1!C1").name("Rate", "Sheet1!$A$1").name("Apart", "Sheet1!$A$1:$A$2,Sheet1!$C$1");
  add_table(book, 'F');
  book.set("D4", "=" + std::string(bytes));
  book.dynamic("J1:J3", std::string(bytes)).dynamic("K1:K2", "FILTER(A1:A2,A1:A2>J1#)");
  calculate_twice(book);
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
  calculate_twice(book);
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
