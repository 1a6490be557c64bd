#include "sweep/job.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "host/error.h"
#include "runfile/json_file.h"
#include "runfile/write_run.h"
#include "sweep/break_evens.h"
#include "sweep/compiled.h"
#include "sweep/frozen_cells.h"
#include "sweep/sweep.h"
#include "text/calendar.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

constexpr double kSameStored = 1e-9;       // relative
constexpr std::int64_t kOfficeChunk = 16;  // recalculations; a hundred a second are usual
constexpr std::int64_t kWorthAnOffice = 300;
constexpr std::int64_t kCompiledChunk = 2048;  // thousands a second at least

// Work that goes on keeps its clock. It begins at the beginning of a day, so that parts of one day agree.
std::chrono::sys_seconds clock_of(const Job& job) {
  if (job.now) return *job.now;
  if (!job.overwrite) {
    const std::string there = clock_of_part(part_file(job.run, job.shard.value_or(Shard{})));
    if (const auto moment = text::moment_of_iso(there)) return *moment;
  }
  return std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
}

// The work on one workbook.
class Sweep {
 public:
  Sweep(const Job& job, OpenedWorkbook& book)
      : job_(job),
        book_(book),
        model_(book.model),
        plan_(make_plan(job.what_if, book.model, job.workbook.filename().string())),
        shape_(shape_of(run_of(plan_, std::vector<Result>(plan_.outputs.size())))) {
    choose_engine();
  }

  Outcome run();

 private:
  void choose_engine();
  void refuse_for_office(const std::vector<calc::Obstacle>& obstacles,
                         const std::vector<calc::CellId>& cells) const;
  void phase(const std::string& what) const {
    if (job_.phase) job_.phase(what);
  }
  // The calculator of the base case is the first of those that share the work.
  std::unique_ptr<Calculator> make() {
    {
      const std::lock_guard lock(mutex_);
      if (spare_) return std::move(spare_);
    }
    return in_office_ ? make_libreoffice(job_.workbook, model_, plan_, job_.office)
                      : make_compiled(model_, plan_);
  }

  void compare_stored();
  void compare_stored_cell(calc::CellId cell, const Result& base);
  void verify();
  runfile::Json break_evens(const Shard& shard);
  void write_run(const std::filesystem::path& part, bool check) const;
  void compare_rows(Calculator& referee, Calculator& checked, std::vector<Recalculation> rows);
  std::string conditions(const Recalculation& recalculation) const;
  std::string difference(std::size_t output, const Recalculation& row, const Result& found,
                         const Result& expected) const;

  const Job& job_;
  const OpenedWorkbook& book_;
  const calc::Model& model_;
  Plan plan_;
  Shape shape_;
  bool in_office_ = false;
  std::mutex mutex_;
  std::unique_ptr<Calculator> spare_;
  std::vector<Result> base_;
  runfile::Calculation calculation_;
  std::int64_t stored_zeros_ = 0;  // among the stored values compared
};

// Circles that the workbook does not iterate have no value anywhere, formulas that take too much memory take
// it of LibreOffice as well, unless the user wants that, and random numbers that LibreOffice
// draws anew have another one in each recalculation.
void Sweep::refuse_for_office(const std::vector<calc::Obstacle>& obstacles,
                              const std::vector<calc::CellId>& cells) const {
  const auto refuse = [](const std::string& what) { throw host::Error(host::errc::kHostRefused, what); };
  for (const calc::Obstacle& obstacle : obstacles) {
    if (obstacle.what == calc::kCircularReference && !model_.workbook().iterates)
      refuse(text_of(model_, obstacle) + ", and the workbook does not calculate iteratively");
    if (obstacle.what == calc::kTooLarge && !job_.libreoffice)
      refuse(text_of(model_, obstacle) + " (--libreoffice calculates it nevertheless, if it can)");
  }
  if (const auto cell = never_frozen(model_, cells))
    refuse(*cell + " draws another number at each recalculation by LibreOffice, which " +
           (obstacles.empty() ? "was asked for" : "is needed for " + text_of(model_, obstacles.front())));
}

