#include "model/answers.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

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

// In halves: the difference of two doubles may be none.
double change(double to, double from) {
  return to / 2 - from / 2;
}

// Where the line from one point to the other, on opposite sides of the target, reaches it.
double crossing_between(const StepPoint& from, const StepPoint& to, double target) {
  const double part = change(target, from.output) / change(to.output, from.output);
  return std::clamp(std::lerp(from.input, to.input, part), from.input, to.input);
}

// A result that is off the target by this share of the change between two steps is taken for being at it:
// what is left there of a value sought to the last digit comes from calculating it. A jump is larger.
constexpr double kReached = 1e-6;

// Between two points on opposite sides of the target.
void add_between(Crossings& found, const StepPoint& from, const StepPoint& to, double target,
                 const std::optional<std::span<const SoughtPoint>>& sought) {
  if (!sought) {
    found.reached.push_back({crossing_between(from, to, target), Crossing::Place::kLine});
    return;
  }
  const auto point = std::find_if(sought->begin(), sought->end(), [&](const SoughtPoint& each) {
    return from.input <= each.value && each.value <= to.input;
  });
  if (point == sought->end()) return;
  const double off = std::fabs(change(point->result, target));
  if (off <= kReached * std::fabs(change(to.output, from.output)))
    found.reached.push_back({point->value, Crossing::Place::kModel});
  else
    found.passed.push_back(point->value);
}

// The points beside the base value that no failed step keeps apart from it, and the one at it.
struct Neighbours {
  const StepPoint* below = nullptr;
  const StepPoint* above = nullptr;
  const StepPoint* at = nullptr;
};

Neighbours neighbours_of(const NumberRules& rules, std::span<const StepPoint> curve, double base) {
  Neighbours found;
  for (const StepPoint& point : curve) {
    const double distance = rules.difference(point.input, base);
    const StepPoint*& place = distance < 0 ? found.below : distance == 0 ? found.at : found.above;
    place = &point;
    if (distance > 0) break;
  }
  if (found.below && found.below->before_failure) found.below = nullptr;
  if (found.above && found.above->after_failure) found.above = nullptr;
  return found;
}

}  // namespace

StepCurve step_curve(const DralInputOutput& input, std::int32_t output) {
  const NumberRules& rules = input.rules();
  std::vector<StepPoint> steps;
  steps.reserve(static_cast<std::size_t>(std::max(input.numSteps, 0)));
  for (std::int32_t step = 1; step <= input.numSteps; ++step) {
    const double value = input.InputValuesUsed(step);
    if (!rules.is_usable(value)) continue;
    const double result = input.OutputValuesCalculated(output, step);
    steps.push_back({value, rules.is_usable(result) ? result : std::numeric_limits<double>::quiet_NaN()});
  }
  return step_curve(std::move(steps));
}

StepCurve step_curve(std::vector<StepPoint> steps) {
  const auto by_input = [](const StepPoint& a, const StepPoint& b) { return a.input < b.input; };
  if (!std::is_sorted(steps.begin(), steps.end(), by_input))
    std::stable_sort(steps.begin(), steps.end(), by_input);
  StepCurve curve;
  curve.reserve(steps.size());
  bool failed = false;
  for (StepPoint& step : steps) {
    if (!std::isnan(step.output)) {
      step.after_failure = failed;
      curve.push_back(step);
    } else if (!curve.empty()) {
      curve.back().before_failure = true;
    }
    failed = std::isnan(step.output);
  }
  return curve;
}

OutputTarget wanted_target(const std::optional<double>& asked, OutputTarget own) {
  if (!asked || *asked == own.value) return own;
  return {.value = *asked};
}

std::vector<std::size_t> sides_changed(std::span<const StepPoint> curve, double target) {
  const Sides sides(curve, target);
  std::vector<std::size_t> found;
  for (std::size_t i = 1; i < curve.size(); ++i)
    if (const int side = sides.of(curve[i]);
        side != 0 && side == -sides.of(curve[i - 1]) && !curve[i].after_failure)
      found.push_back(i);
  return found;
}

