// Functions of distributions, under their names of today and those of before 2010, and tests of samples.
#include <cmath>

#include "calc/distributions.h"
#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"
#include "calc/samples.h"

namespace ordvane::calc {
namespace {

constexpr auto kOutside = ErrorCode::kArgument;

// ---- Normal ----

Operand call_norm_dist(Call& call) {
  const double x = call.number(0);
  const double mean = call.number(1);
  const double deviation = call.number(2);
  const bool cumulative = call.logical(3);
  if (deviation <= 0) return kOutside;
  const double distance = (x - mean) / deviation;
  return cumulative ? standard_normal(distance) : standard_normal_density(distance) / deviation;
}

Operand call_norm_s_dist(Call& call) {
  const double x = call.number(0);
  if (call.logical(1, true)) return standard_normal(x);
  return std::exp(-(x * x) / 2) / std::sqrt(2 * 3.141592653589793);  // one digit apart from PHI
}

Operand call_norm_inv(Call& call) {
  const double p = call.number(0);
  const double mean = call.number(1);
  const double deviation = call.number(2);
  if (deviation <= 0 || p <= 0 || p >= 1) return kOutside;
  return standard_normal_inverse(p) * deviation + mean;
}

Operand call_norm_s_inv(Call& call) {
  const double p = call.number(0);
  return p <= 0 || p >= 1 ? Operand(kOutside) : Operand(standard_normal_inverse(p));
}

Operand call_phi(Call& call) {
  return standard_normal_density(call.number(0));
}

Operand call_gauss(Call& call) {
  return 0.5 * std::erf(call.number(0) * 0.7071067811865475);
}

Operand call_lognorm_dist(Call& call) {
  const double x = call.number(0);
  const double mean = call.number(1, 0);
  const double deviation = call.number(2, 1);
  const bool cumulative = call.logical(3, true);
  if (deviation <= 0) return kOutside;
  if (x <= 0) return cumulative ? Operand(0.0) : Operand(kOutside);
  const double distance = (std::log(x) - mean) / deviation;
  return cumulative ? standard_normal(distance) : standard_normal_density(distance) / deviation / x;
}

Operand call_lognorm_inv(Call& call) {
  const double p = call.number(0);
  const double mean = call.number(1, 0);
  const double deviation = call.number(2, 1);
  if (deviation <= 0 || p <= 0 || p >= 1) return kOutside;
  return std::exp(mean + deviation * standard_normal_inverse(p));
}

Operand call_confidence(Call& call) {
  const double alpha = call.number(0);
  const double deviation = call.number(1);
  const double size = floor_of(call.number(2));
  if (alpha <= 0 || alpha >= 1 || deviation <= 0 || size < 1) return kOutside;
  return standard_normal_inverse(1 - alpha / 2) * deviation / std::sqrt(size);
}

Operand call_fisher(Call& call) {
  const double x = call.number(0);
  return std::fabs(x) >= 1 ? Operand(kOutside) : Operand(std::atanh(x));
}

Operand call_fisherinv(Call& call) {
  return std::tanh(call.number(0));
}

// ---- Waiting times ----

Operand call_expon_dist(Call& call) {
  const double x = call.number(0);
  const double rate = call.number(1);
  const bool cumulative = call.logical(2);
  if (rate <= 0 || x < 0) return kOutside;
  return cumulative ? 1 - std::exp(-rate * x) : rate * std::exp(-rate * x);
}

Operand call_weibull(Call& call) {
  const double x = call.number(0);
  const double shape = call.number(1);
  const double scale = call.number(2);
  const bool cumulative = call.logical(3);
  if (shape <= 0 || scale <= 0 || x < 0) return kOutside;
  if (cumulative) return 1 - std::exp(-std::pow(x / scale, shape));
  return shape / std::pow(scale, shape) * std::pow(x, shape - 1) * std::exp(-std::pow(x / scale, shape));
}

Operand call_gamma_dist(Call& call) {
  const double x = call.number(0);
  const double shape = call.number(1);
  const double scale = call.number(2);
  const bool cumulative = call.logical(3);
  if (shape <= 0 || scale <= 0 || x < 0) return kOutside;
  if (cumulative) return lower_gamma(shape, x / scale);
  if (x == 0 && shape <= 1) return shape < 1 ? Operand(ErrorCode::kDivision) : Operand(1 / scale);
  return std::exp((shape - 1) * std::log(x / scale) - x / scale - std::lgamma(shape)) / scale;
}

Operand call_gamma_inv(Call& call) {
  const double p = call.number(0);
  const double shape = call.number(1);
  const double scale = call.number(2);
  if (shape <= 0 || scale <= 0 || p < 0 || p >= 1) return kOutside;
  if (p == 0 || call.failed()) return 0.0;
  double high = shape + 1;
  while (high < 1e300 && lower_gamma(shape, high) < p) high *= 2;
  return scale * inverse_of([&](double x) { return lower_gamma(shape, x); }, p, 0, high);
}

// ---- Counts ----

// By multiplying factor after factor.
double binomial_density(double k, double n, double p) {
  const double q = 1 - p;
  double result = std::pow(q, n);
  if (result <= 2.2250738585072014e-308) {
    result = std::pow(p, n);
    for (double i = 0; i < n - k; ++i) result *= (n - i) / (i + 1) * q / p;
    return result;
  }
  for (double i = 0; i < k; ++i) result *= (n - i) / (i + 1) * p / q;
  return result;
}

double binomial_sum(double from, double to, double n, double p) {
  Sum sum;
  for (double k = from; k <= to; ++k) sum.add(binomial_density(k, n, p));
  return sum.result();
}

Operand call_binom_dist(Call& call) {
  const double k = floor_of(call.number(0));
  const double n = floor_of(call.number(1));
  const double p = call.number(2);
  const bool cumulative = call.logical(3);
  if (n < 0 || n > kMostSteps || k < 0 || k > n || p < 0 || p > 1) return kOutside;
  if (p == 0) return cumulative || k == 0 ? 1.0 : 0.0;
  if (p == 1) return k == n ? 1.0 : 0.0;
  if (!cumulative) return binomial_density(k, n, p);
  return k == n ? 1.0 : n > 10000 ? 1 - incomplete_beta(p, k + 1, n - k) : binomial_sum(0, k, n, p);
}

Operand call_binom_inv(Call& call) {
  const double n = floor_of(call.number(0));
  const double p = call.number(1);
  const double alpha = call.number(2);
  if (n < 0 || n > 1e6 || p < 0 || p > 1 || alpha < 0 || alpha > 1) return kOutside;
  if (p == 0 || alpha == 0) return 0.0;
  if (p == 1 || alpha == 1) return n;
  // Of many trials the product for each number of successes would take too long.
  constexpr double kFew = 1000;
  const auto density = [&](double k) {
    if (n <= kFew) return binomial_density(k, n, p);
    return std::exp(std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1) + k * std::log(p) +
                    (n - k) * std::log1p(-p));
  };
  double k = 0, sum = density(0);
  while (sum < alpha && k < n) sum += density(++k);
  return k;
}

Operand call_poisson(Call& call) {
  const double k = floor_of(call.number(0));
  const double mean = call.number(1);
  const bool cumulative = call.logical(2, true);
  if (k < 0 || k > kMostSteps || mean < 0) return kOutside;
  if (mean == 0) return cumulative || k == 0 ? 1.0 : 0.0;
  if (cumulative) return upper_gamma(k + 1, mean);
  if (mean > 712) return std::exp(k * std::log(mean) - mean - std::lgamma(k + 1));
  double product = 1;
  for (double i = 1; i <= k; ++i) product *= mean / i;
  return product * std::exp(-mean);
}

Operand call_negbinom(Call& call) {
  const double failures = floor_of(call.number(0));
  const double successes = floor_of(call.number(1));
  const double p = call.number(2);
  const bool cumulative = call.logical(3, false);
  if (failures < 0 || failures > kMostSteps || successes < 1 || failures + successes < 2 || p < 0 || p > 1)
    return kOutside;
  if (cumulative) return 1 - incomplete_beta(1 - p, failures + 1, successes);
  const double q = 1 - p;
  double factor = std::pow(p, successes);
  for (double i = 0; i < failures; ++i) factor *= (i + successes) / (i + 1) * q;
  return factor;
}

double log_combinations(double n, double k) {
  return std::lgamma(n + 1) - std::lgamma(k + 1) - std::lgamma(n - k + 1);
}

Operand call_hypgeom(Call& call) {
  const double x = floor_of(call.number(0));
  const double sample = floor_of(call.number(1));
  const double successes = floor_of(call.number(2));
  const double population = floor_of(call.number(3));
  const bool cumulative = call.logical(4, false);
  const double least = std::fmax(0, sample - population + successes);
  if (x < least || x > sample || x > successes || sample > population || successes > population || x < 0 ||
      x > kMostSteps)
    return kOutside;
  double sum = 0;
  for (double k = cumulative ? least : x; k <= x; ++k)
    sum += std::exp(log_combinations(successes, k) + log_combinations(population - successes, sample - k) -
                    log_combinations(population, sample));
  return sum;
}

// ---- Of samples ----

double chi_right(double x, double freedom) {
  return upper_gamma(freedom / 2, x / 2);
}

Operand chi_inverse(Call& call, bool right) {
  const double p = call.number(0);
  const double freedom = floor_of(call.number(1));
  if (p < 0 || p > 1 || freedom < 1 || (right ? p == 0 : p == 1)) return kOutside;
  if (call.failed()) return 0.0;
  const double left = right ? 1 - p : p;
  double high = freedom + 1;
  while (high < 1e300 && (right ? chi_right(high, freedom) > p : lower_gamma(freedom / 2, high / 2) < left))
    high *= 2;
  if (right) return inverse_of([&](double x) { return -chi_right(x, freedom); }, -p, 0, high);
  return inverse_of([&](double x) { return lower_gamma(freedom / 2, x / 2); }, left, 0, high);
}

Operand call_chisq_rt(Call& call) {
  const double x = call.number(0);
  const double freedom = floor_of(call.number(1));
  if (freedom < 1) return kOutside;
  return chi_right(x, freedom);
}

Operand call_chisq_dist(Call& call) {
  const double x = call.number(0);
  const double freedom = floor_of(call.number(1));
  const bool cumulative = call.logical(2);
  if (freedom < 1 || x < 0) return kOutside;
  if (cumulative) return lower_gamma(freedom / 2, x / 2);
  return std::exp((freedom / 2 - 1) * std::log(x / 2) - x / 2 - std::lgamma(freedom / 2)) / 2;
}

Operand call_chisq_inv_rt(Call& call) {
  return chi_inverse(call, true);
}
Operand call_chisq_inv(Call& call) {
  return chi_inverse(call, false);
}

double t_two_tails(double x, double freedom) {
  return incomplete_beta(freedom / (freedom + x * x), freedom / 2, 0.5);
}

double t_left(double x, double freedom) {
  const double tail = t_two_tails(x, freedom) / 2;
  return x < 0 ? tail : 1 - tail;
}

Operand call_tdist(Call& call) {
  const double x = call.number(0);
  const double freedom = floor_of(call.number(1));
  const double tails = floor_of(call.number(2));
  if (freedom < 1 || x < 0 || (tails != 1 && tails != 2)) return kOutside;
  return t_two_tails(x, freedom) / (3 - tails);
}

Operand call_t_dist(Call& call) {
  const double x = call.number(0);
  const double freedom = floor_of(call.number(1));
  const bool cumulative = call.logical(2);
  if (freedom < 1) return kOutside;
  if (cumulative) return t_left(x, freedom);
  return std::exp(std::lgamma((freedom + 1) / 2) - std::lgamma(freedom / 2)) /
         std::sqrt(freedom * 3.141592653589793) * std::pow(1 + x * x / freedom, -(freedom + 1) / 2);
}

template <bool two_tails>
Operand call_t_tail(Call& call) {
  const double x = call.number(0);
  const double freedom = floor_of(call.number(1));
  if (freedom < 1 || (two_tails && x < 0)) return kOutside;
  return two_tails ? t_two_tails(x, freedom) : 1 - t_left(x, freedom);
}

double t_inverse_two_tails(double p, double freedom) {
  double high = 1;
  while (high < 1e300 && t_two_tails(high, freedom) > p) high *= 2;
  return inverse_of([&](double x) { return -t_two_tails(x, freedom); }, -p, 0, high);
}

Operand call_t_inv_2t(Call& call) {
  const double p = call.number(0);
  const double freedom = floor_of(call.number(1));
  if (freedom < 1 || p <= 0 || p > 1) return kOutside;
  return call.failed() ? 0.0 : t_inverse_two_tails(p, freedom);
}

Operand call_t_inv(Call& call) {
  const double p = call.number(0);
  const double freedom = floor_of(call.number(1));
  if (freedom < 1 || p <= 0 || p >= 1) return kOutside;
  if (call.failed()) return 0.0;
  return p < 0.5 ? -t_inverse_two_tails(2 * p, freedom) : t_inverse_two_tails(2 * (1 - p), freedom);
}

double f_right(double x, double first, double second) {
  return incomplete_beta(second / (second + first * x), second / 2, first / 2);
}

constexpr double kTooMuchFreedom = 1e10;

template <bool right>
Operand call_f_dist(Call& call) {
  const double x = call.number(0);
  const double first = floor_of(call.number(1));
  const double second = floor_of(call.number(2));
  const bool cumulative = right || call.logical(3);
  if (x < 0 || first < 1 || second < 1 || std::max(first, second) >= kTooMuchFreedom) return kOutside;
  if (right) return f_right(x, first, second);
  if (cumulative) return 1 - f_right(x, first, second);
  const double a = first / 2, b = second / 2;
  return std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + a * std::log(first / second) +
                  (a - 1) * std::log(x) - (a + b) * std::log1p(first * x / second));
}

