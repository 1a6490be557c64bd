// Powers, logarithms, angles and what is counted: the functions of one or two numbers.
//
// The order of the multiplications and the formulas of the hyperbolic functions are the ones that give
// LibreOffice's last digit.
#include <cmath>
#include <limits>
#include <numeric>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

template <double (*function)(double), ErrorCode outside = ErrorCode::kNumber>
Operand call_of(Call& call) {
  const double result = function(call.number(0));
  return std::isfinite(result) ? Operand(result) : Operand(outside);
}

// ---- Roots, powers, logarithms ----

double sign(double x) {
  return x > 0 ? 1 : x < 0 ? -1 : 0;
}
double root_of_pi_times(double x) {
  return std::sqrt(x * kPi);
}
double logarithm(double x) {
  return x > 0 ? std::log(x) : kNone;
}
double decimal_logarithm(double x) {
  return x > 0 ? std::log10(x) : kNone;
}

Operand call_log(Call& call) {
  const double x = call.number(0);
  const double base = call.number(1, 10);
  if (x <= 0 || base <= 0 || base == 1) return ErrorCode::kArgument;
  return std::log(x) / std::log(base);
}

Operand call_power(Call& call) {
  const double base = call.number(0);
  return power(base, call.number(1));
}

// ---- Angles ----

// Beyond 2^64 an angle says nothing.
double known_angle(double x) {
  return std::fabs(x) < 18446744073709551616.0 ? x : kNone;
}
double sine(double x) {
  return std::sin(known_angle(x));
}
double cosine(double x) {
  return std::cos(known_angle(x));
}
double tangent(double x) {
  return std::tan(known_angle(x));
}
double cotangent(double x) {
  return 1 / std::tan(known_angle(x));
}
double secant(double x) {
  return 1 / std::cos(known_angle(x));
}
double cosecant(double x) {
  return 1 / std::sin(known_angle(x));
}
double arc_cotangent(double x) {
  return kPi / 2 - std::atan(x);
}
double degrees(double x) {
  return x / kPi * 180;
}
double radians(double x) {
  return x / 180 * kPi;
}

Operand call_atan2(Call& call) {
  const double x = call.number(0);
  return std::atan2(call.number(1), x);
}

// ---- Hyperbolic ----

double area_sine(double x) {
  const double size = std::fabs(x);
  if (size > 1e150) return std::copysign(std::log(size + size), x);  // its square is too large
  const double root = std::sqrt(size * size + 1);
  return std::copysign(size < 0.125 ? std::log1p(size + size * size / (1 + root)) : std::log(size + root), x);
}
double area_cosine(double x) {
  const double over = x - 1;
  if (over < 0) return kNone;
  if (x > 1e150) return std::log(x + x);
  return x < 1.1 ? std::log1p(over + std::sqrt(2 * over + over * over)) : std::log(x + std::sqrt(x * x - 1));
}
double area_tangent(double x) {
  return std::fabs(x) < 1 ? std::atanh(x) : kNone;
}
double area_cotangent(double x) {
  return std::fabs(x) > 1 ? 0.5 * std::log((x + 1) / (x - 1)) : kNone;
}
double hyperbolic_cotangent(double x) {
  return 1 / std::tanh(x);
}
double hyperbolic_secant(double x) {
  return 1 / std::cosh(x);
}
double hyperbolic_cosecant(double x) {
  return 1 / std::sinh(x);
}

// ---- Counting ----

double product_down(double from, double to) {
  double result = 1;
  for (double factor = from; factor >= to; --factor) result *= factor;
  return result;
}

Operand call_fact(Call& call) {
  const double n = floor_of(call.number(0));
  if (n < 0) return ErrorCode::kArgument;
  if (n > 170) return ErrorCode::kValue;
  return product_down(n, 2);
}

Operand call_factdouble(Call& call) {
  const double n = whole_part(call.number(0));
  if (n < 0 || n > 300) return ErrorCode::kArgument;
  double result = 1;
  for (double factor = std::fmod(n, 2) == 0 ? 2 : 1; factor <= n; factor += 2) result *= factor;
  return result;
}

// Quotients are multiplied, so that no intermediate result is larger than the last; whole results may miss
// their last digits for it.
double combinations(double n, double k) {
  double result = 1;
  if (k == n) return 1;
  if (k > kMostSteps) return kNone;
  for (; k > 0 && std::isfinite(result); --n, --k) result *= n / k;
  return result;
}

Operand call_combin(Call& call) {
  const double n = floor_of(call.number(0));
  const double k = floor_of(call.number(1));
  if (n < 0 || k < 0 || k > n) return ErrorCode::kArgument;
  return combinations(n, k);
}

