#include "model/step_facts.h"

#include "model/reach.h"

namespace ordvane::model {
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
  if (results.is_empty()) return facts;
  facts.moves = results.swing(rules) != 0 || (has_output_base && !results.contains(rules, outputBase));
  facts.compared = facts.steps - facts.failed > 1 || has_output_base;
  const bool base_outside = has_base && !tried.contains(rules, input.BaseValue());
  const bool output_outside = has_output_base && !results.contains(rules, outputBase);
  facts.leaves_out_base = has_base && !at_base && (base_outside || output_outside) && !facts.without_effect();
  return facts;
}

}  // namespace ordvane::model
