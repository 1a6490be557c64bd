// Functions of the cells that meet conditions.
#include <algorithm>
#include <optional>
#include <vector>

#include "calc/criteria.h"
#include "calc/functions.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

struct Condition {
  Matrix cells;
  Criterion criterion;
};

// The condition written in two arguments. The first that is an error becomes the call's.
Criterion criterion_of(Call& call, int argument) {
  const Value condition = call.value(argument);
  if (condition.is_error()) call.fail(condition.error());
  return {call, condition};
}

std::vector<Condition> conditions_from(Call& call, int first) {
  std::vector<Condition> conditions;
  for (int argument = first; argument + 1 < call.count(); argument += 2)
    conditions.push_back({call.cells(argument), criterion_of(call, argument + 1)});
  if ((call.count() - first) % 2 != 0) call.fail(ErrorCode::kParameters);
  for (const Condition& condition : conditions)
    if (condition.cells.rows() != conditions[0].cells.rows() ||
        condition.cells.columns() != conditions[0].cells.columns())
      call.fail(ErrorCode::kArgument);
  return conditions;
}

// Visits the places, row by row, at which all conditions are met: `visit(row, column)`. Behind the cells in
// use of all blocks every place is like the next, and only counted.
template <class Visit>
std::int64_t each_match(const std::vector<Condition>& conditions, const Visit& visit) {
  const Matrix& first = conditions[0].cells;
  std::int32_t rows = 0, columns = 0;
  bool blanks_match = true;
  for (const Condition& condition : conditions) {
    rows = std::max(rows, condition.cells.used_rows());
    columns = std::max(columns, condition.cells.used_columns());
    blanks_match = blanks_match && condition.criterion.matches_blank();
  }
  rows = std::min(rows, first.rows());
  columns = std::min(columns, first.columns());
  std::int64_t count = 0;
  for (std::int32_t row = 0; row < rows; ++row) {
    for (std::int32_t column = 0; column < columns; ++column) {
      const bool all = std::all_of(conditions.begin(), conditions.end(), [&](const Condition& condition) {
        const bool used = row < condition.cells.used_rows() && column < condition.cells.used_columns();
        return condition.criterion.matches(used ? condition.cells.at(row, column) : Value());
      });
      if (!all) continue;
      ++count;
      visit(row, column);
    }
  }
  if (blanks_match) count += first.size() - std::int64_t{rows} * columns;
  return count;
}

// What is calculated from the numbers found.
struct Found {
  Sum sum;
  double count = 0, least = 0, most = 0;

  void add(double number) {
    sum.add(number);
    least = count == 0 ? number : std::min(least, number);
    most = count == 0 ? number : std::max(most, number);
    ++count;
  }
};

// Of a block of values with the same first cell as the conditions' blocks have, whatever size was written.
Found found_in(Call& call, Matrix& values, const std::vector<Condition>& conditions) {
  Found found;
  if (conditions.empty() || call.failed()) return found;
  each_match(conditions, [&](std::int32_t row, std::int32_t column) {
    if (row >= values.rows() || column >= values.columns()) return;
    const Value value = values.at(row, column);
    if (value.is_error()) call.fail(value.error());
    if (value.is_number()) found.add(value.number());
  });
  return found;
}

// A block grown or cut to the size of another.
Matrix resized(Call& call, int argument, const Matrix& like) {
  Operand operand = call.operand(argument);
  if (!operand.is_reference()) return call.cells(argument);
  operand.reference.last_row = std::min(operand.reference.row + like.rows(), kRows) - 1;
  operand.reference.last_column = std::min(operand.reference.column + like.columns(), kColumns) - 1;
  return {call.evaluation(), operand};
}

Found found_if(Call& call) {
  std::vector<Condition> conditions;
  conditions.push_back({call.cells(0), criterion_of(call, 1)});
  Matrix values = resized(call, call.missing(2) ? 0 : 2, conditions[0].cells);
  return found_in(call, values, conditions);
}

Found found_ifs(Call& call) {
  const std::vector<Condition> conditions = conditions_from(call, 1);
  Matrix values = call.cells(0);
  if (!conditions.empty() &&
      (values.rows() != conditions[0].cells.rows() || values.columns() != conditions[0].cells.columns()))
    call.fail(ErrorCode::kArgument);
  return found_in(call, values, conditions);
}

Operand mean(const Found& found) {
  return found.count == 0 ? Operand(ErrorCode::kDivision) : Operand(found.sum.result() / found.count);
}

Operand call_sumif(Call& call) {
  return found_if(call).sum.result();
}
Operand call_averageif(Call& call) {
  return mean(found_if(call));
}
Operand call_sumifs(Call& call) {
  return found_ifs(call).sum.result();
}
Operand call_averageifs(Call& call) {
  return mean(found_ifs(call));
}
Operand call_maxifs(Call& call) {
  return found_ifs(call).most;
}
Operand call_minifs(Call& call) {
  return found_ifs(call).least;
}

Operand call_countifs(Call& call) {
  const std::vector<Condition> conditions = conditions_from(call, 0);
  if (conditions.empty() || call.failed()) return 0.0;
  return static_cast<double>(each_match(conditions, [](std::int32_t, std::int32_t) {}));
}

Operand call_countblank(Call& call) {
  const Matrix cells = call.cells(0);
  std::int64_t filled = 0;
  for (std::int32_t row = 0; row < cells.used_rows(); ++row)
    for (std::int32_t column = 0; column < cells.used_columns(); ++column) {
      const Value value = cells.at(row, column);
      const bool is_blank = value.is_blank() || (value.is_text() && value.text().empty());
      filled += is_blank ? 0 : 1;
    }
  return static_cast<double>(cells.size() - filled);
}

constexpr Function kCriteriaFunctions[] = {
    {"AVERAGEIF", 2, 3, "rsr", call_averageif},        {"AVERAGEIFS", 3, kAnyNumber, "r|rs", call_averageifs},
    {"COUNTBLANK", 1, 1, "r", call_countblank},        {"COUNTIF", 2, 2, "rs", call_countifs},
    {"COUNTIFS", 2, kAnyNumber, "|rs", call_countifs}, {"MAXIFS", 3, kAnyNumber, "r|rs", call_maxifs},
    {"MINIFS", 3, kAnyNumber, "r|rs", call_minifs},    {"SUMIF", 2, 3, "rsr", call_sumif},
    {"SUMIFS", 3, kAnyNumber, "r|rs", call_sumifs},
};

}  // namespace

std::span<const Function> criteria_functions() {
  return kCriteriaFunctions;
}

}  // namespace ordvane::calc