Operand call_combina(Call& call) {
  const double n = floor_of(call.number(0));
  const double k = floor_of(call.number(1));
  if (n < 0 || k < 0 || k > n) return ErrorCode::kArgument;
  return k == 0 ? 1.0 : combinations(n + k - 1, k);
}

Operand call_permut(Call& call) {
  const double n = floor_of(call.number(0));
  const double k = floor_of(call.number(1));
  if (n < 0 || k < 0 || k > n) return ErrorCode::kArgument;
  if (k == 0) return 1.0;
  if (k > kMostSteps) return kNone;
  double result = n;
  for (double less = k - 1; less >= 1 && std::isfinite(result); --less) result *= n - less;
  return result;
}

Operand call_permutationa(Call& call) {
  const double n = floor_of(call.number(0));
  const double k = floor_of(call.number(1));
  if (n < 0 || k < 0) return ErrorCode::kArgument;
  return std::pow(n, k);
}

double common_divisor(double a, double b) {
  while (b > 0) {
    const double rest = std::fmod(a, b);
    a = b;
    b = rest;
  }
  return a;
}

// Those of all arguments that are not negative, without their fractions, which `cut` takes off:
// `take(whole)`.
template <class Take>
void each_whole(Call& call, double (*cut)(double), const Take& take_whole) {
  const auto take = [&](double number) {
    const double whole = cut(number);
    if (whole < 0) call.fail(ErrorCode::kArgument);
    if (!call.failed()) take_whole(whole);
  };
  for (int argument = 0; argument < call.count(); ++argument) {
    const Operand& operand = call.operand(argument);
    // A single cell is a number, whatever is in it.
    if (operand.is_reference() && operand.reference.is_cell() && operand.more.empty()) {
      take(call.number(argument));
      continue;
    }
    call.each(argument, [&](const Value& value, From from) {
      if (!value.is_text() || from == From::kFormula) take(call.number_of(value));
    });
  }
}

template <double (*combine)(double, double)>
Operand call_whole_numbers(Call& call, double start) {
  double result = start;
  each_whole(call, floor_of, [&](double whole) { result = combine(result, whole); });
  return result;
}

double common_multiple(double a, double b) {
  return a == 0 || b == 0 ? 0 : a / common_divisor(a, b) * b;
}

Operand call_gcd(Call& call) {
  return call_whole_numbers<common_divisor>(call, 0);
}

Operand call_lcm(Call& call) {
  return call_whole_numbers<common_multiple>(call, 1);
}

Operand call_multinomial(Call& call) {
  double sum = 0, result = 1;
  each_whole(call, whole_part, [&](double count) {
    sum += count;
    result *= combinations(sum, count);
  });
  return result;
}

Operand call_seriessum(Call& call) {
  const double x = call.number(0);
  double exponent = call.number(1);
  const double step = call.number(2);
  double sum = 0;
  bool defined = true;
  call.each_number_of(3, [&](double factor) {
    if (x == 0 && exponent <= 0) defined = false;
    sum += factor * std::pow(x, exponent);
    exponent += step;
  });
  return defined ? Operand(sum) : Operand(ErrorCode::kNumber);
}

// ---- Special functions ----

Operand call_erf(Call& call) {
  const double from = call.number(0);
  if (call.missing(1)) return std::erf(from);
  return std::erf(call.number(1)) - std::erf(from);
}

Operand call_gammaln(Call& call) {
  const double x = call.number(0);
  return x > 0 ? Operand(std::lgamma(x)) : Operand(ErrorCode::kArgument);
}

Operand call_gamma(Call& call) {
  const double x = call.number(0);
  if (x <= 0 && x == floor_of(x)) return ErrorCode::kArgument;
  return std::tgamma(x);
}

Operand call_delta(Call& call) {
  const double a = call.number(0);
  return call.number(1, 0) == a ? 1.0 : 0.0;
}

Operand call_gestep(Call& call) {
  const double a = call.number(0);
  return a >= call.number(1, 0) ? 1.0 : 0.0;
}

// Both ends may come out.
Operand call_randbetween(Call& call) {
  const double low = ceiling_of(call.number(0));
  const double high = floor_of(call.number(1));
  if (low > high) return ErrorCode::kArgument;
  return low + std::floor(call.random() * (high - low + 1));
}

constexpr auto kArgument = ErrorCode::kArgument;
constexpr auto kValue = ErrorCode::kValue;

