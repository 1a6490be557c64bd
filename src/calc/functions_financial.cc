// Functions of money over time.
#include <cmath>

#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_npv(Call& call) {
  const double rate = call.number(0);
  double period = 1, value = 0;
  call.each_number(1, [&](double payment) { value += payment / std::pow(1 + rate, period++); });
  return value;
}

constexpr Function kFunctions[] = {
    {"NPV", 2, kAnyNumber, "sr", call_npv},
};

}  // namespace

std::span<const Function> financial_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
