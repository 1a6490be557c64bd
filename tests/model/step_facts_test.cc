#include "model/step_facts.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace ordvane::model {
namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

TEST(StepFactsTest, TellsWhatTheEndsOfABarDoNot) {
  const struct {
    const char* what;
    double base;
    std::vector<double> values, results;
    double output_base;
    std::int32_t failed;
    bool moves, leaves_out_base, without_effect;
  } kCases[] = {
      {"around the base", 10, {9, 10, 11}, {1, 2, 3}, 2, 0, true, false, false},
      {"around the base, not at it", 10, {9, 11}, {1, 3}, 2, 0, true, false, false},
      {"around the base, which turns", 10, {9, 11}, {1, 3}, 4, 0, true, true, false},
      {"above the base alone", 10, {11, 12}, {3, 4}, 2, 0, true, true, false},
      {"one step that moves", 10, {11}, {3}, 2, 0, true, true, false},
      {"one step at the base", 10, {10}, {2}, 2, 0, false, false, true},
      {"nothing moves", 10, {9, 10, 11}, {2, 2, 2 + 1e-15}, 2, 0, false, false, true},
      {"a failed step may hide an effect", 10, {9, 10, 11}, {2, kNaN, 2}, 2, 1, false, false, false},
      {"all failed", 10, {9, 10}, {kNaN, kNaN}, 2, 2, false, false, false},
      {"no base of the input", kNaN, {9, 10}, {1, 2}, 1, 0, true, false, false},
      {"steps beside the base that do nothing", 10, {11, 12}, {2, 2}, 2, 0, false, false, true},
      {"one step, and nothing to compare it with", 10, {11}, {3}, kNaN, 0, false, true, false},
      {"no base of the output", 10, {11, 12}, {1, 2}, kNaN, 0, true, true, false},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.what);
    DralInputOutput input;
    input.numSteps = static_cast<std::int32_t>(c.values.size());
    input.set_BaseValue(c.base);
    input.inputValuesUsedInit(input.numSteps);
    input.outputValuesCalculatedInit(1, input.numSteps);
    for (std::int32_t step = 1; step <= input.numSteps; ++step) {
      input.InputValuesUsedPut(step, c.values[static_cast<std::size_t>(step - 1)]);
      input.OutputValuesCalculatedPut(1, step, c.results[static_cast<std::size_t>(step - 1)]);
    }
    const StepFacts facts = step_facts(input, 1, c.output_base);
    EXPECT_EQ(facts.failed, c.failed);
    EXPECT_EQ(facts.moves, c.moves);
    EXPECT_EQ(facts.leaves_out_base, c.leaves_out_base);
    EXPECT_EQ(facts.without_effect(), c.without_effect);
  }
}

}  // namespace
}  // namespace ordvane::model
