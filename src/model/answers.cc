#include "model/answers.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace ordvane::model {
namespace {

std::optional<double> usable(const NumberRules& rules, double value) {
  return rules.is_usable(value) ? std::optional(value) : std::nullopt;
}

double largest_result(std::span<const StepPoint> curve) {
  double largest = 0;
  for (const StepPoint& point : curve) largest = std::max(largest, std::fabs(point.output));
  return largest;
}

// Which side of the target a result lies on: -1, 0 or 1.
class Sides {
 public:
  Sides(std::span<const StepPoint> curve, double target)
      : target_(target),
        tolerance_(NumberRules::kRounding * std::max(largest_result(curve), std::fabs(target))) {}

  int of(const StepPoint& point) const {
    const double above = point.output - target_;
    if (std::fabs(above) <= tolerance_) return 0;
    return above < 0 ? -1 : 1;
  }

 private:
  double target_, tolerance_;
};

// Where the line from one point to the other, on opposite sides of the target, reaches it. Halves: the
// difference of two doubles may be none.
double crossing_between(const StepPoint& from, const StepPoint& to, double target) {
  const double part = (target / 2 - from.output / 2) / (to.output / 2 - from.output / 2);
  return std::clamp(std::lerp(from.input, to.input, part), from.input, to.input);
}

// The points beside the base value, of those that nothing failed between.
struct Neighbours {
  const StepPoint* below = nullptr;
  const StepPoint* above = nullptr;
  const StepPoint* at = nullptr;
};

Neighbours neighbours_of(const NumberRules& rules, std::span<const StepPoint> curve, double base) {
  Neighbours found;
  for (const StepPoint& point : curve) {
    const double distance = rules.difference(point.input, base);
    if (point.after_failure && distance >= 0 && !found.at) found.below = nullptr;
    if (distance < 0) {
      found.below = &point;
    } else if (distance == 0) {
      found.at = &point;
    } else {
      // With no step at the base, what failed between the neighbours may have stood on either side of it.
      if (!point.after_failure) found.above = &point;
      break;
    }
  }
  return found;
}

double change(double to, double from) {
  return to / 2 - from / 2;
}

}  // namespace

StepCurve step_curve(const DralInputOutput& input, std::int32_t output) {
  const NumberRules& rules = input.rules();
  struct Step {
    StepPoint point;
    bool failed;
  };
  std::vector<Step> steps;
  steps.reserve(static_cast<std::size_t>(std::max(input.numSteps, 0)));
  for (std::int32_t step = 1; step <= input.numSteps; ++step) {
    const double value = input.InputValuesUsed(step);
    if (!rules.is_usable(value)) continue;
    const double result = input.OutputValuesCalculated(output, step);
    steps.push_back({{value, result, false}, !rules.is_usable(result)});
  }
  const auto by_input = [](const Step& a, const Step& b) { return a.point.input < b.point.input; };
  if (!std::is_sorted(steps.begin(), steps.end(), by_input))
    std::stable_sort(steps.begin(), steps.end(), by_input);
  StepCurve curve;
  curve.reserve(steps.size());
  bool failed = false;
  for (Step& step : steps) {
    if (!step.failed) {
      step.point.after_failure = failed;
      curve.push_back(step.point);
    }
    failed = step.failed;
  }
  return curve;
}

std::vector<Crossing> crossings(std::span<const StepPoint> curve, double target) {
  const Sides sides(curve, target);
  std::vector<Crossing> found;
  const auto joined = [&](std::size_t at) { return at < curve.size() && !curve[at].after_failure; };
  for (std::size_t i = 0; i < curve.size(); ++i) {
    const int side = sides.of(curve[i]);
    const bool comes_from = i > 0 && joined(i);
    if (side == 0) {
      const bool inside_stretch =
          comes_from && sides.of(curve[i - 1]) == 0 && joined(i + 1) && sides.of(curve[i + 1]) == 0;
      const bool told = !found.empty() && found.back().input == curve[i].input;
      if (!inside_stretch && !told) found.push_back({curve[i].input, true});
    } else if (comes_from && side == -sides.of(curve[i - 1])) {
      found.push_back({crossing_between(curve[i - 1], curve[i], target), false});
    }
  }
  return found;
}

Shape shape_of(const NumberRules& rules, std::span<const StepPoint> curve) {
  Shape shape;
  if (curve.size() < 2) return shape;
  const auto by_output = [](const StepPoint& a, const StepPoint& b) { return a.output < b.output; };
  const StepPoint& first = curve.front();
  const StepPoint& last = curve.back();
  const StepPoint& lowest = *std::min_element(curve.begin(), curve.end(), by_output);
  const StepPoint& highest = *std::max_element(curve.begin(), curve.end(), by_output);
  if (rules.difference(highest.output, lowest.output) == 0) return shape;
  if (rules.difference(highest.output, std::max(first.output, last.output)) > 0) shape.peak = highest;
  if (rules.difference(lowest.output, std::min(first.output, last.output)) < 0) shape.valley = lowest;
  const double width = change(last.input, first.input);
  if (width == 0) return shape;
  double largest = 0;
  for (const StepPoint& point : curve) {
    const double on_line = std::lerp(first.output, last.output, change(point.input, first.input) / width);
    if (rules.difference(point.output, on_line) != 0)
      largest = std::max(largest, std::fabs(change(point.output, on_line)));
  }
  shape.bend = largest / change(highest.output, lowest.output);
  return shape;
}

