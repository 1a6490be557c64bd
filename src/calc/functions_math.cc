// Functions of arithmetic.
#include <cmath>

#include "calc/functions.h"

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

constexpr Function kFunctions[] = {
    {"ABS", 1, 1, "s", call_abs, lanes_of_number<std::fabs>},
    {"PI", 0, 0, "s", call_pi},
    {"RAND", 0, 0, "s", call_rand, nullptr, kVolatile},
};

}  // namespace

std::span<const Function> math_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
