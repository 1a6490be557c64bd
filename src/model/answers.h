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
  // A step between the point before it, or the one after it, and this one has no result.
  bool after_failure = false, before_failure = false;
};
// Those of one input, by the input's value; points at equal values in the order of the steps.
using StepCurve = std::vector<StepPoint>;
StepCurve step_curve(const DralInputOutput& input, std::int32_t output);
// Of steps in any order. An output that is NaN is no result.
StepCurve step_curve(std::vector<StepPoint> steps);

// Where the model was asked again, between two neighbouring steps on opposite sides of the target, as near to
// the target as the search came.
struct SoughtPoint {
  std::int32_t input = 0;  // the engine's index of the input
  double value = 0;
  double result = 0;  // of the output there; NaN: the model has no number between the steps
};
// What an output is to reach.
struct OutputTarget {
  double value = 0;
  // One for each two neighbouring steps on opposite sides, by input and value; none: the model was not asked.
  std::optional<std::vector<SoughtPoint>> sought = {};
};
// `asked`, where it is there: what the model was asked for holds for an output's own target alone.
OutputTarget wanted_target(const std::optional<double>& asked, OutputTarget own);
// The positions of the points that lie on the other side of the target than the point before them, neither
// being at it.
std::vector<std::size_t> sides_changed(std::span<const StepPoint> curve, double target);

// A value of the input at which the output is at its target.
struct Crossing {
  enum class Place : std::uint8_t {
    kStep,   // a step's own
    kLine,   // between two neighbours, on the straight line between them
    kModel,  // between two neighbours, where the model was asked
  };
  double input = 0;
  Place place = Place::kLine;
};
struct Crossings {
  // All of a curve, ascending, each once. Of neighbouring steps that all are at the target, the first and the
  // last are told.
  std::vector<Crossing> reached;
  // Where the model was asked and the output passes the target without being at it: a jump, or no number.
  std::vector<double> passed;
};
// `sought`: those of the curve's input; none: the model was not asked.
Crossings crossings(std::span<const StepPoint> curve, double target,
                    std::optional<std::span<const SoughtPoint>> sought = {});

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
  // For a picture: at most so many points of the curve, evenly picked, both ends among them; and the least
  // and the greatest result of all points. No points, no results.
  static constexpr std::size_t kPicturePoints = 9;
  StepCurve curve;
  double least = 0, greatest = 0;
  double swing = 0;  // 0 also without results
  // Of the squared swings of all inputs of the output: this input's, and that of all up to its rank. None
  // where no input moves the output.
  std::optional<double> share, cumulative_share;
  // The lowest and the highest result as changes from the output's base value; 0 where no result lies below
  // it, or above. None without results or base value.
  std::optional<double> downside, upside;
  // Neither of dates, whose zero means nothing.
  std::optional<double> elasticity, arc_elasticity;
  Crossings break_even;  // none of an input without effect
  Shape shape;
};
// What all inputs say about one output.
struct OutputAnswers {
  std::int32_t output = 0;  // position in the output records, from 1
  double target = 0;
  bool asked_model = false;  // for the values that reach the target
  std::optional<double> base;
  std::vector<InputAnswers> inputs;  // by rank
};
// `output`: position in `outputs`, for which data retrieval has filled `inputs`.
OutputAnswers answers_of(const Records& inputs, const Records& outputs, std::int32_t output,
                         const OutputTarget& target);

// In which order inputs are told: by swing, by how far the output falls or rises (both largest first), or by
// the size of the elasticity. Inputs without the figure come last; equal ones keep the order of their ranks.
enum class SortBy : std::uint8_t { kSwing, kDownside, kUpside, kElasticity };
// Positions in `answers`, which stand by rank.
std::vector<std::size_t> sorted_by(SortBy order, std::span<const InputAnswers> answers);

}  // namespace ordvane::model
