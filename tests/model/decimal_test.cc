#include "model/decimal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ordvane::model {
namespace {

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

}  // namespace
}  // namespace ordvane::model