void Sweep::choose_engine() {
  const std::vector<calc::Obstacle> found = obstacles(model_, plan_);
  in_office_ = job_.libreoffice || !found.empty();
  if (!found.empty()) calculation_.because = text_of(model_, found.front());
  const std::vector<calc::CellId> cells = model_.all_precedents(output_cells(plan_));
  if (in_office_) refuse_for_office(found, cells);
  phase(in_office_ ? "LibreOffice opens the workbook" : "the base case is calculated");
  std::unique_ptr<Calculator> calculator = make();
  calculation_.engine = calculator->engine();
  const std::vector<Recalculation> nothing(1);
  base_ = calculator->evaluate(nothing).front();
  spare_ = std::move(calculator);
  if (any_volatile(model_, cells)) calculation_.now = text::iso_moment(book_.clock);
}

// --- how far the results can be trusted -------------------------------------------------------------------

void Sweep::compare_stored_cell(calc::CellId cell, const Result& base) {
  const calc::Value& value = model_.workbook().cells[static_cast<std::size_t>(cell)].stored;
  if (value.is_blank()) return;
  const Result stored = result_of(value);
  ++calculation_.stored_compared;
  if (stored.is_number() && stored.number == 0) ++stored_zeros_;
  if (stored.is_number() && base.is_number()) {
    const double size = std::max(std::fabs(stored.number), std::fabs(base.number));
    if (std::fabs(stored.number - base.number) <= kSameStored * size) return;
  } else if (stored.text == base.text && stored.is_number() == base.is_number()) {
    return;
  }
  if (calculation_.stored_differ++ == 0)
    calculation_.stored_first =
        model_.workbook().address(cell) + ": stored " + shown(stored) + ", calculated " + shown(base);
}

// All formulas that the outputs depend on; of LibreOffice the outputs alone are known.
void Sweep::compare_stored() {
  if (in_office_) {
    for (std::size_t i = 0; i < plan_.outputs.size(); ++i)
      compare_stored_cell(plan_.outputs[i].cell, base_[i]);
    return;
  }
  for (const calc::CellId cell : model_.all_precedents(output_cells(plan_)))
    if (model_.has_formula(cell) && model_.obstacle(cell).empty())
      compare_stored_cell(cell, result_of(model_.base(cell)));
  // Programs that write workbooks without calculating them store a 0 everywhere: nothing to compare with.
  if (stored_zeros_ == calculation_.stored_compared) calculation_.forget_stored();
}

std::string Sweep::conditions(const Recalculation& recalculation) const {
  if (recalculation.empty()) return " at the base";
  std::string text;
  for (const Change& change : recalculation) {
    const runfile::Input& input = plan_.inputs[change.input].item;
    text += (text.empty() ? " when " : " and ") + input.sheet + "!" + input.cell + " is " +
            shown({change.value, {}});
  }
  return text;
}

std::string Sweep::difference(std::size_t output, const Recalculation& row, const Result& found,
                              const Result& expected) const {
  const runfile::Output& item = plan_.outputs[output].item;
  return item.sheet + "!" + item.cell + conditions(row) + ": " + shown(found) + " here, " + shown(expected) +
         " in " + calculation_.verified_by;
}

void Sweep::compare_rows(Calculator& referee, Calculator& checked, std::vector<Recalculation> rows) {
  const std::vector<std::vector<Result>> expected = referee.evaluate(rows);
  const std::vector<std::vector<Result>> found = checked.evaluate(rows);
  for (std::size_t row = 0; row < rows.size(); ++row) {
    ++calculation_.verified;
    for (std::size_t output = 0; output < plan_.outputs.size(); ++output) {
      if (identical(found[row][output], expected[row][output])) continue;
      if (calculation_.verified_differ++ == 0)
        calculation_.verified_first =
            difference(output, rows[row], found[row][output], expected[row][output]);
      break;
    }
  }
}

