#include "sweep/break_evens.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <limits>
#include <mutex>

#include "host/error.h"
#include "host/side_by_side.h"
#include "model/answers.h"
#include "runfile/values.h"
#include "sweep/root_search.h"

namespace ordvane::sweep {
namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

// As a run file holds it.
double number_of(const Result& result) {
  return result.is_number() && std::fabs(result.number) < runfile::kNumberLimit ? result.number : kNone;
}

// A search between two steps of one input, for one output.
struct Search {
  std::size_t output;
  RootSearch root;
  bool failed = false;

  Search(std::size_t of, double wanted, const model::StepPoint& from, const model::StepPoint& to)
      : output(of), root({from.input, from.output}, {to.input, to.output}, wanted) {}

  bool goes_on() const { return !failed && !root.done(); }
  void tell(const Result& result) {
    const double number = number_of(result);
    failed = std::isnan(number);
    if (!failed) root.tell(number);
  }
};

class Seeker {
 public:
  Seeker(const Plan& plan, const std::function<bool()>& cancelled) : plan_(plan), cancelled_(cancelled) {}

  // The break-evens of one input, by output and value.
  std::vector<std::vector<runfile::BreakEven>> of_input(Calculator& calculator, std::size_t input) const {
    std::vector<Search> searches = begun(calculator, input);
    for (;;) {
      std::vector<Search*> open;
      std::vector<double> values;
      for (Search& search : searches) {
        if (!search.goes_on()) continue;
        open.push_back(&search);
        values.push_back(search.root.next());
      }
      if (open.empty()) break;
      const auto results = ask(calculator, input, values);
      for (std::size_t i = 0; i < open.size(); ++i) open[i]->tell(results[i][open[i]->output]);
    }
    std::vector<std::vector<runfile::BreakEven>> found(plan_.outputs.size());
    for (const Search& search : searches) found[search.output].push_back(end_of(search, input));
    return found;
  }

 private:
  std::vector<std::vector<Result>> ask(Calculator& calculator, std::size_t input,
                                       std::span<const double> values) const {
    if (cancelled_ && cancelled_()) throw host::Error(host::errc::kUserCancelled, "cancelled");
    std::vector<Recalculation> wanted;
    for (const double value : values) wanted.push_back({{input, value}});
    return calculator.evaluate(wanted);
  }

  std::vector<Search> begun(Calculator& calculator, std::size_t input) const {
    const std::vector<double>& values = plan_.inputs[input].values;
    const auto results = ask(calculator, input, values);
    std::vector<Search> searches;
    for (std::size_t output = 0; output < plan_.outputs.size(); ++output) {
      const std::optional<double>& target = plan_.outputs[output].item.target;
      if (!target) continue;
      std::vector<model::StepPoint> steps;
      for (std::size_t step = 0; step < values.size(); ++step)
        steps.push_back({values[step], number_of(results[step][output])});
      const model::StepCurve curve = model::step_curve(std::move(steps));
      for (const std::size_t at : model::sides_changed(curve, *target))
        searches.emplace_back(output, *target, curve[at - 1], curve[at]);
    }
    return searches;
  }

  // Where the model has no number, that is where the search ends.
  static runfile::BreakEven end_of(const Search& search, std::size_t input) {
    if (search.failed) return {input, search.root.next(), std::nullopt};
    return {input, search.root.best().x, search.root.best().y};
  }

  const Plan& plan_;
  const std::function<bool()>& cancelled_;
};

// The inputs whose first step is among the part's recalculations.
std::vector<std::size_t> inputs_of(const Plan& plan, const Shard& shard) {
  std::vector<std::size_t> inputs;
  std::int64_t row = 0;
  for (std::size_t input = 0; input < plan.inputs.size(); ++input) {
    if (row >= shard.first(plan.total()) && row < shard.last(plan.total())) inputs.push_back(input);
    row += static_cast<std::int64_t>(plan.inputs[input].values.size());
  }
  return inputs;
}

}  // namespace

bool has_targets(const Plan& plan) {
  return std::any_of(plan.outputs.begin(), plan.outputs.end(),
                     [](const PlannedOutput& output) { return output.item.target.has_value(); });
}

BreakEvens find_break_evens(const Plan& plan, const Shard& shard,
                            std::span<const std::unique_ptr<Calculator>> calculators,
                            const std::function<bool()>& cancelled) {
  const std::vector<std::size_t> inputs = inputs_of(plan, shard);
  const Seeker seeker(plan, cancelled);
  std::vector<std::vector<std::vector<runfile::BreakEven>>> found(inputs.size());
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;
  std::exception_ptr failure;
  std::atomic<std::size_t> taken = 0;
  const auto work = [&] {
    try {
      Calculator& calculator = *calculators[taken++];
      for (std::size_t at = next++; at < inputs.size(); at = next++)
        found[at] = seeker.of_input(calculator, inputs[at]);
    } catch (...) {
      const std::lock_guard lock(mutex);
      if (!failure) failure = std::current_exception();
      next = inputs.size();
    }
  };
  host::side_by_side(calculators.size(), work);
  if (failure) std::rethrow_exception(failure);
  BreakEvens break_evens(plan.outputs.size());
  for (std::size_t output = 0; output < plan.outputs.size(); ++output) {
    if (!plan.outputs[output].item.target) continue;
    auto& all = break_evens[output].emplace();
    for (const auto& of_input : found)
      all.insert(all.end(), of_input[output].begin(), of_input[output].end());
  }
  return break_evens;
}

}  // namespace ordvane::sweep
