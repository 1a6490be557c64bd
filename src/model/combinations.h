// How many groups of inputs there are.
#pragma once

#include <cstdint>

namespace ordvane::model {

// Number of k-subsets of n; 0 for none. Throws errc::kOverflow when it, or a product on the way to it, does
// not fit 32 bits.
std::int32_t Combinations(std::int16_t n, std::int16_t k);

}  // namespace ordvane::model
