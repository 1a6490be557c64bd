// Functions of samples and distributions.
#include "calc/functions.h"
#include "calc/rules.h"

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

Operand call_average(Call& call) {
  Sum sum;
  double count = 0;
  call.each_number_backwards([&](double number) {
    sum.add(number);
    ++count;
  });
  if (count == 0) return ErrorCode::kDivision;
  return sum.result() / count;
}

// The least or the greatest; 0 when there are no numbers.
template <bool least>
Operand call_extreme(Call& call) {
  double result = 0;
  bool has_any = false;
  call.each_from(0, [&](const Value& value, From from) {
    if (value.is_error()) call.fail(value.error());
    if (value.is_text() && from == From::kFormula) call.fail(ErrorCode::kParameters);
    if (!value.is_number()) return;
    if (!has_any || (least ? value.number() < result : value.number() > result)) result = value.number();
    has_any = true;
  });
  return result;
}

template <bool least>
bool extreme_lanes(const LaneCall& call) {
  Lanes& result = *call.result;
  bool has_any = false;
  for (const LaneArgument& argument : call.arguments) {
    for (const Lanes* cell : argument.cells) {
      if (!cell->filled()) return false;
      if (!has_any) result.number = cell->number;
      has_any = true;
      for (std::size_t i = 0; i < kLanes; ++i) {
        const double number = cell->number[i], best = result.number[i];
        result.number[i] = (least ? number < best : number > best) ? number : best;
      }
    }
  }
  result.kind.fill(Kind::kNumber);
  return has_any;
}

constexpr Function kStatisticsFunctions[] = {
    {"AVERAGE", 1, kAnyNumber, "r", call_average},
    {"COUNT", 1, kAnyNumber, "r", call_count},
    {"MAX", 1, kAnyNumber, "r", call_extreme<false>, extreme_lanes<false>},
    {"MIN", 1, kAnyNumber, "r", call_extreme<true>, extreme_lanes<true>},
};

}  // namespace

std::span<const Function> statistical_functions() {
  return kStatisticsFunctions;
}

}  // namespace ordvane::calc