template <bool right>
Operand call_f_inv(Call& call) {
  const double p = call.number(0);
  const double first = floor_of(call.number(1));
  const double second = floor_of(call.number(2));
  if (first < 1 || second < 1 || std::max(first, second) >= kTooMuchFreedom) return kOutside;
  if (p < 0 || p > 1 || (right ? p == 0 : p == 1)) return kOutside;
  if (call.failed()) return 0.0;
  const double tail = right ? p : 1 - p;
  double high = 1;
  while (high < 1e300 && f_right(high, first, second) > tail) high *= 2;
  return inverse_of([&](double x) { return -f_right(x, first, second); }, -tail, 0, high);
}

// The range of a beta distribution is 0 to 1 unless two more arguments say otherwise.
struct BetaRange {
  double low = 0, width = 1;
};

BetaRange beta_range(Call& call, int argument) {
  BetaRange range;
  range.low = call.missing(argument) ? 0 : call.number(argument);
  range.width = (call.missing(argument + 1) ? 1 : call.number(argument + 1)) - range.low;
  return range;
}

Operand beta_density(double x, double a, double b, double width) {
  if (x <= 0 || x >= 1) return 0.0;
  return std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) + (a - 1) * std::log(x) +
                  (b - 1) * std::log1p(-x)) /
         width;
}

