// Large vectors that all processors fill and give back.
#include "host/unset_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <span>

#include "host/side_by_side.h"

namespace ordvane::host {
namespace {

// Vectors have what is no whole page at their ends, which lies beside others'.
TEST(UnsetMemory, IsGivenBackWithoutItsNeighbours) {
  constexpr std::size_t kLarge = (std::size_t{48} << 20U) / sizeof(double);
  for (const std::size_t odd : {0U, 1U, 77U, 511U}) {
    const auto one = std::make_unique<double[]>((kLarge + odd) * 3);
    const std::span<double> all(one.get(), (kLarge + odd) * 3);
    fill_side_by_side(all, 2.5);
    const auto middle = all.subspan(kLarge + odd, kLarge + odd);
    give_back_side_by_side(middle.data(), middle.size_bytes());
    EXPECT_EQ(middle[kLarge / 2], 0) << "nothing was given back";
    EXPECT_TRUE(std::ranges::all_of(all.first(kLarge + odd), [](double value) { return value == 2.5; }));
    EXPECT_TRUE(std::ranges::all_of(all.last(kLarge + odd), [](double value) { return value == 2.5; }));
  }
  UnsetVector<double> values(kLarge, 1.0);
  values.resize(kLarge * 2);  // elsewhere, and the old ones are given back
  fill_side_by_side(std::span(values).subspan(kLarge), 3.0);
  EXPECT_EQ(std::ranges::count(values, 1.0), kLarge);
  EXPECT_EQ(std::ranges::count(values, 3.0), kLarge);
}

}  // namespace
}  // namespace ordvane::host
