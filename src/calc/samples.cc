#include "calc/samples.h"

#include <algorithm>
#include <cmath>

#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {

Numbers numbers_from(Call& call, int first) {
  Numbers numbers;
  if (first == 0) {
    call.each_number_backwards([&](double number) { numbers.push_back(number); });
  } else {
    call.each_number(first, [&](double number) { numbers.push_back(number); });
  }
  return numbers;
}

Numbers numbers_of(Call& call, int argument) {
  Numbers numbers;
  call.each_number_of(argument, [&](double number) { numbers.push_back(number); });
  return numbers;
}

Numbers sorted_numbers_of(Call& call, int argument) {
  Numbers numbers = numbers_of(call, argument);
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

double mean_of(const Numbers& numbers) {
  Sum sum;
  for (const double number : numbers) sum.add(number);
  return sum.result() / static_cast<double>(numbers.size());
}

double squares_about_mean(const Numbers& numbers) {
  const double mean = mean_of(numbers);
  double sum = 0;
  for (const double number : numbers) sum += (number - mean) * (number - mean);
  return sum;
}

double at_share(const Numbers& sorted, double share) {
  const double place = share * static_cast<double>(sorted.size() - 1);
  const double below = floor_of(place);
  const auto index = static_cast<std::size_t>(below);
  const double rest = place - below;
  if (rest == 0 || index + 1 >= sorted.size()) return sorted[index];
  return sorted[index] + rest * (sorted[index + 1] - sorted[index]);
}

Pairs pairs_of(Call& call, int x_argument, int y_argument, std::size_t least) {
  Pairs pairs;
  const Matrix x = call.matrix(x_argument), y = call.matrix(y_argument);
  if (x.size() != y.size()) {
    call.fail(ErrorCode::kArgument);
    return pairs;
  }
  const std::int64_t used =
      std::max(std::int64_t{x.used_rows()} * x.columns(), std::int64_t{y.used_rows()} * y.columns());
  for (std::int64_t i = 0; i < std::min(used, x.size()); ++i) {
    const Value a = x.at(i), b = y.at(i);
    if (a.is_error()) call.fail(a.error());
    if (b.is_error()) call.fail(b.error());
    if (!a.is_number() || !b.is_number()) continue;
    pairs.x.push_back(a.number());
    pairs.y.push_back(b.number());
  }
  if (pairs.x.size() < least) call.fail(ErrorCode::kValue);
  return pairs;
}

PairSums sums_of(const Pairs& pairs) {
  PairSums sums;
  if (pairs.x.empty()) return sums;
  sums.mean_x = mean_of(pairs.x);
  sums.mean_y = mean_of(pairs.y);
  Sum xx, yy, xy;
  for (std::size_t i = 0; i < pairs.x.size(); ++i) {
    const double x = pairs.x[i] - sums.mean_x, y = pairs.y[i] - sums.mean_y;
    xx.add(x * x);
    yy.add(y * y);
    xy.add(x * y);
  }
  sums.xx = xx.result();
  sums.yy = yy.result();
  sums.xy = xy.result();
  return sums;
}

}  // namespace ordvane::calc
