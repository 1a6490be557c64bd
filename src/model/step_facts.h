// What the steps of one input say about one output besides the ends of its bar: whether they move it at all,
// how many of its results are no numbers, and whether they leave out the base case. Arithmetic on records
// that are filled.
#pragma once

#include <cstdint>

#include "model/input_output.h"

namespace ordvane::model {

struct StepFacts {
  std::int32_t steps = 0;   // that were tried
  std::int32_t failed = 0;  // of them, those whose result is no number
  // Results differ from one another, or from the output's base value; a single step can move the output too.
  bool moves = false;
  // There was something to compare: several results, or one and the output's base value.
  bool compared = false;
  // No step stood at the input's base value, and what the steps did does not show what lies between them and
  // the base: the base lies outside the values tried, or the output's base value outside the results. Never
  // of an input without effect.
  bool leaves_out_base = false;

  // All is known, and nothing moved. Where a result failed, nobody can tell.
  bool without_effect() const { return compared && failed == 0 && !moves; }
};

// `output`: one-based position of the output in the input's tables, which data retrieval has filled for it.
// `outputBase`: the output's base value; one that is no number is compared with nothing.
StepFacts step_facts(const DralInputOutput& input, std::int32_t output, double outputBase);

}  // namespace ordvane::model
