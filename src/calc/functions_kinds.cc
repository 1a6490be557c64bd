// Functions that tell what kind of value something is.
//
// A boolean is no number here, as in Excel; LibreOffice takes TRUE for 1.
#include <cmath>

#include "calc/functions.h"
#include "calc/rounding.h"

namespace ordvane::calc {
namespace {

template <bool (*is)(const Value&)>
Operand call_is(Call& call) {
  return Value::boolean(is(call.value(0)));
}

bool is_blank(const Value& value) {
  return value.kind() == Kind::kBlank;
}
bool is_error_but_na(const Value& value) {
  return value.is_error() && value.error() != ErrorCode::kNotAvailable;
}
bool is_na(const Value& value) {
  return value.is_error() && value.error() == ErrorCode::kNotAvailable;
}
bool is_logical(const Value& value) {
  return value.kind() == Kind::kBoolean;
}
bool is_number(const Value& value) {
  return value.kind() == Kind::kNumber;
}
bool is_text(const Value& value) {
  return value.is_text();
}
bool is_no_text(const Value& value) {
  return !value.is_text();
}

double remainder_of_two(Call& call) {
  return std::fmod(std::fabs(whole_part(call.number(0))), 2);
}

Operand call_iseven(Call& call) {
  return Value::boolean(remainder_of_two(call) == 0);
}
Operand call_isodd(Call& call) {
  return Value::boolean(remainder_of_two(call) == 1);
}

Operand call_isref(Call& call) {
  return Value::boolean(call.operand(0).is_reference());
}

Operand call_n(Call& call) {
  const Value value = call.value(0);
  if (value.is_error()) return value;
  return value.is_numeric() ? value.number() : 0.0;
}

Operand call_t(Call& call) {
  const Value value = call.value(0);
  return value.is_text() || value.is_error() ? Operand(value) : Operand(call.make_text(""));
}

Operand call_type(Call& call) {
  if (call.operand(0).is_array()) return 64.0;
  switch (call.value(0).kind()) {
    case Kind::kText:
      return 2.0;
    case Kind::kBoolean:
      return 4.0;
    case Kind::kError:
      return 16.0;
    default:
      return 1.0;
  }
}

Operand call_error_type(Call& call) {
  const Value value = call.value(0);
  if (!value.is_error()) return ErrorCode::kNotAvailable;
  constexpr std::string_view kNames[] = {"#NULL!", "#DIV/0!", "#VALUE!", "#REF!", "#NAME?", "#NUM!", "#N/A"};
  double number = 1;
  for (const std::string_view name : kNames) {
    if (error_text(value.error()) == name) return number;
    ++number;
  }
  return ErrorCode::kNotAvailable;
}

// ---- Truth ----

Operand call_true(Call&) {
  return Value::boolean(true);
}
Operand call_false(Call&) {
  return Value::boolean(false);
}

Operand call_xor(Call& call) {
  bool result = false, any = false;
  call.each_from(0, [&](const Value& value, From from) {
    if (value.is_error()) return call.fail(value.error());
    if (value.is_text()) return from == From::kFormula ? call.fail(ErrorCode::kValue) : void();
    any = true;
    result = result != (call.number_of(value) != 0);
  });
  return any ? Operand(Value::boolean(result)) : Operand(ErrorCode::kValue);
}

constexpr Function kKindsFunctions[] = {
    {"ERROR.TYPE", 1, 1, "s", call_error_type},
    {"FALSE", 0, 0, "s", call_false},
    {"ISBLANK", 1, 1, "s", call_is<is_blank>},
    {"ISERR", 1, 1, "s", call_is<is_error_but_na>},
    {"ISEVEN", 1, 1, "s", call_iseven},
    {"ISLOGICAL", 1, 1, "s", call_is<is_logical>},
    {"ISNA", 1, 1, "s", call_is<is_na>},
    {"ISNONTEXT", 1, 1, "s", call_is<is_no_text>},
    {"ISNUMBER", 1, 1, "s", call_is<is_number>},
    {"ISODD", 1, 1, "s", call_isodd},
    {"ISREF", 1, 1, "c", call_isref},
    {"ISTEXT", 1, 1, "s", call_is<is_text>},
    {"N", 1, 1, "s", call_n},
    {"T", 1, 1, "s", call_t},
    {"TRUE", 0, 0, "s", call_true},
    {"TYPE", 1, 1, "s", call_type},
    {"XOR", 1, kAnyNumber, "r", call_xor},
};

}  // namespace

std::span<const Function> kind_functions() {
  return kKindsFunctions;
}

}  // namespace ordvane::calc
