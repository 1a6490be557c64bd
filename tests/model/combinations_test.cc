#include "model/combinations.h"

#include <gtest/gtest.h>

#include "host/error.h"

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

}  // namespace
}  // namespace ordvane::model
