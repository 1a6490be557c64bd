// Functions of samples and distributions.
#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_count(Call& call) {
  double count = 0;
  call.each_from(0, [&](const Value& value, From from) {
    if (value.is_number()) ++count;
    if (value.is_text() && from == From::kFormula && !call.failed()) {
      Call converted(call.evaluation(), {});
      converted.number_of(value);
      if (!converted.failed()) ++count;
    }
  });
  return count;
}

constexpr Function kFunctions[] = {
    {"COUNT", 1, kAnyNumber, "r", call_count},
};

}  // namespace

std::span<const Function> statistical_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
