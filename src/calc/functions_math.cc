// Functions of arithmetic.
#include <array>
#include <cmath>

#include "calc/functions.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

Operand call_abs(Call& call) {
  return std::fabs(call.number(0));
}

Operand call_pi(Call&) {
  return 3.141592653589793;
}

Operand call_rand(Call& call) {
  return call.random();
}

Operand call_sum(Call& call) {
  Sum sum;
  call.each_number_backwards([&](double number) { sum.add(number); });
  return sum.result();
}

// As Sum has it, in every lane.
bool sum_lanes(const LaneCall& call) {
  std::array<double, kLanes> sum{}, error{}, last{};
  for (std::size_t argument = call.arguments.size(); argument-- > 0;) {
    for (const Lanes* cell : call.arguments[argument].cells) {
      if (!cell->numeric()) return false;
      for (std::size_t i = 0; i < kLanes; ++i) {
        const double number = cell->number[i], carried = number == 0 ? 0.0 : last[i];
        const double total = sum[i] + carried;
        error[i] +=
            std::fabs(sum[i]) >= std::fabs(carried) ? (sum[i] - total) + carried : (carried - total) + sum[i];
        sum[i] = total;
        last[i] = number == 0 ? last[i] : number;
      }
    }
  }
  bool finite = true;
  for (std::size_t i = 0; i < kLanes; ++i) {
    call.result->number[i] = Sum(sum[i], error[i], last[i]).result();
    finite = finite && std::isfinite(call.result->number[i]);
  }
  call.result->kind.fill(Kind::kNumber);
  return finite;
}

constexpr Function kMathFunctions[] = {
    {"ABS", 1, 1, "s", call_abs, lanes_of_number<std::fabs>},
    {"PI", 0, 0, "s", call_pi},
    {"RAND", 0, 0, "s", call_rand, nullptr, kVolatile},
    {"SUM", 1, kAnyNumber, "r", call_sum, sum_lanes},
};

}  // namespace

std::span<const Function> math_functions() {
  return kMathFunctions;
}

}  // namespace ordvane::calc
