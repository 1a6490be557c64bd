#include "sweep/find_inputs.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <span>
#include <tuple>
#include <utility>

#include "calc/address.h"
#include "host/error.h"
#include "host/side_by_side.h"
#include "sweep/compiled.h"

namespace ordvane::sweep {
namespace {

// Candidates that one calculator tries at most: neighbours, whose cones are alike. More make the cone of each
// batch larger than it needs to be, fewer have the cones found more often.
constexpr std::size_t kMostTogether = 512;
constexpr double kRounding = 1e-12;  // relative; what sums leave behind is no effect

// How far each candidate moves each output.
class Trial {
 public:
  Trial(const calc::Model& model, const Plan& plan, const Job& job, const std::vector<Candidate>& candidates)
      : model_(model), plan_(plan), job_(job), candidates_(candidates), swings_(candidates.size()) {
    for (const Candidate& candidate : candidates)
      total_ += static_cast<std::int64_t>(candidate.values.size());
  }

  std::vector<std::vector<double>> run() {
    const auto threads = static_cast<std::size_t>(threads_of(job_));
    together_ = std::clamp<std::size_t>((candidates_.size() + threads - 1) / threads, 1, kMostTogether);
    const std::size_t chunks = (candidates_.size() + together_ - 1) / together_;
    host::side_by_side(std::min(threads, chunks), [this] { work(); });
    if (failure_) std::rethrow_exception(failure_);
    return std::move(swings_);
  }

 private:
  void work() {
    try {
      for (std::size_t first = 0; take(first);)
        try_together(first, std::min(first + together_, candidates_.size()));
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (!failure_) failure_ = std::current_exception();
      next_ = candidates_.size();
    }
  }

  bool take(std::size_t& first) {
    const std::lock_guard lock(mutex_);
    first = next_;
    next_ += together_;
    return first < candidates_.size();
  }

  // The outputs, and these candidates as inputs.
  Plan plan_of(std::size_t first, std::size_t last) const {
    Plan plan;
    plan.outputs = plan_.outputs;
    const calc::Workbook& book = model_.workbook();
    for (std::size_t i = first; i < last; ++i) {
      PlannedInput& input = plan.inputs.emplace_back();
      const calc::Cell& cell = book.cells[static_cast<std::size_t>(candidates_[i].cell)];
      input.cell = candidates_[i].cell;
      input.item.sheet = book.sheets[static_cast<std::size_t>(cell.sheet)].name;
      input.item.cell = calc::cell_name(cell.row, cell.column);
      input.values = candidates_[i].values;
      plan.steps += static_cast<std::int64_t>(input.values.size());
    }
    return plan;
  }

  std::unique_ptr<Calculator> calculator(const Plan& plan) const {
    try {
      if (!job_.libreoffice) return make_compiled(model_, plan);
    } catch (const host::Error& error) {
      if (error.code() != host::errc::kHostRefused) throw;  // what is refused goes to LibreOffice
    }
    return make_libreoffice(job_.workbook, model_, plan, job_.office);
  }

  void try_together(std::size_t first, std::size_t last) {
    if (job_.office.cancelled && job_.office.cancelled())
      throw host::Error(host::errc::kUserCancelled, "cancelled");
    const Plan plan = plan_of(first, last);
    const std::unique_ptr<Calculator> calculator = this->calculator(plan);
    std::vector<Recalculation> base(1);
    const std::vector<Result> unchanged = calculator->evaluate(base).front();
    PlanRows rows(plan, 0);
    std::vector<Recalculation> wanted;
    for (std::int64_t row = 0; row < plan.total(); ++row) wanted.push_back(rows.next().changes);
    const std::vector<std::vector<Result>> results = calculator->evaluate(wanted);
    std::size_t row = 0;
    for (std::size_t i = first; i < last; ++i) {
      const std::size_t count = candidates_[i].values.size();
      swings_[i] = swings_of(unchanged, std::span(results).subspan(row, count));
      row += count;
    }
    done(plan.total());
  }

  std::vector<double> swings_of(const std::vector<Result>& base,
                                std::span<const std::vector<Result>> results) const {
    std::vector<double> swings;
    for (std::size_t output = 0; output < base.size(); ++output) {
      double low = std::numeric_limits<double>::infinity();
      double high = -low;
      std::size_t numbers = 0;
      const auto add = [&](const Result& result) {
        if (!result.is_number()) return;
        low = std::min(low, result.number);
        high = std::max(high, result.number);
        ++numbers;
      };
      for (const std::vector<Result>& row : results) add(row[output]);
      if (numbers > 0) add(base[output]);
      const bool moves = numbers > 1 && high - low > kRounding * std::max(std::fabs(high), std::fabs(low));
      swings.push_back(moves ? high - low : 0);
    }
    return swings;
  }

  void done(std::int64_t count) {
    const std::lock_guard lock(mutex_);
    done_ += count;
    if (job_.progress) job_.progress(done_, total_);
  }

  const calc::Model& model_;
  const Plan& plan_;
  const Job& job_;
  const std::vector<Candidate>& candidates_;
  std::vector<std::vector<double>> swings_;
  std::size_t together_ = 1;
  std::int64_t total_ = 0, done_ = 0;
  std::size_t next_ = 0;
  std::mutex mutex_;
  std::exception_ptr failure_;
};

}  // namespace

FoundInputs find_inputs(const calc::Model& model, const Plan& plan, const Job& job) {
  Candidates candidates = find_candidates(model, output_cells(plan));
  std::vector<std::vector<double>> swings = Trial(model, plan, job, candidates.varied).run();
  FoundInputs found;
  found.left_out = std::move(candidates.left_out);
  for (std::size_t i = 0; i < swings.size(); ++i) {
    Candidate& candidate = candidates.varied[i];
    const bool moves =
        std::any_of(swings[i].begin(), swings[i].end(), [](double swing) { return swing > 0; });
    if (moves)
      found.ranked.push_back({std::move(candidate), std::move(swings[i])});
    else
      found.left_out.push_back({candidate.cell, "without effect"});
  }
  const auto place = [&](calc::CellId id) {
    const calc::Cell& cell = model.workbook().cells[static_cast<std::size_t>(id)];
    return std::tuple(cell.sheet, cell.row, cell.column);
  };
  std::stable_sort(found.left_out.begin(), found.left_out.end(),
                   [&](const LeftOut& a, const LeftOut& b) { return place(a.cell) < place(b.cell); });
  std::sort(found.ranked.begin(), found.ranked.end(), [&](const FoundInput& a, const FoundInput& b) {
    return a.swings != b.swings ? a.swings > b.swings : place(a.candidate.cell) < place(b.candidate.cell);
  });
  return found;
}

}  // namespace ordvane::sweep
