// Functions that find values and cells.
#include "calc/functions.h"

namespace ordvane::calc {
namespace {

Operand call_rows(Call& call) {
  return static_cast<double>(call.matrix(0).rows());
}

Operand call_transpose(Call& call) {
  const Matrix matrix = call.matrix(0);
  Array& result = call.make_array(matrix.columns(), matrix.rows());
  for (std::int32_t row = 0; row < matrix.rows(); ++row)
    for (std::int32_t column = 0; column < matrix.columns(); ++column)
      result.at(column, row) = matrix.at(row, column);
  return &result;
}

constexpr Function kFunctions[] = {
    {"ROWS", 1, 1, "c", call_rows},
    {"TRANSPOSE", 1, 1, "a", call_transpose, nullptr, kGivesArrays},
};

}  // namespace

std::span<const Function> lookup_functions() {
  return kFunctions;
}

}  // namespace ordvane::calc
