// Break-even, shape, shares and elasticities of runs whose answers are known.
#include "model/answers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace ordvane::model {
namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kNo = -99;  // stands for no figure

struct Case {
  const char* what;
  StepPoint base;
  std::vector<double> values, results;
  double target;
  std::vector<double> break_even;
  std::vector<bool> calculated;
  double peak_at, valley_at, bend;  // kNo: there is none
  double elasticity, arc_elasticity;
};

const Case kCases[] = {
    {"a line", {10, 20}, {8, 9, 11, 12}, {16, 18, 22, 24}, 21, {10.5}, {false}, kNo, kNo, 0, 1, 1},
    {"unsorted steps", {10, 20}, {12, 8, 10}, {24, 16, 20}, 20, {10}, {true}, kNo, kNo, 0, 1, 1},
    {"a root beyond", {2, 4}, {1, 2, 3}, {1, 4, 9}, 10, {}, {}, kNo, kNo, 0.125, 2, 1.6},
    // 2 x^2 - 8 of the values -3 to 4.
    {"valley", {1, -6}, {-3, -1, 1, 4}, {10, -6, -6, 24}, 0, {-1.75, 1.6}, {0, 0}, kNo, -1, 0.8, 1, 1 / 17.},
    {"touched", {2, 1}, {1, 2, 3}, {4, 1, 4}, 1, {2}, {true}, kNo, 2, 1, 0, 0},
    {"flat", {3, 0}, {1, 2, 3, 4, 5}, {2, 0, 0, 0, -2}, 0, {2, 4}, {1, 1}, kNo, kNo, 0.25, kNo, kNo},
    {"failed between", {2, 1}, {1, 2, 3}, {-1, kNaN, 3}, 0, {}, {}, kNo, kNo, 0, kNo, 4},
    {"failed beside", {2, 4}, {1, 2, 3}, {kNaN, 4, 8}, 6, {2.5}, {false}, kNo, kNo, 0, 2, 5.0 / 3},
    {"nothing moves", {2, 0}, {1, 2, 3}, {0, 0, 0}, 0, {}, {}, kNo, kNo, kNo, kNo, kNo},
    {"one step", {2, 4}, {3}, {5}, 5, {3}, {true}, kNo, kNo, kNo, 0.5, kNo},
    {"a base of 0", {0, 4}, {-1, 1}, {3, 5}, 4, {0}, {false}, kNo, kNo, 0, kNo, kNo},
    {"falls below 0", {10, -5}, {9, 11}, {-4, -6}, 0, {}, {}, kNo, kNo, 0, -2, -2},
    {"all failed", {2, 4}, {1, 2}, {kNaN, kNaN}, 0, {}, {}, kNo, kNo, kNo, kNo, kNo},
    {"widest", {1, 1}, {0, 2}, {-1e308, 1e308}, 0, {1}, {false}, kNo, kNo, 0, 1e308, kNo},
    {"a jump", {1, 1}, {1, 2, 2, 3}, {1, 1, 3, 3}, 2, {2}, {false}, kNo, kNo, 0.5, 0, 1},
};

DralInputOutput item(double base) {
  DralInputOutput item;
  item.set_BaseValue(base);
  return item;
}

// As retrieval fills it for the only output.
DralInputOutput input_of(double base, const std::vector<double>& values, const std::vector<double>& results,
                         std::int32_t rank) {
  DralInputOutput input = item(base);
  input.numSteps = static_cast<std::int32_t>(values.size());
  input.inputValuesUsedInit(input.numSteps);
  input.outputValuesCalculatedInit(1, input.numSteps);
  double low = HUGE_VAL, high = -HUGE_VAL;
  for (std::size_t i = 0; i < values.size(); ++i) {
    input.InputValuesUsedPut(static_cast<std::int32_t>(i) + 1, values[i]);
    input.OutputValuesCalculatedPut(1, static_cast<std::int32_t>(i) + 1, results[i]);
    low = std::fmin(low, results[i]);
    high = std::fmax(high, results[i]);
  }
  input.outputMinValueInit(1);
  input.outputMaxValueInit(1);
  input.outputMinValuePut(1, low);
  input.outputMaxValuePut(1, high);
  input.outputRankInit(1);
  input.outputRankPut(1, rank);
  return input;
}