constexpr Function kElementaryFunctions[] = {
    {"ACOS", 1, 1, "s", call_of<std::acos>, lanes_of_number<std::acos>},
    {"ACOSH", 1, 1, "s", call_of<area_cosine, kArgument>, lanes_of_number<area_cosine>},
    {"ACOT", 1, 1, "s", call_of<arc_cotangent>, lanes_of_number<arc_cotangent>},
    {"ACOTH", 1, 1, "s", call_of<area_cotangent, kArgument>, lanes_of_number<area_cotangent>},
    {"ASIN", 1, 1, "s", call_of<std::asin>, lanes_of_number<std::asin>},
    {"ASINH", 1, 1, "s", call_of<area_sine>, lanes_of_number<area_sine>},
    {"ATAN", 1, 1, "s", call_of<std::atan>, lanes_of_number<std::atan>},
    {"ATAN2", 2, 2, "s", call_atan2},
    {"ATANH", 1, 1, "s", call_of<area_tangent, kArgument>, lanes_of_number<area_tangent>},
    {"COMBIN", 2, 2, "s", call_combin},
    {"COMBINA", 2, 2, "s", call_combina},
    {"COS", 1, 1, "s", call_of<cosine, kValue>, lanes_of_number<cosine>},
    {"COSH", 1, 1, "s", call_of<std::cosh>, lanes_of_number<std::cosh>},
    {"COT", 1, 1, "s", call_of<cotangent>, lanes_of_number<cotangent>},
    {"COTH", 1, 1, "s", call_of<hyperbolic_cotangent>, lanes_of_number<hyperbolic_cotangent>},
    {"CSC", 1, 1, "s", call_of<cosecant>, lanes_of_number<cosecant>},
    {"CSCH", 1, 1, "s", call_of<hyperbolic_cosecant>, lanes_of_number<hyperbolic_cosecant>},
    {"DEGREES", 1, 1, "s", call_of<degrees>, lanes_of_number<degrees>},
    {"DELTA", 1, 2, "s", call_delta},
    {"ERF", 1, 2, "s", call_erf},
    {"ERF.PRECISE", 1, 1, "s", call_erf},
    {"ERFC", 1, 1, "s", call_of<std::erfc>, lanes_of_number<std::erfc>},
    {"ERFC.PRECISE", 1, 1, "s", call_of<std::erfc>, lanes_of_number<std::erfc>},
    {"EXP", 1, 1, "s", call_of<std::exp>, lanes_of_number<std::exp>},
    {"FACT", 1, 1, "s", call_fact},
    {"FACTDOUBLE", 1, 1, "s", call_factdouble},
    {"GAMMA", 1, 1, "s", call_gamma},
    {"GAMMALN", 1, 1, "s", call_gammaln},
    {"GAMMALN.PRECISE", 1, 1, "s", call_gammaln},
    {"GCD", 1, kAnyNumber, "r", call_gcd},
    {"GESTEP", 1, 2, "s", call_gestep},
    {"LCM", 1, kAnyNumber, "r", call_lcm},
    {"LN", 1, 1, "s", call_of<logarithm, kArgument>, lanes_of_number<logarithm>},
    {"LOG", 1, 2, "s", call_log},
    {"LOG10", 1, 1, "s", call_of<decimal_logarithm, kArgument>, lanes_of_number<decimal_logarithm>},
    {"MULTINOMIAL", 1, kAnyNumber, "r", call_multinomial},
    {"PERMUT", 2, 2, "s", call_permut},
    {"PERMUTATIONA", 2, 2, "s", call_permutationa},
    {"POWER", 2, 2, "s", call_power, lanes_of_numbers<power>},
    {"RADIANS", 1, 1, "s", call_of<radians>, lanes_of_number<radians>},
    {"RANDBETWEEN", 2, 2, "s", call_randbetween, nullptr, kVolatile},
    {"SEC", 1, 1, "s", call_of<secant>, lanes_of_number<secant>},
    {"SECH", 1, 1, "s", call_of<hyperbolic_secant>, lanes_of_number<hyperbolic_secant>},
    {"SERIESSUM", 4, 4, "sssr", call_seriessum},
    {"SIGN", 1, 1, "s", call_of<sign>, lanes_of_number<sign>},
    {"SIN", 1, 1, "s", call_of<sine, kValue>, lanes_of_number<sine>},
    {"SINH", 1, 1, "s", call_of<std::sinh>, lanes_of_number<std::sinh>},
    {"SQRT", 1, 1, "s", call_of<std::sqrt, kArgument>, lanes_of_number<std::sqrt>},
    {"SQRTPI", 1, 1, "s", call_of<root_of_pi_times, kArgument>, lanes_of_number<root_of_pi_times>},
    {"TAN", 1, 1, "s", call_of<tangent, kValue>, lanes_of_number<tangent>},
    {"TANH", 1, 1, "s", call_of<std::tanh>, lanes_of_number<std::tanh>},
};

}  // namespace

std::span<const Function> elementary_functions() {
  return kElementaryFunctions;
}

}  // namespace ordvane::calc
