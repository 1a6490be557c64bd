// Functions of two samples: correlation and lines through points.
#include <cmath>

#include "calc/functions.h"
#include "calc/rules.h"
#include "calc/samples.h"

namespace ordvane::calc {
namespace {

Operand call_covar(Call& call) {
  const Pairs pairs = pairs_of(call, 0, 1, 1);
  return sums_of(pairs).xy / static_cast<double>(pairs.x.size());
}

Operand call_covariance_s(Call& call) {
  const Pairs pairs = pairs_of(call, 0, 1, 1);
  if (pairs.x.size() < 2) return ErrorCode::kDivision;
  return sums_of(pairs).xy / static_cast<double>(pairs.x.size() - 1);
}

Operand correlation(Call& call) {
  const PairSums sums = sums_of(pairs_of(call, 0, 1, 1));
  if (sums.xx == 0 || sums.yy == 0) return ErrorCode::kDivision;
  return sums.xy / std::sqrt(sums.xx * sums.yy);
}

Operand call_rsq(Call& call) {
  const Operand result = correlation(call);
  if (result.value.is_error()) return result;
  return result.value.number() * result.value.number();
}

// The line's arguments are y, x.
PairSums line_of(Call& call, int y_argument, std::size_t least) {
  return sums_of(pairs_of(call, y_argument + 1, y_argument, least));
}

Operand call_slope(Call& call) {
  const PairSums sums = line_of(call, 0, 1);
  return sums.xx == 0 ? Operand(ErrorCode::kDivision) : Operand(sums.xy / sums.xx);
}

Operand call_intercept(Call& call) {
  const PairSums sums = line_of(call, 0, 1);
  return sums.xx == 0 ? Operand(ErrorCode::kDivision)
                      : Operand(sums.mean_y - sums.xy / sums.xx * sums.mean_x);
}

Operand call_forecast(Call& call) {
  const double x = call.number(0);
  const PairSums sums = line_of(call, 1, 1);
  if (sums.xx == 0) return ErrorCode::kDivision;
  return sums.mean_y + sums.xy / sums.xx * (x - sums.mean_x);
}

Operand call_steyx(Call& call) {
  const Pairs pairs = pairs_of(call, 1, 0, 3);
  const PairSums sums = sums_of(pairs);
  if (sums.xx == 0) return ErrorCode::kDivision;
  const double rest = subtract(sums.yy, sums.xy * sums.xy / sums.xx);
  return std::sqrt(rest / static_cast<double>(pairs.x.size() - 2));
}

constexpr Function kPairsFunctions[] = {
    {"CORREL", 2, 2, "a", correlation},
    {"COVAR", 2, 2, "a", call_covar},
    {"COVARIANCE.P", 2, 2, "a", call_covar},
    {"COVARIANCE.S", 2, 2, "a", call_covariance_s},
    {"FORECAST", 3, 3, "saa", call_forecast},
    {"FORECAST.LINEAR", 3, 3, "saa", call_forecast},
    {"INTERCEPT", 2, 2, "a", call_intercept},
    {"PEARSON", 2, 2, "a", correlation},
    {"RSQ", 2, 2, "a", call_rsq},
    {"SLOPE", 2, 2, "a", call_slope},
    {"STEYX", 2, 2, "a", call_steyx},
};

}  // namespace

std::span<const Function> pair_functions() {
  return kPairsFunctions;
}

}  // namespace ordvane::calc