Operand beta(Call& call, bool cumulative, int range_argument) {
  const double x = call.number(0);
  const double a = call.number(1);
  const double b = call.number(2);
  const BetaRange range = beta_range(call, range_argument);
  if (a <= 0 || b <= 0 || range.width <= 0 || x < range.low || x > range.low + range.width) return kOutside;
  const double share = (x - range.low) / range.width;
  return cumulative ? Operand(incomplete_beta(share, a, b)) : beta_density(share, a, b, range.width);
}

Operand call_betadist(Call& call) {
  return beta(call, true, 3);
}
Operand call_beta_dist(Call& call) {
  const bool cumulative = call.logical(3);
  return beta(call, cumulative, 4);
}

Operand call_beta_inv(Call& call) {
  const double p = call.number(0);
  const double a = call.number(1);
  const double b = call.number(2);
  const BetaRange range = beta_range(call, 3);
  if (p < 0 || p > 1 || a <= 0 || b <= 0 || range.width <= 0) return kOutside;
  if (call.failed()) return 0.0;
  if (p == 1) return range.low + range.width;
  return range.low + range.width * inverse_of([&](double x) { return incomplete_beta(x, a, b); }, p, 0, 1);
}

// ---- Tests ----

Operand call_ztest(Call& call) {
  const Numbers numbers = numbers_of(call, 0);
  const double x = call.number(1);
  const auto count = static_cast<double>(numbers.size());
  if (count < 2) return ErrorCode::kDivision;
  const double deviation =
      call.missing(2) ? std::sqrt(squares_about_mean(numbers) / (count - 1)) : call.number(2);
  if (deviation <= 0) return kOutside;
  return std::erfc((mean_of(numbers) - x) * std::sqrt(count) / deviation * 0.7071067811865475) / 2;
}