std::optional<double> elasticity(const NumberRules& rules, std::span<const StepPoint> curve,
                                 const StepPoint& base) {
  if (!rules.is_usable(base.input) || !rules.is_usable(base.output) || base.input == 0 || base.output == 0)
    return std::nullopt;
  const auto [below, above, at] = neighbours_of(rules, curve, base.input);
  const StepPoint& middle = at ? *at : base;
  if (!below && !above) return std::nullopt;
  const StepPoint& from = below ? *below : middle;
  const StepPoint& to = above ? *above : middle;
  if (rules.difference(to.output, from.output) == 0) return 0.0;
  return usable(rules, (change(to.output, from.output) / std::fabs(base.output)) /
                           (change(to.input, from.input) / std::fabs(base.input)));
}

std::optional<double> arc_elasticity(std::span<const StepPoint> curve) {
  if (curve.size() < 2) return std::nullopt;
  const StepPoint& from = curve.front();
  const StepPoint& to = curve.back();
  const double mean_input = std::fabs(std::midpoint(from.input, to.input));
  const double mean_output = std::fabs(std::midpoint(from.output, to.output));
  const double inputs = change(to.input, from.input);
  if (mean_input == 0 || mean_output == 0 || inputs == 0) return std::nullopt;
  const double result = (change(to.output, from.output) / mean_output) / (inputs / mean_input);
  return std::isfinite(result) ? std::optional(result) : std::nullopt;
}

namespace {

InputAnswers answers_of_input(const DralInputOutput& input, std::int32_t output,
                              const DralInputOutput& result, double target) {
  const NumberRules& rules = input.rules();
  InputAnswers answers;
  answers.rank = input.rank(output);
  answers.facts = step_facts(input, output, result.BaseValue());
  answers.curve = step_curve(input, output);
  if (answers.facts.failed == answers.facts.steps) return answers;
  const double low = input.outputMinValue(output);
  const double high = input.outputMaxValue(output);
  answers.swing = usable(rules, rules.difference(high, low)).value_or(0);
  if (const auto fall = usable(rules, rules.difference(low, result.BaseValue())))
    answers.downside = std::min(*fall, 0.0);
  if (const auto rise = usable(rules, rules.difference(high, result.BaseValue())))
    answers.upside = std::max(*rise, 0.0);
  if (!answers.facts.without_effect()) answers.break_even = crossings(answers.curve, target);
  answers.shape = shape_of(rules, answers.curve);
  if (input.IsDate || result.IsDate) return answers;
  answers.elasticity =
      elasticity(rules, answers.curve, {.input = input.BaseValue(), .output = result.BaseValue()});
  answers.arc_elasticity = arc_elasticity(answers.curve);
  return answers;
}

// In parts of the widest swing, whose square may be too large for a double.
void fill_shares(std::vector<InputAnswers>& answers) {
  double widest = 0;
  for (const InputAnswers& input : answers) widest = std::max(widest, input.swing);
  if (widest == 0) return;
  const auto square = [&](const InputAnswers& input) {
    const double part = input.swing / widest;
    return part * part;
  };
  double all = 0;
  for (const InputAnswers& input : answers) all += square(input);
  double so_far = 0;
  for (InputAnswers& input : answers) {
    if (input.curve.empty()) continue;
    so_far += square(input);
    input.share = square(input) / all;
    input.cumulative_share = so_far / all;
  }
}

// What an input is sorted by; the greatest comes first.
std::optional<double> key_of(SortBy order, const InputAnswers& answers) {
  switch (order) {
    case SortBy::kSwing:
      break;
    case SortBy::kDownside:
      return answers.downside ? std::optional(-*answers.downside) : std::nullopt;
    case SortBy::kUpside:
      return answers.upside;
    case SortBy::kElasticity:
      return answers.elasticity ? std::optional(std::fabs(*answers.elasticity)) : std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

OutputAnswers answers_of(const Records& inputs, const Records& outputs, std::int32_t output, double target) {
  const DralInputOutput& result = outputs(output);
  OutputAnswers answers{
      .output = output, .target = target, .base = usable(result.rules(), result.BaseValue()), .inputs = {}};
  answers.inputs.reserve(static_cast<std::size_t>(inputs.size()));
  for (std::int32_t i = 1; i <= inputs.size(); ++i) {
    answers.inputs.push_back(answers_of_input(inputs(i), output, result, target));
    answers.inputs.back().input = i;
  }
  std::sort(answers.inputs.begin(), answers.inputs.end(),
            [](const InputAnswers& a, const InputAnswers& b) { return a.rank < b.rank; });
  fill_shares(answers.inputs);
  return answers;
}

std::vector<std::size_t> sorted_by(SortBy order, std::span<const InputAnswers> answers) {
  std::vector<std::size_t> positions(answers.size());
  std::iota(positions.begin(), positions.end(), std::size_t{0});
  std::stable_sort(positions.begin(), positions.end(), [&](std::size_t a, std::size_t b) {
    return key_of(order, answers[a]) > key_of(order, answers[b]);  // none is less than any
  });
  return positions;
}

}  // namespace ordvane::model
