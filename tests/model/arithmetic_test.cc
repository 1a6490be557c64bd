// Counting, decimal places, and what is said of an input's steps.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "host/error.h"
#include "model/combinations.h"
#include "model/decimal.h"
#include "model/step_facts.h"

namespace ordvane::model {
namespace {

TEST(Combinations, AreCountedIn32Bits) {
  struct Case {
    std::int16_t n, k;
    std::int32_t count;  // -1: overflow
  };
  for (const Case& c :
       {Case{4, 2, 6}, Case{3, 3, 1}, Case{2, 3, 0}, Case{0, 1, 0}, Case{5, 0, 0}, Case{-4, -2, 0},
        Case{32, 5, 201376}, Case{2000, 3, -1}, Case{32767, 1, 32767}, Case{20, 13, -1}, Case{100, 100, 1}}) {
    SCOPED_TRACE(std::to_string(c.n) + " over " + std::to_string(c.k));
    try {
      EXPECT_EQ(Combinations(c.n, c.k), c.count);
    } catch (const host::Error& error) {
      EXPECT_EQ(error.code(), host::errc::kOverflow);
      EXPECT_EQ(c.count, -1);
    }
  }
}

TEST(DecimalExponent, ChangesAtThePowersOfTenOnly) {
  for (int exponent = -307; exponent <= 308; ++exponent) {
    const double power = power_of_ten(exponent);
    EXPECT_EQ(decimal_exponent(power), exponent);
    EXPECT_EQ(decimal_exponent(-std::nextafter(power, 0)), exponent - 1);
    if (exponent >= 0 && exponent <= 22) {
      EXPECT_EQ(std::fmod(power, std::ldexp(1.0, exponent)), 0) << "10^" << exponent << " is exact";
    }
  }
  EXPECT_EQ(decimal_exponent(0), 0);
  EXPECT_EQ(power_of_ten(-400), 0);
  EXPECT_EQ(power_of_ten(400), std::numeric_limits<double>::infinity());
}

// 0.6 / 0.2 is a hair below 3, and 0.56 / 0.02 a hair above 28.
TEST(RoundStep, BoundsOfAMultipleAreThatMultiple) {
  for (const double digit : {1.0, 2.0, 5.0}) {
    for (int exponent = -6; exponent <= 2; ++exponent) {
      const RoundStep step{digit, exponent};
      for (int count = -99; count <= 99; ++count) {
        EXPECT_EQ(step.not_above(step.times(count)), step.times(count));
        EXPECT_EQ(step.not_below(step.times(count)), step.times(count));
        EXPECT_EQ(step.not_above(step.times(count + 0.5)), step.times(count));
        EXPECT_EQ(step.not_below(step.times(count + 0.5)), step.times(count + 1));
      }
    }
  }
}

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
