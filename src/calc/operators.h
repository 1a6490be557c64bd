// Operators on single values.
#pragma once

#include "calc/formula.h"
#include "calc/value.h"

namespace ordvane::calc {

struct Conversion {
  double number = 0;
  ErrorCode error = ErrorCode::kNone;
};
// A value where a number is expected.
Conversion number_of(const Value& value, bool counts_from_1904);
// A value where a truth is expected: 1 or 0.
Conversion truth_of(const Value& value, bool counts_from_1904);
// Errors as Excel names them.
std::string text_of(const Value& value);
// Below, at or above 0: numbers before texts; a blank is 0 beside a number and "" beside a text. No errors.
int compare_values(const Value& a, const Value& b);

// Of one operand and of two; `type` is that of an operator. Texts are kept in the arena.
Value operate(NodeType type, const Value& value, bool counts_from_1904);
Value operate(NodeType type, const Value& left, const Value& right, bool counts_from_1904, Arena& arena);

}  // namespace ordvane::calc
