// Functions that tell what a value is.
#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_iserror(Call& call) {
  return Value::boolean(call.value(0).is_error());
}

Operand call_na(Call&) {
  return ErrorCode::kNotAvailable;
}

constexpr Function kFunctions[] = {
    {"ISERROR", 1, 1, "s", call_iserror},
    {"NA", 0, 0, "s", call_na},
};

}  // namespace

std::span<const Function> information_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