void expect_figure(const char* what, const std::optional<double>& figure, double expected) {
  EXPECT_EQ(figure.has_value(), expected != kNo) << what;
  if (figure && expected != kNo) {
    EXPECT_NEAR(*figure, expected, std::fabs(expected) * 1e-12) << what;
  }
}

TEST(Answers, OfOneInput) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    const InputAnswers answers = answers_of(Records{input_of(c.base.input, c.values, c.results, 1)},
                                            Records{item(c.base.output)}, 1, {c.target})
                                     .inputs.at(0);
    ASSERT_EQ(answers.break_even.reached.size(), c.break_even.size());
    for (std::size_t i = 0; i < c.break_even.size(); ++i) {
      EXPECT_DOUBLE_EQ(answers.break_even.reached[i].input, c.break_even[i]);
      EXPECT_EQ(answers.break_even.reached[i].place == Crossing::Place::kStep, c.calculated[i]);
    }
    const auto place = [](const std::optional<StepPoint>& point) {
      return point ? std::optional(point->input) : std::nullopt;
    };
    expect_figure("peak", place(answers.shape.peak), c.peak_at);
    expect_figure("valley", place(answers.shape.valley), c.valley_at);
    expect_figure("bend", answers.shape.bend, c.bend);
    expect_figure("elasticity", answers.elasticity, c.elasticity);
    expect_figure("arc elasticity", answers.arc_elasticity, c.arc_elasticity);
  }
}

// Answers of the model stand in the place of lines; what is off the target by more than calculating leaves
// behind is a jump, and so is a value without a result.
TEST(Answers, TellsAnswersOfTheModelFromJumps) {
  const Records inputs{input_of(2, {1, 2, 3, 4, 5, 6}, {-1, 1, -1, 1, 1, -1}, 1)};
  const OutputTarget asked{.value = 0,
                           .sought = {{{0, 1.25, 1e-7}, {0, 2.5, -0.4}, {0, 3.5, kNaN}, {0, 5.5, 0}}}};
  const OutputAnswers answers = answers_of(inputs, Records{item(1)}, 1, asked);
  std::vector<double> reached;
  for (const Crossing& crossing : answers.inputs[0].break_even.reached) {
    EXPECT_EQ(crossing.place, Crossing::Place::kModel);
    reached.push_back(crossing.input);
  }
  EXPECT_EQ(reached, (std::vector<double>{1.25, 5.5}));
  EXPECT_EQ(answers.inputs[0].break_even.passed, (std::vector<double>{2.5, 3.5}));
  EXPECT_TRUE(wanted_target(0, asked).sought);
  EXPECT_FALSE(wanted_target(0.5, asked).sought) << "another target than the model was asked for";
}

TEST(Answers, SharesAndOrders) {
  const auto input = [](const std::vector<double>& results, std::int32_t rank) {
    return input_of(2, {1, 3}, results, rank);
  };
  const Records inputs{input({10, 13}, 2), input({6, 10}, 1), input({kNaN, kNaN}, 4), input({10, 10}, 3)};
  const OutputAnswers answers = answers_of(inputs, Records{item(10)}, 1, {});
  const double kShares[] = {16.0 / 25, 9.0 / 25, 0, kNo}, kSums[] = {16.0 / 25, 1, 1, kNo};
  const double kDown[] = {-4, 0, 0, kNo}, kUp[] = {0, 3, 0, kNo};
  for (std::size_t i = 0; i < 4; ++i) {
    expect_figure("share", answers.inputs[i].share, kShares[i]);
    expect_figure("cumulative share", answers.inputs[i].cumulative_share, kSums[i]);
    expect_figure("downside", answers.inputs[i].downside, kDown[i]);
    expect_figure("upside", answers.inputs[i].upside, kUp[i]);
  }
  using Order = std::vector<std::size_t>;
  EXPECT_EQ(answers.inputs[0].input, 2);
  EXPECT_EQ(sorted_by(SortBy::kSwing, answers.inputs), (Order{0, 1, 2, 3}));
  EXPECT_EQ(sorted_by(SortBy::kDownside, answers.inputs), (Order{0, 1, 2, 3}));
  EXPECT_EQ(sorted_by(SortBy::kUpside, answers.inputs), (Order{1, 0, 2, 3}));
  EXPECT_EQ(sorted_by(SortBy::kElasticity, answers.inputs), (Order{0, 1, 2, 3}));
}

}  // namespace
}  // namespace ordvane::model
