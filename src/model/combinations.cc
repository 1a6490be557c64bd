#include "model/combinations.h"

#include <cmath>
#include <limits>

#include "host/error.h"

namespace ordvane::model {
namespace {

// Product of first, first + 1, … last in 32 bits.
std::int32_t product(std::int32_t first, std::int32_t last) {
  std::int64_t result = 1;
  for (std::int32_t factor = first; factor <= last; ++factor) {
    result *= factor;
    if (result > std::numeric_limits<std::int32_t>::max())
      throw host::Error(host::errc::kOverflow, "Too many combinations to count");
  }
  return static_cast<std::int32_t>(result);
}

}  // namespace

std::int32_t Combinations(std::int16_t n, std::int16_t k) {
  if (n < 1 || k < 1 || k > n) return 0;
  if (k == n) return 1;
  return static_cast<std::int32_t>(
      std::nearbyint(static_cast<double>(product(n - k + 1, n)) / static_cast<double>(product(1, k))));
}

}  // namespace ordvane::model