Operand call_ftest(Call& call) {
  const Numbers a = numbers_of(call, 0), b = numbers_of(call, 1);
  if (a.size() < 2 || b.size() < 2) return ErrorCode::kDivision;
  const double first = static_cast<double>(a.size()) - 1, second = static_cast<double>(b.size()) - 1;
  const double spread_a = squares_about_mean(a) / first, spread_b = squares_about_mean(b) / second;
  if (spread_a == 0 || spread_b == 0) return ErrorCode::kDivision;
  const double tail = spread_a > spread_b ? f_right(spread_a / spread_b, first, second)
                                          : f_right(spread_b / spread_a, second, first);
  return 2 * std::min(tail, 1 - tail);  // of samples of two sizes the larger spread may be the likelier one
}

Operand t_of_pairs(Call& call, double tails) {
  const Pairs pairs = pairs_of(call, 0, 1, 2);
  Numbers differences;
  for (std::size_t i = 0; i < pairs.x.size(); ++i) differences.push_back(pairs.x[i] - pairs.y[i]);
  if (differences.size() < 2) return ErrorCode::kDivision;
  const auto count = static_cast<double>(differences.size());
  const double deviation = std::sqrt(squares_about_mean(differences) / (count - 1));
  if (deviation == 0) return ErrorCode::kDivision;
  return t_two_tails(mean_of(differences) * std::sqrt(count) / deviation, count - 1) / (3 - tails);
}

