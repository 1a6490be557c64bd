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

}  // namespace
}  // namespace ordvane::model
