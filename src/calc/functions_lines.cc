// Straight lines and exponential curves through points, by least squares.
//
// The columns of x, less their means where the line has an intercept, are made orthogonal one after the
// other; what is left of a column that depends on those before it counts as nothing, and so does its slope. A
// line of one variable is calculated as SLOPE and INTERCEPT do, to the same last digit.
#include <algorithm>
#include <cmath>
#include <vector>

#include "calc/functions.h"
#include "calc/rules.h"
#include "calc/samples.h"

namespace ordvane::calc {
namespace {

using Columns = std::vector<Numbers>;  // one for each variable

double product(const Numbers& a, const Numbers& b) {
  Sum sum;
  for (std::size_t i = 0; i < a.size(); ++i) sum.add(a[i] * b[i]);
  return sum.result();
}

void subtract_from(Numbers& numbers, double times, const Numbers& other) {
  for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] -= times * other[i];
}

struct Points {
  Columns x;
  Numbers y;
  bool in_row = false;  // points lie side by side, variables below each other
};

struct FittedLine {
  Numbers slopes, slope_errors;
  double intercept = 0, intercept_error = 0;
  double error = 0;  // of y
  double explained = 0, unexplained = 0, freedom = 0;
};

// ---- Arguments ----

Numbers numbers_in(Call& call, int argument) {
  const Matrix matrix = call.matrix(argument);
  Numbers numbers;
  if (matrix.size() > 1000000) call.fail(ErrorCode::kArgument);
  for (std::int64_t i = 0; i < matrix.size() && !call.failed(); ++i) {
    const Value value = matrix.at(i);
    if (value.is_error()) call.fail(value.error());
    if (!value.is_number()) call.fail(ErrorCode::kArgument);
    if (!call.failed()) numbers.push_back(value.number());
  }
  return numbers;
}

// The variables of a block: one if it has as many values as there are points in it, whatever its shape.
Columns variables_of(Call& call, int argument, std::size_t count, bool in_row) {
  const Numbers all = numbers_in(call, argument);
  Columns columns(count);
  if (call.failed()) return columns;
  for (std::size_t i = 0; i < all.size(); ++i)
    columns[in_row ? i / (all.size() / count) : i % count].push_back(all[i]);
  return columns;
}

Points points_of(Call& call, bool logarithms) {
  Points points;
  const Matrix y = call.matrix(0);
  points.y = numbers_in(call, 0);
  for (double& number : points.y) {
    if (logarithms && number <= 0) call.fail(ErrorCode::kArgument);
    if (logarithms) number = std::log(number);
  }
  points.in_row = y.rows() == 1 && y.columns() > 1;
  if (call.missing(1)) {
    points.x.emplace_back();
    for (std::size_t i = 1; i <= points.y.size(); ++i) points.x[0].push_back(static_cast<double>(i));
    return points;
  }
  const Matrix x = call.matrix(1);
  const bool one = x.rows() == y.rows() && x.columns() == y.columns();
  if (!one && (points.in_row ? x.columns() != y.columns() : y.columns() != 1 || x.rows() != y.rows()))
    call.fail(ErrorCode::kArgument);
  if (call.failed()) return points;
  points.x = variables_of(call, 1,
                          static_cast<std::size_t>(one             ? 1
                                                   : points.in_row ? x.rows()
                                                                   : x.columns()),
                          points.in_row);
  return points;
}

// ---- Fitting ----

struct Orthogonal {
  Columns directions;  // of length 1, empty for variables that depend on those before
  Columns factors;     // of each variable: how much of each direction it has
};

Orthogonal orthogonal_of(const Columns& x) {
  Orthogonal result;
  for (const Numbers& variable : x) {
    Numbers rest = variable, factors(x.size());
    for (int round = 0; round < 2; ++round) {  // the second takes away what rounding left of the first
      for (std::size_t k = 0; k < result.directions.size(); ++k) {
        if (result.directions[k].empty()) continue;
        const double part = product(result.directions[k], rest);
        factors[k] += part;
        subtract_from(rest, part, result.directions[k]);
      }
    }
    const double length = std::sqrt(product(rest, rest));
    const std::size_t at = result.directions.size();
    if (length <= 1e-12 * std::sqrt(product(variable, variable))) {
      rest.clear();
    } else {
      factors[at] = length;
      for (double& number : rest) number /= length;
    }
    result.directions.push_back(std::move(rest));
    result.factors.push_back(std::move(factors));
  }
  return result;
}

// What combines the variables to `wanted` of each direction.
Numbers combined(const Orthogonal& parts, Numbers wanted) {
  for (std::size_t k = wanted.size(); k-- > 0;) {
    wanted[k] = parts.directions[k].empty() ? 0 : wanted[k] / parts.factors[k][k];
    for (std::size_t i = 0; i < k; ++i) wanted[i] -= wanted[k] * parts.factors[k][i];
  }
  return wanted;
}

Numbers slopes_of(const Orthogonal& parts, const Columns& x, const Numbers& y) {
  if (x.size() == 1 && !parts.directions[0].empty()) return {product(x[0], y) / product(x[0], x[0])};
  Numbers shares;
  for (const Numbers& direction : parts.directions)
    shares.push_back(direction.empty() ? 0 : product(direction, y));
  return combined(parts, std::move(shares));
}

void add_errors(FittedLine& line, const Orthogonal& parts, const Numbers& means, double count,
                bool intercept) {
  const std::size_t variables = means.size();
  line.slope_errors.assign(variables, 0);
  double squares = intercept ? 1 / count : 0;
  for (std::size_t k = 0; k < variables; ++k) {
    Numbers unit(variables);
    unit[k] = 1;
    const Numbers row = combined(parts, std::move(unit));
    double at_means = 0;
    for (std::size_t i = 0; i < variables && !parts.directions[k].empty(); ++i) {
      line.slope_errors[i] += row[i] * row[i];
      at_means += row[i] * means[i];
    }
    squares += at_means * at_means;
  }
  for (double& squared : line.slope_errors) squared = line.error * std::sqrt(squared);
  line.intercept_error = line.error * std::sqrt(squares);
}

FittedLine line_through(const Points& points, bool intercept) {
  FittedLine line;
  Columns x = points.x;
  Numbers y = points.y, means;
  const double mean = intercept ? mean_of(y) : 0;
  for (Numbers& variable : x) {
    means.push_back(intercept ? mean_of(variable) : 0);
    for (double& number : variable) number -= means.back();
  }
  for (double& number : y) number -= mean;
  const Orthogonal parts = orthogonal_of(x);
  line.slopes = slopes_of(parts, x, y);
  line.intercept = mean;
  for (std::size_t k = 0; k < means.size(); ++k) line.intercept -= line.slopes[k] * means[k];
  const double whole = product(y, y);
  for (std::size_t k = 0; k < x.size(); ++k) subtract_from(y, line.slopes[k], x[k]);
  const auto used = std::count_if(parts.directions.begin(), parts.directions.end(),
                                  [](const Numbers& direction) { return !direction.empty(); });
  line.freedom = static_cast<double>(y.size()) - static_cast<double>(used) - (intercept ? 1 : 0);
  line.unexplained = line.freedom > 0 ? product(y, y) : 0;
  line.explained = whole - line.unexplained;
  line.error = line.freedom > 0 ? std::sqrt(line.unexplained / line.freedom) : 0;
  add_errors(line, parts, means, static_cast<double>(y.size()), intercept);
  return line;
}

// ---- Functions ----

enum class Curve : std::uint8_t { kLine, kExponential };

// The slopes from the last variable to the first and the intercept; four rows of statistics below.
template <Curve curve>
Operand call_fit(Call& call) {
  const Points points = points_of(call, curve == Curve::kExponential);
  const bool intercept = call.missing(2) || call.logical(2), statistics = call.logical(3, false);
  if (call.failed() || points.x[0].size() != points.y.size()) return ErrorCode::kArgument;
  const FittedLine line = line_through(points, intercept);
  const auto variables = static_cast<std::int32_t>(line.slopes.size());
  Array& result = call.make_array(statistics ? 5 : 1, variables + 1);
  if (call.failed()) return {};
  const auto shown = [](double number) { return curve == Curve::kExponential ? std::exp(number) : number; };
  std::fill(result.values.begin(), result.values.end(), Value(ErrorCode::kNotAvailable));
  for (std::int32_t k = 0; k < variables; ++k) {
    const auto variable = static_cast<std::size_t>(variables - 1 - k);
    result.at(0, k) = shown(line.slopes[variable]);
    if (statistics) result.at(1, k) = line.slope_errors[variable];
  }
  result.at(0, variables) = shown(line.intercept);
  if (!statistics) return &result;
  if (intercept) result.at(1, variables) = line.intercept_error;
  const double used = static_cast<double>(points.y.size()) - line.freedom - (intercept ? 1 : 0);
  result.at(2, 0) = line.explained / (line.explained + line.unexplained);
  result.at(2, 1) = line.error;
  result.at(3, 0) = line.explained / used / (line.unexplained / line.freedom);
  result.at(3, 1) = line.freedom;
  result.at(4, 0) = line.explained;
  result.at(4, 1) = line.unexplained;
  return &result;
}

// The line's y at other points: as many as there are, in their shape when there is one variable.
template <Curve curve>
Operand call_continued(Call& call) {
  const Points points = points_of(call, curve == Curve::kExponential);
  const bool intercept = call.missing(3) || call.logical(3);
  if (call.failed() || points.x[0].size() != points.y.size()) return ErrorCode::kArgument;
  const std::size_t variables = points.x.size();
  const int source = !call.missing(2) ? 2 : call.missing(1) ? 0 : 1;
  const Matrix block = call.matrix(source);
  const auto width = static_cast<std::size_t>(points.in_row ? block.rows() : block.columns());
  if (variables > 1 && width != variables) return ErrorCode::kArgument;
  const Columns x = source == 0 ? points.x : variables_of(call, source, variables, points.in_row);
  const bool column = variables > 1 && !points.in_row, row = variables > 1 && points.in_row;
  Array& result = call.make_array(row ? 1 : block.rows(), column ? 1 : block.columns());
  if (call.failed()) return {};
  const FittedLine line = line_through(points, intercept);
  for (std::size_t i = 0; i < result.values.size(); ++i) {
    double y = line.intercept;
    for (std::size_t k = 0; k < variables; ++k) y += line.slopes[k] * x[k][i];
    result.values[i] = curve == Curve::kExponential ? std::exp(y) : y;
  }
  return &result;
}

constexpr Function kLinesFunctions[] = {
    {"GROWTH", 1, 4, "aaas", call_continued<Curve::kExponential>, nullptr, kGivesArrays},
    {"LINEST", 1, 4, "aass", call_fit<Curve::kLine>, nullptr, kGivesArrays},
    {"LOGEST", 1, 4, "aass", call_fit<Curve::kExponential>, nullptr, kGivesArrays},
    {"TREND", 1, 4, "aaas", call_continued<Curve::kLine>, nullptr, kGivesArrays},
};

}  // namespace

std::span<const Function> line_functions() {
  return kLinesFunctions;
}

}  // namespace ordvane::calc
