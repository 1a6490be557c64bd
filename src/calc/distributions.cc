#include "calc/distributions.h"

#include <cmath>
#include <limits>

namespace ordvane::calc {
namespace {

constexpr double kHalfRoot = 0.7071067811865475;  // of 2, halved
constexpr double kPrecision = std::numeric_limits<double>::epsilon();
constexpr double kTiny = 1e-300;
constexpr int kSteps = 100000;

template <std::size_t count>
double polynomial(const double (&coefficients)[count], double x) {
  double sum = coefficients[0];
  for (std::size_t i = 1; i < count; ++i) sum = sum * x + coefficients[i];
  return sum;
}

double gamma_factor(double shape, double x) {
  return std::exp(shape * std::log(x) - x - std::lgamma(shape));
}

double gamma_series(double shape, double x) {
  double term = 1 / shape, sum = term;
  for (int n = 1; n < kSteps; ++n) {
    term *= x / (shape + n);
    sum += term;
    if (std::fabs(term) < std::fabs(sum) * kPrecision) break;
  }
  return sum * gamma_factor(shape, x);
}

// Keeps the parts of a continued fraction off zero.
double off_zero(double x) {
  return std::fabs(x) < kTiny ? kTiny : x;
}

double gamma_fraction(double shape, double x) {
  double b = x + 1 - shape, c = 1 / kTiny, d = 1 / off_zero(b), result = d;
  for (int n = 1; n < kSteps; ++n) {
    const double a = -n * (n - shape);
    b += 2;
    d = 1 / off_zero(a * d + b);
    c = off_zero(b + a / c);
    result *= d * c;
    if (std::fabs(d * c - 1) < kPrecision) break;
  }
  return result * gamma_factor(shape, x);
}

double beta_fraction(double x, double a, double b) {
  double c = 1, d = 1 / off_zero(1 - (a + b) * x / (a + 1)), result = d;
  for (int m = 1; m < kSteps; ++m) {
    const double even = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m));
    d = 1 / off_zero(1 + even * d);
    c = off_zero(1 + even / c);
    result *= d * c;
    const double odd = -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1));
    d = 1 / off_zero(1 + odd * d);
    c = off_zero(1 + odd / c);
    result *= d * c;
    if (std::fabs(d * c - 1) < kPrecision) break;
  }
  return result;
}

}  // namespace

double standard_normal(double x) {
  return 0.5 * std::erfc(-x * kHalfRoot);
}

double standard_normal_density(double x) {
  return 0.3989422804014327 * std::exp(-(x * x) / 2);
}

// Wichura's rational approximations, Applied Statistics algorithm AS 241.
double standard_normal_inverse(double p) {
  static constexpr double kMiddleTop[] = {2509.0809287301226727, 33430.575583588128105, 67265.770927008700853,
                                          45921.953931549871457, 13731.693765509461125, 1971.5909503065514427,
                                          133.14166789178437745, 3.387132872796366608};
  static constexpr double kMiddleBottom[] = {
      5226.495278852854561,  28729.085735721942674, 39307.89580009271061,  21213.794301586595867,
      5394.1960214247511077, 687.1870074920579083,  42.313330701600911252, 1.0};
  static constexpr double kSideTop[] = {
      7.7454501427834140764e-4, 0.0227238449892691845833, 0.24178072517745061177, 1.27045825245236838258,
      3.64784832476320460504,   5.7694972214606914055,    4.6303378461565452959,  1.42343711074968357734};
  static constexpr double kSideBottom[] = {
      1.05075007164441684324e-9, 5.475938084995344946e-4, 0.0151986665636164571966, 0.14810397642748007459,
      0.68976733498510000455,    1.6763848301838038494,   2.05319162663775882187,   1.0};
  static constexpr double kTailTop[] = {
      2.01033439929228813265e-7, 2.71155556874348757815e-5, 0.0012426609473880784386, 0.026532189526576123093,
      0.29656057182850489123,    1.7848265399172913358,     5.4637849111641143699,    6.6579046435011037772};
  static constexpr double kTailBottom[] = {
      2.04426310338993978564e-15, 1.4215117583164458887e-7, 1.8463183175100546818e-5, 7.868691311456132591e-4,
      0.0148753612908506148525,   0.13692988092273580531,   0.59983220655588793769,   1.0};
  const double q = p - 0.5;
  if (std::fabs(q) <= 0.425) {
    const double r = 0.180625 - q * q;
    return polynomial(kMiddleTop, r) * q / polynomial(kMiddleBottom, r);
  }
  const double r = std::sqrt(-std::log(q < 0 ? p : 1 - p));
  const double size = r <= 5 ? polynomial(kSideTop, r - 1.6) / polynomial(kSideBottom, r - 1.6)
                             : polynomial(kTailTop, r - 5) / polynomial(kTailBottom, r - 5);
  return q < 0 ? -size : size;
}

double lower_gamma(double shape, double x) {
  if (x <= 0) return 0;
  return x < shape + 1 ? gamma_series(shape, x) : 1 - gamma_fraction(shape, x);
}

double upper_gamma(double shape, double x) {
  if (x <= 0) return 1;
  return x < shape + 1 ? 1 - gamma_series(shape, x) : gamma_fraction(shape, x);
}

double incomplete_beta(double x, double a, double b) {
  if (x <= 0) return 0;
  if (x >= 1) return 1;
  const double factor =
      std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + a * std::log(x) + b * std::log1p(-x));
  return x < (a + 1) / (a + b + 2) ? factor * beta_fraction(x, a, b) / a
                                   : 1 - factor * beta_fraction(1 - x, b, a) / b;
}

}  // namespace ordvane::calc
