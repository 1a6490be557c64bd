// Functions of TRUE and FALSE. Those that evaluate only some of their arguments are the evaluator's.
#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_not(Call& call) {
  return Value::boolean(!call.logical(0));
}

constexpr Function kFunctions[] = {
    {"CHOOSE", 2, kAnyNumber, "s", nullptr, nullptr, kGivesCells, Form::kChoose},
    {"IF", 1, 3, "s", nullptr, nullptr, kGivesCells, Form::kIf},
    {"IFERROR", 2, 2, "s", nullptr, nullptr, 0, Form::kIfError},
    {"IFNA", 2, 2, "s", nullptr, nullptr, 0, Form::kIfNa},
    {"IFS", 2, kAnyNumber, "s", nullptr, nullptr, 0, Form::kIfs},
    {"NOT", 1, 1, "s", call_not},
    {"SWITCH", 3, kAnyNumber, "s", nullptr, nullptr, 0, Form::kSwitch},
};

}  // namespace

std::span<const Function> logical_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
