// What the steps of a run answer beyond the ends of a bar: at which value of an input an output reaches a
// target, how straight the way there is, and how much of an output's movement each input makes. Arithmetic on
// records that data retrieval has filled; sheets, terminal and files show the same figures.
//
// Only what was calculated counts: steps whose result is no number are left out and counted, and nothing is
// drawn across them; nothing is continued beyond the least and the greatest value that were tried. A figure
// that is not defined is std::nullopt. Differences that calculating leaves behind (NumberRules::kRounding)
// are none.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "model/input_output.h"
#include "model/number_rules.h"
#include "model/step_facts.h"

namespace ordvane::model {

// A step with numbers: what the input was set to, and what the output came to.
struct StepPoint {
  double input = 0, output = 0;
  bool after_failure = false;  // between the point before it and this one a step has no result
};
// Those of one input, by the input's value; points at equal values in the order of the steps.
using StepCurve = std::vector<StepPoint>;
StepCurve step_curve(const DralInputOutput& input, std::int32_t output);

// A value of the input at which the output is at its target: a step's own, or between two neighbours, on the
// straight line between them.
struct Crossing {
  double input = 0;
  bool calculated = false;  // a step stands there
};
// All of a curve, ascending, each once. Of neighbouring steps that all are at the target, the first and the
// last are told.
std::vector<Crossing> crossings(std::span<const StepPoint> curve, double target);

struct Shape {
  // Of the results that lie strictly above, or strictly below, those at both ends of the curve: the extreme
  // one, and where it is. The first of equals.
  std::optional<StepPoint> peak, valley;
  // The largest distance of a result from the straight line between the ends, as a share of the swing. 0 for
  // two points; none for fewer and for a swing of 0.
  std::optional<double> bend;

  static constexpr double kNoticeableBend = 0.05;
  bool turns() const { return peak || valley; }
  bool bends() const { return bend && *bend >= kNoticeableBend; }
};
Shape shape_of(const NumberRules& rules, std::span<const StepPoint> curve);

// Percent of the output's base value for one percent of the input's, both in parts of the base's size, so
// that the sign says which way the output goes when the input grows. `base`: both base values, 0 for neither.
// From the steps next to the base value below and above it; where one side has none, from the base case and
// the step next to it. A neighbour that failed is none.
std::optional<double> elasticity(const NumberRules& rules, std::span<const StepPoint> curve,
                                 const StepPoint& base);
// The same between the ends of the curve, in parts of the sizes of the means of both values there. None where
// a mean is 0.
std::optional<double> arc_elasticity(std::span<const StepPoint> curve);

// What one input says about one output.
struct InputAnswers {
  std::int32_t input = 0;  // position in the input records, from 1
  std::int32_t rank = 0;   // by swing, from 1
  StepFacts facts;
  StepCurve curve;
  double swing = 0;  // 0 also without results
  // Of the squared swings of all inputs of the output: this input's, and that of all up to its rank. None
  // where no input moves the output.
  std::optional<double> share, cumulative_share;
  // The lowest and the highest result as changes from the output's base value; 0 where no result lies below
  // it, or above. None without results or base value.
  std::optional<double> downside, upside;
  // Neither of dates, whose zero means nothing.
  std::optional<double> elasticity, arc_elasticity;
  std::vector<Crossing> break_even;  // none of an input without effect
  Shape shape;
};
// What all inputs say about one output.
struct OutputAnswers {
  std::int32_t output = 0;  // position in the output records, from 1
  double target = 0;
  std::optional<double> base;
  std::vector<InputAnswers> inputs;  // by rank
};
// `output`: position in `outputs`, for which data retrieval has filled `inputs`.
OutputAnswers answers_of(const Records& inputs, const Records& outputs, std::int32_t output, double target);

// In which order inputs are told: by swing, by how far the output falls or rises (both largest first), or by
// the size of the elasticity. Inputs without the figure come last; equal ones keep the order of their ranks.
enum class SortBy : std::uint8_t { kSwing, kDownside, kUpside, kElasticity };
// Positions in `answers`, which stand by rank.
std::vector<std::size_t> sorted_by(SortBy order, std::span<const InputAnswers> answers);

}  // namespace ordvane::model
