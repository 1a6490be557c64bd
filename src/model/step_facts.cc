#include "model/step_facts.h"

#include <algorithm>
#include <optional>

namespace ordvane::model {
namespace {

// The least and the greatest of some numbers.
struct Reach {
  std::optional<double> least, greatest;

  void add(double value) {
    least = std::min(least.value_or(value), value);
    greatest = std::max(greatest.value_or(value), value);
  }
  // Values that differ by what calculating leaves behind are equal.
  bool contains(const NumberRules& rules, double value) const {
    return least && rules.difference(value, *least) >= 0 && rules.difference(value, *greatest) <= 0;
  }
};

}  // namespace

StepFacts step_facts(const DralInputOutput& input, std::int32_t output, double outputBase) {
  const NumberRules& rules = input.rules();
  const bool has_base = rules.is_usable(input.BaseValue());
  const bool has_output_base = rules.is_usable(outputBase);
  StepFacts facts{.steps = input.numSteps};
  Reach tried, results;
  bool at_base = false;
  for (std::int32_t step = 1; step <= input.numSteps; ++step) {
    const double result = input.OutputValuesCalculated(output, step);
    if (!rules.is_usable(result)) {
      ++facts.failed;
      continue;
    }
    results.add(result);
    const double value = input.InputValuesUsed(step);
    if (!rules.is_usable(value)) continue;
    tried.add(value);
    at_base = at_base || (has_base && rules.difference(value, input.BaseValue()) == 0);
  }
  if (!results.least) return facts;
  facts.moves = rules.difference(*results.greatest, *results.least) != 0 ||
                (has_output_base && !results.contains(rules, outputBase));
  facts.compared = facts.steps - facts.failed > 1 || has_output_base;
  const bool base_outside = has_base && !tried.contains(rules, input.BaseValue());
  const bool output_outside = has_output_base && !results.contains(rules, outputBase);
  facts.leaves_out_base = has_base && !at_base && (base_outside || output_outside) && !facts.without_effect();
  return facts;
}

}  // namespace ordvane::model