void Sweep::verify() {
  if (in_office_) {
    calculation_.verified_first = "LibreOffice calculated it";
    return;
  }
  if (job_.verify == Verify::kNone) {
    calculation_.verified_first = "not asked for";
    return;
  }
  if (const auto cell = never_frozen(model_, model_.all_precedents(output_cells(plan_)))) {
    calculation_.verified_first = *cell + " draws another number at each recalculation by LibreOffice";
    return;
  }
  phase("LibreOffice verifies");
  std::unique_ptr<Calculator> referee;
  try {
    referee = make_libreoffice(job_.workbook, model_, plan_, job_.office);
  } catch (const host::Error& error) {
    if (error.code() == host::errc::kUserCancelled || job_.verify == Verify::kAll) throw;
    calculation_.verified_first = error.description();
    return;
  }
  calculation_.verified_by = referee->engine();
  const std::unique_ptr<Calculator> checked = make_compiled(model_, plan_);
  std::vector<Recalculation> rows(1);
  for (std::size_t i = 0; i < plan_.inputs.size(); ++i)
    for (const double value : {plan_.inputs[i].values.front(), plan_.inputs[i].values.back()})
      rows.push_back({{i, value}});
  if (job_.verify == Verify::kEnds) return compare_rows(*referee, *checked, std::move(rows));
  rows.resize(1);
  PlanRows planned(plan_, 0);
  for (std::int64_t row = 0; row < plan_.total(); ++row) {
    rows.push_back(planned.next().changes);
    if (static_cast<std::int64_t>(rows.size()) < kOfficeChunk) continue;
    compare_rows(*referee, *checked, std::exchange(rows, {}));
    if (job_.progress) job_.progress(row + 1, plan_.total());
  }
  compare_rows(*referee, *checked, std::move(rows));
}

// By output; null for one that has no target.
runfile::Json Sweep::break_evens(const Shard& shard) {
  phase("the values at which outputs reach their targets are looked for");
  std::vector<std::unique_ptr<Calculator>> calculators;
  // Starting LibreOffice again takes longer than one of it alone.
  const auto most =
      in_office_ ? std::size_t{1} : std::min(static_cast<std::size_t>(threads_of(job_)), plan_.inputs.size());
  while (calculators.size() < most) calculators.push_back(make());
  runfile::Json json = runfile::Json::array();
  for (const auto& points : find_break_evens(plan_, shard, calculators, job_.office.cancelled))
    json.push_back(points ? runfile::break_evens_json(*points) : runfile::Json());
  spare_ = std::move(calculators.front());
  return json;
}

// --- the run ----------------------------------------------------------------------------------------------

Outcome Sweep::run() {
  const Shard shard = job_.shard.value_or(Shard{});
  PartHeader header;
  header.shard = shard;
  header.total = plan_.total();
  header.workbook = book_.hash;
  header.what_if = hash_of(plan_);
  header.engine = calculation_.engine;
  header.now = calculation_.now;
  header.run = runfile::description_of(run_of(plan_, base_), plan_.all_groups);
  const std::filesystem::path file = part_file(job_.run, shard);
  Outcome outcome;
  {
    PartWriter part(file, header, shape_, job_.overwrite, [&](PartHeader& first_line) {
      compare_stored();
      verify();
      first_line.calculation = runfile::calculation_json(calculation_);
      if (has_targets(plan_)) first_line.break_evens = break_evens(shard);
    });
    const std::int64_t there = part.done();
    SweepOptions options;
    options.threads = threads_of(job_);
    // Starting LibreOffice again takes as long as some hundred recalculations.
    if (in_office_)
      options.threads =
          static_cast<int>(std::clamp<std::int64_t>(plan_.total() / kWorthAnOffice, 1, options.threads));
    options.chunk = in_office_ ? kOfficeChunk : kCompiledChunk;
    options.cancelled = job_.office.cancelled;
    options.progress = job_.progress;
    phase("");
    const auto begin = std::chrono::steady_clock::now();
    calculate_part(
        plan_, shard, part, [&] { return make(); }, options);
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    outcome.recalculations = part.done();
    outcome.calculated = part.done() - there;
    outcome.file = file;
    outcome.calculation = calculation_;
    if (!job_.shard) {
      write_run(file, there > 0);
      std::filesystem::remove(file);
      outcome.file = job_.run;
    }
  }
  return outcome;
}