Crossings crossings(std::span<const StepPoint> curve, double target,
                    std::optional<std::span<const SoughtPoint>> sought) {
  const Sides sides(curve, target);
  Crossings found;
  const auto joined = [&](std::size_t at) { return at > 0 && at < curve.size() && !curve[at].after_failure; };
  const auto at_target = [&](std::size_t at) { return joined(at) && sides.of(curve[at]) == 0; };
  const std::vector<std::size_t> changed = sides_changed(curve, target);
  for (std::size_t i = 0, next = 0; i < curve.size(); ++i) {
    if (next < changed.size() && changed[next] == i) {
      add_between(found, curve[i - 1], curve[i], target, sought);
      ++next;
    } else if (sides.of(curve[i]) == 0) {
      const bool inside_stretch = joined(i) && sides.of(curve[i - 1]) == 0 && at_target(i + 1);
      const bool told = !found.reached.empty() && found.reached.back().input == curve[i].input;
      if (!inside_stretch && !told) found.reached.push_back({curve[i].input, Crossing::Place::kStep});
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
  // In halves, as the distances are.
  const double rounding = NumberRules::kRounding * largest_result(curve) / 2;
  if (change(highest.output, std::max(first.output, last.output)) > rounding) shape.peak = highest;
  if (change(lowest.output, std::min(first.output, last.output)) < -rounding) shape.valley = lowest;
  const double width = change(last.input, first.input);
  if (width == 0) return shape;
  double largest = 0;
  for (const StepPoint& point : curve) {
    const double on_line = std::lerp(first.output, last.output, change(point.input, first.input) / width);
    const double distance = std::fabs(change(point.output, on_line));
    if (distance > rounding) largest = std::max(largest, distance);
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

// They stand by input.
std::span<const SoughtPoint> of_input(std::span<const SoughtPoint> sought, std::int32_t input) {
  const auto first = std::ranges::lower_bound(sought, input, {}, &SoughtPoint::input);
  const auto last = std::ranges::upper_bound(sought, input, {}, &SoughtPoint::input);
  return {first, last};
}

void draw(const StepCurve& curve, InputAnswers& answers) {
  const std::size_t points = std::min(curve.size(), InputAnswers::kPicturePoints);
  for (std::size_t i = 0; i < points; ++i)
    answers.curve.push_back(curve[points > 1 ? i * (curve.size() - 1) / (points - 1) : 0]);
  if (curve.empty()) return;
  const auto [least, greatest] = std::ranges::minmax_element(curve, {}, &StepPoint::output);
  answers.least = least->output;
  answers.greatest = greatest->output;
}

InputAnswers answers_of_input(const DralInputOutput& input, std::int32_t output,
                              const DralInputOutput& result, const OutputTarget& target) {
  const NumberRules& rules = input.rules();
  InputAnswers answers;
  answers.rank = input.rank(output);
  answers.facts = step_facts(input, output, result.BaseValue());
  const StepCurve curve = step_curve(input, output);
  draw(curve, answers);
  if (answers.facts.failed == answers.facts.steps) return answers;
  const double low = input.outputMinValue(output);
  const double high = input.outputMaxValue(output);
  answers.swing = usable(rules, rules.difference(high, low)).value_or(0);
  if (const auto fall = usable(rules, rules.difference(low, result.BaseValue())))
    answers.downside = std::min(*fall, 0.0);
  if (const auto rise = usable(rules, rules.difference(high, result.BaseValue())))
    answers.upside = std::max(*rise, 0.0);
  if (!answers.facts.without_effect()) {
    std::optional<std::span<const SoughtPoint>> sought;
    if (target.sought) sought = of_input(*target.sought, input.ioIndex);
    answers.break_even = crossings(curve, target.value, sought);
  }
  answers.shape = shape_of(rules, curve);
  if (input.IsDate || result.IsDate) return answers;
  answers.elasticity = elasticity(rules, curve, {.input = input.BaseValue(), .output = result.BaseValue()});
  answers.arc_elasticity = arc_elasticity(curve);
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

OutputAnswers answers_of(const Records& inputs, const Records& outputs, std::int32_t output,
                         const OutputTarget& target) {
  const DralInputOutput& result = outputs(output);
  OutputAnswers answers{.output = output,
                        .target = target.value,
                        .asked_model = target.sought.has_value(),
                        .base = usable(result.rules(), result.BaseValue()),
                        .inputs = {}};
  answers.inputs.reserve(static_cast<std::size_t>(inputs.size()));
  for (std::int32_t i = 1; i <= inputs.size(); ++i) {
    answers.inputs.push_back(answers_of_input(inputs(i), output, result, target));
    answers.inputs.back().input = i;
  }
  std::stable_sort(answers.inputs.begin(), answers.inputs.end(),
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