Operand call_ttest(Call& call) {
  const double tails = floor_of(call.number(2));
  const double type = floor_of(call.number(3));
  if ((tails != 1 && tails != 2) || type < 1 || type > 3) return kOutside;
  if (type == 1) return t_of_pairs(call, tails);
  const Numbers a = numbers_of(call, 0), b = numbers_of(call, 1);
  if (a.size() < 2 || b.size() < 2) return ErrorCode::kDivision;
  const auto m = static_cast<double>(a.size()), n = static_cast<double>(b.size());
  const double distance = mean_of(a) - mean_of(b);
  if (type == 2) {
    const double spread = (squares_about_mean(a) + squares_about_mean(b)) / (m + n - 2);
    return t_two_tails(distance / std::sqrt(spread * (1 / m + 1 / n)), m + n - 2) / (3 - tails);
  }
  const double x = squares_about_mean(a) / (m - 1) / m, y = squares_about_mean(b) / (n - 1) / n;
  const double freedom = (x + y) * (x + y) / (x * x / (m - 1) + y * y / (n - 1));
  return t_two_tails(distance / std::sqrt(x + y), freedom) / (3 - tails);
}

constexpr Function kDistributionsFunctions[] = {
    {"BETA.DIST", 4, 6, "s", call_beta_dist},
    {"BETA.INV", 3, 5, "s", call_beta_inv},
    {"BETADIST", 3, 5, "s", call_betadist},
    {"BETAINV", 3, 5, "s", call_beta_inv},
    {"BINOM.DIST", 4, 4, "s", call_binom_dist},
    {"BINOM.INV", 3, 3, "s", call_binom_inv},
    {"BINOMDIST", 4, 4, "s", call_binom_dist},
    {"CHIDIST", 2, 2, "s", call_chisq_rt},
    {"CHIINV", 2, 2, "s", call_chisq_inv_rt},
    {"CHISQ.DIST", 3, 3, "s", call_chisq_dist},
    {"CHISQ.DIST.RT", 2, 2, "s", call_chisq_rt},
    {"CHISQ.INV", 2, 2, "s", call_chisq_inv},
    {"CHISQ.INV.RT", 2, 2, "s", call_chisq_inv_rt},
    {"CONFIDENCE", 3, 3, "s", call_confidence},
    {"CONFIDENCE.NORM", 3, 3, "s", call_confidence},
    {"CRITBINOM", 3, 3, "s", call_binom_inv},
    {"EXPON.DIST", 3, 3, "s", call_expon_dist},
    {"EXPONDIST", 3, 3, "s", call_expon_dist},
    {"F.DIST", 4, 4, "s", call_f_dist<false>},
    {"F.DIST.RT", 3, 3, "s", call_f_dist<true>},
    {"F.INV", 3, 3, "s", call_f_inv<false>},
    {"F.INV.RT", 3, 3, "s", call_f_inv<true>},
    {"F.TEST", 2, 2, "a", call_ftest},
    {"FDIST", 3, 3, "s", call_f_dist<true>},
    {"FINV", 3, 3, "s", call_f_inv<true>},
    {"FISHER", 1, 1, "s", call_fisher},
    {"FISHERINV", 1, 1, "s", call_fisherinv},
    {"FTEST", 2, 2, "a", call_ftest},
    {"GAMMA.DIST", 4, 4, "s", call_gamma_dist},
    {"GAMMA.INV", 3, 3, "s", call_gamma_inv},
    {"GAMMADIST", 4, 4, "s", call_gamma_dist},
    {"GAMMAINV", 3, 3, "s", call_gamma_inv},
    {"GAUSS", 1, 1, "s", call_gauss},
    {"HYPGEOM.DIST", 5, 5, "s", call_hypgeom},
    {"HYPGEOMDIST", 4, 4, "s", call_hypgeom},
    {"LOGINV", 1, 3, "s", call_lognorm_inv},
    {"LOGNORM.DIST", 4, 4, "s", call_lognorm_dist},
    {"LOGNORM.INV", 3, 3, "s", call_lognorm_inv},
    {"LOGNORMDIST", 1, 3, "s", call_lognorm_dist},
    {"NEGBINOM.DIST", 4, 4, "s", call_negbinom},
    {"NEGBINOMDIST", 3, 3, "s", call_negbinom},
    {"NORM.DIST", 4, 4, "s", call_norm_dist},
    {"NORM.INV", 3, 3, "s", call_norm_inv},
    {"NORM.S.DIST", 2, 2, "s", call_norm_s_dist},
    {"NORM.S.INV", 1, 1, "s", call_norm_s_inv},
    {"NORMDIST", 4, 4, "s", call_norm_dist},
    {"NORMINV", 3, 3, "s", call_norm_inv},
    {"NORMSDIST", 1, 1, "s", call_norm_s_dist},
    {"NORMSINV", 1, 1, "s", call_norm_s_inv},
    {"PHI", 1, 1, "s", call_phi},
    {"POISSON", 2, 3, "s", call_poisson},
    {"POISSON.DIST", 2, 3, "s", call_poisson},
    {"T.DIST", 3, 3, "s", call_t_dist},
    {"T.DIST.2T", 2, 2, "s", call_t_tail<true>},
    {"T.DIST.RT", 2, 2, "s", call_t_tail<false>},
    {"T.INV", 2, 2, "s", call_t_inv},
    {"T.INV.2T", 2, 2, "s", call_t_inv_2t},
    {"T.TEST", 4, 4, "aass", call_ttest},
    {"TDIST", 3, 3, "s", call_tdist},
    {"TINV", 2, 2, "s", call_t_inv_2t},
    {"TTEST", 4, 4, "aass", call_ttest},
    {"WEIBULL", 4, 4, "s", call_weibull},
    {"WEIBULL.DIST", 4, 4, "s", call_weibull},
    {"Z.TEST", 2, 3, "rs", call_ztest},
    {"ZTEST", 2, 3, "rs", call_ztest},
};

}  // namespace

std::span<const Function> distribution_functions() {
  return kDistributionsFunctions;
}

}  // namespace ordvane::calc
