// Distributions of probability and their inverses.
#pragma once

namespace ordvane::calc {

double standard_normal(double x);  // probability of at most x
double standard_normal_density(double x);
double standard_normal_inverse(double p);  // 0 < p < 1

// Regularised incomplete functions; NaN where the series do not converge.
double lower_gamma(double shape, double x);  // P(shape, x)
double upper_gamma(double shape, double x);
double incomplete_beta(double x, double a, double b);

// The x at which a growing function of x has a value, between two bounds.
template <class Growing>
double inverse_of(const Growing& growing, double value, double low, double high) {
  for (int step = 0; step < 2000; ++step) {
    const double middle = low + (high - low) / 2;
    if (middle <= low || middle >= high) return middle;
    (growing(middle) < value ? low : high) = middle;
  }
  return low + (high - low) / 2;
}

}  // namespace ordvane::calc
