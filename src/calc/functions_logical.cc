// Functions of TRUE and FALSE. Those that evaluate only some of their arguments are the evaluator's.
#include <array>

#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_not(Call& call) {
  return Value::boolean(!call.logical(0));
}

// TRUE and FALSE of all arguments: numbers of cells, and what the formula itself has. Texts there are
// refused.
Operand fold(Call& call, bool all) {
  bool result = all, has_any = false;
  call.each_from(0, [&](const Value& value, From from) {
    if (value.is_error()) call.fail(value.error());
    if (value.is_text() && from == From::kFormula) call.fail(ErrorCode::kValue);
    if (!value.is_number() && value.kind() != Kind::kUnchosen) return;
    has_any = true;
    result = all ? result && value.number() != 0 : result || value.number() != 0;
  });
  if (!has_any) return ErrorCode::kValue;
  return Value::boolean(result);
}

Operand call_and(Call& call) {
  return fold(call, true);
}

Operand call_or(Call& call) {
  return fold(call, false);
}

// Where every argument is a number in every lane.
template <bool all>
bool fold_lanes(const LaneCall& call) {
  std::array<bool, kLanes> result{};
  result.fill(all);
  for (const LaneArgument& argument : call.arguments) {
    for (const Lanes* cell : argument.cells) {
      if (!cell->filled()) return false;
      for (std::size_t i = 0; i < kLanes; ++i)
        result[i] = all ? result[i] && cell->number[i] != 0 : result[i] || cell->number[i] != 0;
    }
  }
  for (std::size_t i = 0; i < kLanes; ++i) call.result->number[i] = result[i] ? 1 : 0;
  call.result->kind.fill(Kind::kBoolean);
  return true;
}

constexpr Function kLogicalFunctions[] = {
    {"AND", 1, kAnyNumber, "r", call_and, fold_lanes<true>},
    {"CHOOSE", 2, kAnyNumber, "s", nullptr, nullptr, kGivesCells, Form::kChoose},
    {"IF", 1, 3, "s", nullptr, nullptr, kGivesCells, Form::kIf},
    {"IFERROR", 2, 2, "s", nullptr, nullptr, 0, Form::kIfError},
    {"IFNA", 2, 2, "s", nullptr, nullptr, 0, Form::kIfNa},
    {"IFS", 2, kAnyNumber, "s", nullptr, nullptr, 0, Form::kIfs},
    {"NOT", 1, 1, "s", call_not},
    {"OR", 1, kAnyNumber, "r", call_or, fold_lanes<false>},
    {"SWITCH", 3, kAnyNumber, "s", nullptr, nullptr, 0, Form::kSwitch},
};

}  // namespace

std::span<const Function> logical_functions() {
  return kLogicalFunctions;
}

}  // namespace ordvane::calc