void Sweep::write_run(const std::filesystem::path& part, bool check) const {
  MergeOptions options;
  options.check = check;
  options.replace = job_.overwrite;
  options.form = job_.form;
  options.between = [this] {
    if (job_.office.cancelled && job_.office.cancelled())
      throw host::Error(host::errc::kUserCancelled, "cancelled");
  };
  phase("the run is written");
  merge_parts({part}, job_.run, options);
}

std::optional<std::int32_t> number_of(const char* variable) {
  const char* text = std::getenv(variable);
  std::int32_t number = 0;
  if (text == nullptr) return std::nullopt;
  const auto [stop, error] = std::from_chars(text, text + std::strlen(text), number);
  if (error != std::errc() || *stop != '\0') return std::nullopt;
  return number;
}

// Tasks of an array that begins with 0 or 1 and leaves none out. Of others, which are parts submitted again,
// nothing tells the parts that there were; of a single task neither.
std::optional<Shard> shard_of_slurm(std::optional<std::int32_t> parts) {
  const auto task = number_of("SLURM_ARRAY_TASK_ID");
  if (!task) return std::nullopt;
  const std::int32_t count = number_of("SLURM_ARRAY_TASK_COUNT").value_or(0);
  const std::int32_t first = number_of("SLURM_ARRAY_TASK_MIN").value_or(-1);
  const std::int32_t last = number_of("SLURM_ARRAY_TASK_MAX").value_or(-1);
  const bool is_whole = (first == 0 || first == 1) && last - first + 1 == count && count > 1 &&
                        parts.value_or(count) == count && *task >= first && *task <= last;
  if (!is_whole)
    throw runfile::BadRun("--shard", "",
                          "the tasks " + std::to_string(first) + " to " + std::to_string(last) +
                              " of this Slurm job (" + std::to_string(count) +
                              ") do not tell its parts; an array from 0 or 1 on without gaps is expected, "
                              "such as 1-" +
                              std::to_string(parts.value_or(8)) +
                              ", or the part itself, as in --shard \"$SLURM_ARRAY_TASK_ID/8\"");
  return Shard{*task - first + 1, count};
}

}  // namespace

int threads_of(const Job& job) {
  return job.threads > 0 ? job.threads : std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

OpenedWorkbook::OpenedWorkbook(const Job& job)
    : OpenedWorkbook(job, runfile::read_text(job.workbook, "a workbook")) {}

OpenedWorkbook::OpenedWorkbook(const Job& job, const std::string& bytes)
    : hash(hash_of(std::string_view(bytes))),
      clock(clock_of(job)),
      model(is_package(job.workbook) ? bytes : converted_workbook(job.workbook, job.office),
            job.workbook.string(), frozen_at(clock)) {}

Outcome run_job(const Job& job) {
  OpenedWorkbook book(job);
  return run_job(job, book);
}

Outcome run_job(const Job& job, OpenedWorkbook& book) {
  return Sweep(job, book).run();
}

std::optional<Shard> shard_of_environment(std::optional<std::int32_t> parts) {
  if (const auto shard = shard_of_slurm(parts)) return shard;
  constexpr std::pair<const char*, const char*> kSources[] = {
      // variables; null: none
      {"OMPI_COMM_WORLD_RANK", "OMPI_COMM_WORLD_SIZE"},
      {"JOB_COMPLETION_INDEX", nullptr}};
  for (const auto& [place, count] : kSources) {
    const auto rank = number_of(place);
    if (!rank) continue;
    const std::int32_t of = !parts && count != nullptr ? number_of(count).value_or(0) : parts.value_or(0);
    if (*rank >= 0 && *rank < of) return Shard{*rank + 1, of};
  }
  return std::nullopt;
}

}  // namespace ordvane::sweep
