// What a run's steps did to its outputs, as the step tables of its inputs show it.
//
// The engine is asked for a whole output at a time while data is retrieved. As long as there is room the
// results stay; of larger runs, what a report shows is asked for again. Changes come from results; ranks are
// found when they are asked for, an output at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "model/input_output.h"
#include "model/pace.h"
#include "session/session.h"

namespace ordvane::model {

class StepResults : public std::enable_shared_from_this<StepResults> {
 public:
  // Results that are kept: 64 MiB of them.
  static constexpr std::size_t kMostKept = std::size_t{1} << 23;

  // Of the one-based run. `recalculations`: of single inputs. The session is used as long as the results are.
  StepResults(const session::Session& session, std::shared_ptr<const NumberRules> rules,
              const Records& inputs, const Records& outputs, std::int32_t recalculations, std::int32_t run,
              Poll poll, std::size_t most_kept = kMostKept);

  // The step tables of the inputs show these results.
  void show_in(Records& inputs);
  // Asks the engine for all results of the output at this one-based position, with markers for what is NaN.
  // `as_recorded`: called before these, with what the engine wrote. Under rules that are concurrent, several
  // threads may ask at once.
  std::vector<double> read(std::int32_t output,
                           const std::function<void(std::span<const double>)>& as_recorded) const;
  // Of how many more outputs the results can stay.
  std::size_t room() const {
    return recalculations_ == 0 ? outputs_.size() : (most_kept_ - values_kept_) / recalculations_;
  }
  // The output was read. Its results stay where they are given.
  void note(std::int32_t output, std::optional<std::vector<double>> results);

  // Of an output that was noted: counted from 1, the input's step too; 0 for any other output.
  double result(std::size_t input, std::int32_t output, std::int32_t step) {
    const double* const results = of_input(input, output);
    return results == nullptr ? 0 : results[step - 1];
  }
  // The same of as many steps as `results` has room for, from `first_step` on.
  void copy(std::size_t input, std::int32_t output, std::int32_t first_step, std::span<double> results);
  double change(std::size_t input, std::int32_t output, std::int32_t step);
  // Among all recalculations of the output, by change from its base value: the lowest 1.
  std::int32_t rank(std::size_t input, std::int32_t output, std::int32_t step);
  // The recalculations, counted from 1, and their changes in the order of these.
  struct Order {
    std::vector<double> changes;
    std::vector<std::int32_t> recalculations;
  };
  Order order(std::int32_t output, std::span<const double> results) const;

 private:
  // Null: there are none.
  const double* of_input(std::size_t input, std::int32_t output) {
    const double* const kept = places_[input * outputs_.size() + static_cast<std::size_t>(output - 1)];
    return kept != nullptr ? kept : fetch(input, output);
  }
  const double* fetch(std::size_t input, std::int32_t output);
  void ask(std::int32_t output, std::size_t first, std::span<double> results) const;
  void replace_nan(std::span<double> results) const;
  void forget();

  struct Output {
    DralInputOutput record;
    bool is_read = false;
  };

  const session::Session& session_;
  std::shared_ptr<const NumberRules> rules_;
  std::int32_t run_;
  Poll poll_;
  std::size_t most_kept_;
  std::size_t recalculations_;
  std::vector<Output> outputs_;
  std::vector<std::size_t> first_;  // recalculation of each input, from 0; behind the last their number
  // What is kept: the results themselves, and where those of each input and output begin, null for nowhere.
  std::vector<std::vector<double>> kept_;
  std::size_t values_kept_ = 0;
  std::vector<const double*> places_;  // [input][output]
  std::vector<std::int32_t> ranks_;    // of the recalculations of one output
  std::int32_t ranked_ = 0;            // which; 0 for none
};

}  // namespace ordvane::model
