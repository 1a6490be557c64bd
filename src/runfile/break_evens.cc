#include "runfile/break_evens.h"

#include <cmath>
#include <limits>
#include <string>

#include "runfile/values.h"
#include "text/numbers.h"

namespace ordvane::runfile {
namespace {

// Two neighbouring steps of an input.
struct Between {
  std::size_t input;
  double low, high;

  bool has(const BreakEven& point) const {
    return point.input == input && low <= point.value && point.value <= high;
  }
};

// Those that an output has to have a value for.
std::vector<Between> expected_of(const Run& run, std::size_t output) {
  std::vector<Between> expected;
  for (std::size_t input = 0; input < run.inputs.size(); ++input) {
    if (!run.inputs[input].saved_samples) continue;
    const model::StepCurve curve = curve_of(run, input, output);
    for (const std::size_t at : model::sides_changed(curve, *run.outputs[output].target))
      expected.push_back({input, curve[at - 1].input, curve[at].input});
  }
  return expected;
}

void check_output(const JsonValue& value, const Run& run, std::size_t output) {
  if (run.simulations > 1)
    value.fail("is there in a run of " + std::to_string(run.simulations) + " simulations; one is expected");
  const std::vector<BreakEven>& points = *run.outputs[output].break_even;
  const std::vector<Between> expected = expected_of(run, output);
  if (points.size() != expected.size())
    value.fail("has " + std::to_string(points.size()) + (points.size() == 1 ? " element; " : " elements; ") +
               std::to_string(expected.size()) +
               " are expected, one for each two neighbouring steps on both sides of the target");
  for (std::size_t i = 0; i < points.size(); ++i)
    if (!expected[i].has(points[i]))
      value.element(i).fail("is " + text::shortest_number(points[i].value) + " of input " +
                            std::to_string(points[i].input + 1) + "; a value from " +
                            text::shortest_number(expected[i].low) + " to " +
                            text::shortest_number(expected[i].high) + " of input " +
                            std::to_string(expected[i].input + 1) + " is expected");
}

}  // namespace

model::StepCurve curve_of(const Run& run, std::size_t input, std::size_t output) {
  std::int64_t first = 0;
  for (std::size_t i = 0; i < input; ++i) first += run.inputs[i].steps;
  std::vector<model::StepPoint> steps;
  for (std::int64_t step = first; step < first + run.inputs[input].steps; ++step) {
    const double value = run.input_values[run.input_value_index(0, step)];
    const double result = run.output_values[run.output_value_index(0, output, step)];
    if (std::isnan(value)) continue;
    steps.push_back({value, is_encoded_error(result) ? std::numeric_limits<double>::quiet_NaN() : result});
  }
  return model::step_curve(std::move(steps));
}

void check_break_evens(const JsonValue& root, const Run& run) {
  for (std::size_t output = 0; output < run.outputs.size(); ++output)
    if (run.outputs[output].break_even)
      check_output(root.member("outputs").element(output).member("breakEven"), run, output);
}

}  // namespace ordvane::runfile
