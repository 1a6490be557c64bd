// Functions that round, and the division that goes with them.
#include <algorithm>
#include <cmath>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

// More decimals than a number can have are as good as none to remove.
int decimals_of(Call& call, int argument) {
  if (call.missing(argument)) return 0;
  const double decimals = whole_part(call.number(argument));
  if (decimals < -32768 || decimals > 32767) call.fail(ErrorCode::kArgument);
  return static_cast<int>(std::clamp(decimals, -400.0, 400.0));
}

template <double (*round)(double, int)>
Operand call_round(Call& call) {
  const double number = call.number(0);
  const int decimals = decimals_of(call, 1);
  return round(number, decimals);
}

Operand call_int(Call& call) {
  return floor_of(call.number(0));
}

// Away from zero to the next even or odd number.
double even(double number) {
  return std::copysign(ceiling_of(std::fabs(number) / 2) * 2, number);
}

double odd(double number) {
  const double size = std::fabs(number);
  const double next = ceiling_of(size);
  const double result = std::fmod(next, 2) == 0 ? next + 1 : next;
  return number < 0 ? -result : result;
}

Operand call_even(Call& call) {
  return even(call.number(0));
}

Operand call_odd(Call& call) {
  return odd(call.number(0));
}

// The remainder has the divisor's sign. A quotient beyond 15 digits has no meaningful remainder.
Operand call_mod(Call& call) {
  const double number = call.number(0);
  const double divisor = call.number(1);
  if (divisor == 0) return ErrorCode::kDivision;
  const double result = subtract(number, floor_of(number / divisor) * divisor);
  const bool inside = divisor > 0 ? result >= 0 && result < divisor : result <= 0 && result > divisor;
  return inside ? Operand(result) : Operand(ErrorCode::kValue);
}

Operand call_quotient(Call& call) {
  const double number = call.number(0);
  const double divisor = call.number(1);
  return divisor == 0 ? Operand(ErrorCode::kDivision) : Operand(whole_part(number / divisor));
}

Operand call_mround(Call& call) {
  const double number = call.number(0);
  const double step = call.number(1);
  return step == 0 ? 0 : step * std::round(number / step);
}

// Negative numbers go away from zero with a negative step, towards zero with a positive one.
Operand call_ceiling(Call& call) {
  const double number = call.number(0);
  const double step = call.number(1);
  if (number == 0 || step == 0) return 0.0;
  if (number > 0 && step < 0) return ErrorCode::kArgument;
  return ceiling_of(number / step) * step;
}

Operand call_floor(Call& call) {
  const double number = call.number(0);
  const double step = call.number(1);
  if (number == 0) return 0.0;
  if (step == 0 || (number > 0 && step < 0)) return ErrorCode::kArgument;
  return floor_of(number / step) * step;
}

// The step's sign does not matter; negative numbers go away from zero if the third argument says so.
double step_of(Call& call, double number) {
  if (call.missing(1)) return number < 0 ? -1 : 1;
  return std::copysign(call.number(1), number);
}

Operand call_ceiling_math(Call& call) {
  const double number = call.number(0);
  const double step = std::fabs(step_of(call, number));
  const bool away = call.logical(2, false);
  if (number == 0 || step == 0) return 0.0;
  return number < 0 && away ? -ceiling_of(-number / step) * step : ceiling_of(number / step) * step;
}

Operand call_floor_math(Call& call) {
  const double number = call.number(0);
  const double step = std::fabs(step_of(call, number));
  const bool towards = call.logical(2, false);
  if (number == 0 || step == 0) return 0.0;
  return number < 0 && towards ? -floor_of(-number / step) * step : floor_of(number / step) * step;
}

constexpr Function kRoundingFunctions[] = {
    {"CEILING", 2, 2, "s", call_ceiling},
    {"CEILING.MATH", 1, 3, "s", call_ceiling_math},
    {"CEILING.PRECISE", 1, 2, "s", call_ceiling_math},
    {"EVEN", 1, 1, "s", call_even},
    {"FLOOR", 2, 2, "s", call_floor},
    {"FLOOR.MATH", 1, 3, "s", call_floor_math},
    {"FLOOR.PRECISE", 1, 2, "s", call_floor_math},
    {"INT", 1, 1, "s", call_int, lanes_of_number<floor_of>},
    {"ISO.CEILING", 1, 2, "s", call_ceiling_math},
    {"MOD", 2, 2, "s", call_mod},
    {"MROUND", 2, 2, "s", call_mround},
    {"ODD", 1, 1, "s", call_odd},
    {"QUOTIENT", 2, 2, "s", call_quotient},
    {"ROUND", 1, 2, "s", call_round<rounded>},
    {"ROUNDDOWN", 1, 2, "s", call_round<rounded_down>},
    {"ROUNDUP", 1, 2, "s", call_round<rounded_up>},
    {"TRUNC", 1, 2, "s", call_round<rounded_down>},
};

}  // namespace

std::span<const Function> rounding_functions() {
  return kRoundingFunctions;
}

}  // namespace ordvane::calc
