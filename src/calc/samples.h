// What several functions know of a sample: means, squares about the mean, order.
#pragma once

#include <cstdint>
#include <vector>

#include "calc/call.h"

namespace ordvane::calc {

using Numbers = std::vector<double>;

// The numbers of the arguments from `first` on, as SUM takes them; of all arguments those of the last come
// first.
Numbers numbers_from(Call& call, int first);
Numbers numbers_of(Call& call, int argument);
Numbers sorted_numbers_of(Call& call, int argument);

double mean_of(const Numbers& numbers);
// Sum of the squared distances from the mean, added up plainly.
double squares_about_mean(const Numbers& numbers);

// A share from 0 to 1 of the way through sorted numbers, between two of them by their distance. Not for no
// numbers.
double at_share(const Numbers& sorted, double share);

// Pairs of which both are numbers.
struct Pairs {
  Numbers x, y;
};
// Fails with kArgument for blocks of different sizes, and with `too_few` for less than `least` pairs.
Pairs pairs_of(Call& call, int x_argument, int y_argument, std::size_t least);

// Sums over the pairs, with their rounding errors carried along.
struct PairSums {
  double mean_x = 0, mean_y = 0;
  double xx = 0, yy = 0, xy = 0;  // of products of distances from the means
};
PairSums sums_of(const Pairs& pairs);

}  // namespace ordvane::calc
