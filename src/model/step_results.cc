#include "model/step_results.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "model/engine_reader.h"
#include "model/ranking.h"

namespace ordvane::model {
namespace {

// One of the three step tables of one input.
template <auto member>
class Rows : public TableRows {
 public:
  Rows(std::shared_ptr<StepResults> results, std::size_t input)
      : results_(std::move(results)), input_(input) {}
  double at(std::int32_t output, std::int32_t step) const override {
    return static_cast<double>(((*results_).*member)(input_, output, step));
  }

 protected:
  std::shared_ptr<StepResults> results_;
  std::size_t input_;
};

class ResultRows final : public Rows<&StepResults::result> {
 public:
  using Rows::Rows;
  void copy(std::int32_t output, std::int32_t first_step, std::span<double> results) const override {
    results_->copy(input_, output, first_step, results);
  }
};

}  // namespace

StepResults::StepResults(const session::Session& session, std::shared_ptr<const NumberRules> rules,
                         const Records& inputs, const Records& outputs, std::int32_t recalculations,
                         std::int32_t run, Poll poll, std::size_t most_kept)
    : session_(session),
      rules_(std::move(rules)),
      run_(run),
      poll_(std::move(poll)),
      most_kept_(most_kept),
      recalculations_(static_cast<std::size_t>(std::max(recalculations, 0))) {
  host::allocating([&] {
    for (const DralInputOutput& output : outputs) outputs_.push_back({output});
    std::size_t first = 0;
    for (const DralInputOutput& input : inputs) {
      first_.push_back(first);
      first += static_cast<std::size_t>(std::max(input.numSteps, 0));
    }
    first_.push_back(first);
    places_.resize(first_.size() * outputs_.size());
  });
}

void StepResults::show_in(Records& inputs) {
  std::size_t position = 0;
  const auto outputs = static_cast<std::int32_t>(outputs_.size());
  for (DralInputOutput& input : inputs) {
    input.show_steps(outputs, std::make_shared<ResultRows>(shared_from_this(), position),
                     std::make_shared<Rows<&StepResults::change>>(shared_from_this(), position),
                     std::make_shared<Rows<&StepResults::rank>>(shared_from_this(), position));
    ++position;
  }
}

std::vector<double> StepResults::read(std::int32_t output,
                                      const std::function<void(std::span<const double>)>& as_recorded) const {
  std::vector<double> results;
  host::allocating([&] { results.resize(recalculations_); });
  ask(output, 0, results);
  as_recorded(results);
  replace_nan(results);
  if (first_.back() > recalculations_) host::raise_subscript_out_of_range("recalculations of an output");
  return results;
}

void StepResults::note(std::int32_t output, std::optional<std::vector<double>> results) {
  outputs_[static_cast<std::size_t>(output - 1)].is_read = true;
  if (!results) return;
  values_kept_ += results->size();
  host::allocating([&] { kept_.push_back(std::move(*results)); });
  for (std::size_t input = 0; input + 1 < first_.size(); ++input)
    places_[input * outputs_.size() + static_cast<std::size_t>(output - 1)] =
        kept_.back().data() + first_[input];
}

void StepResults::copy(std::size_t input, std::int32_t output, std::int32_t first_step,
                       std::span<double> results) {
  if (const double* const all = of_input(input, output))
    std::copy_n(all + (first_step - 1), results.size(), results.begin());
  else
    std::ranges::fill(results, 0.0);
}

double StepResults::change(std::size_t input, std::int32_t output, std::int32_t step) {
  const Output& of = outputs_[static_cast<std::size_t>(output - 1)];
  return of.is_read ? rules_->fractional_change(result(input, output, step), of.record.BaseValue()) : 0;
}

std::int32_t StepResults::rank(std::size_t input, std::int32_t output, std::int32_t step) {
  if (ranked_ != output) {
    if (!outputs_[static_cast<std::size_t>(output - 1)].is_read) return 0;
    const std::vector<double> results = read(output, [](std::span<const double>) {});
    const std::vector<std::int32_t> order = this->order(output, results).recalculations;
    ranks_.resize(order.size());
    for (std::size_t place = 0; place < order.size(); ++place)
      ranks_[static_cast<std::size_t>(order[place] - 1)] = static_cast<std::int32_t>(place) + 1;
    ranked_ = output;
  }
  return ranks_[first_[input] + static_cast<std::size_t>(step - 1)];
}

// A missing result stands for its own change.
StepResults::Order StepResults::order(std::int32_t output, std::span<const double> results) const {
  const double base = outputs_[static_cast<std::size_t>(output - 1)].record.BaseValue();
  const double missing = rules_->missing_number();
  Order order;
  host::allocating([&] {
    order.changes.assign(results.begin(), results.end());
    order.recalculations.resize(results.size());
  });
  for (double& change : order.changes)
    if (change != missing) change -= base;
  std::iota(order.recalculations.begin(), order.recalculations.end(), 1);
  sort_with_companion(order.changes, order.recalculations, poll_);
  return order;
}

const double* StepResults::fetch(std::size_t input, std::int32_t output) {
  const std::size_t steps = first_[input + 1] - first_[input];
  if (!outputs_[static_cast<std::size_t>(output - 1)].is_read || steps == 0) return nullptr;
  if (values_kept_ + steps > most_kept_) forget();
  std::vector<double> results;
  host::allocating([&] { results.resize(steps); });
  ask(output, first_[input], results);
  replace_nan(results);
  const double* const place = results.data();
  host::allocating([&] { kept_.push_back(std::move(results)); });
  values_kept_ += steps;
  places_[input * outputs_.size() + static_cast<std::size_t>(output - 1)] = place;
  return place;
}

void StepResults::ask(std::int32_t output, std::size_t first, std::span<double> results) const {
  EngineReader(session_).values(engine::kOutput, outputs_[static_cast<std::size_t>(output - 1)].record, run_,
                                static_cast<std::int32_t>(first), results);
}

void StepResults::replace_nan(std::span<double> results) const {
  for (double& value : results) value = rules_->without_nan(value);
}

void StepResults::forget() {
  std::ranges::fill(places_, nullptr);
  kept_.clear();
  values_kept_ = 0;
}

}  // namespace ordvane::model
