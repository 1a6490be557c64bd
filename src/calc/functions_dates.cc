// Functions of dates and times: days since the workbook's day 0.
#include <cmath>

#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_now(Call& call) {
  return call.now();
}

Operand call_today(Call& call) {
  return std::floor(call.now());
}

constexpr Function kDatesFunctions[] = {
    {"NOW", 0, 0, "s", call_now, nullptr, kVolatile},
    {"TODAY", 0, 0, "s", call_today, nullptr, kVolatile},
};

}  // namespace

std::span<const Function> date_functions() {
  return kDatesFunctions;
}

}  // namespace ordvane::calc
