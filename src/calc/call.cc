#include "calc/call.h"

#include <algorithm>
#include <cmath>

#include "calc/evaluation.h"
#include "calc/operators.h"
#include "text/calendar.h"

namespace ordvane::calc {

Matrix::Matrix(Evaluation& evaluation, const Operand& operand) : evaluation_(evaluation), operand_(operand) {
  if (operand.is_array()) {
    used_rows_ = rows_ = operand.array->rows;
    used_columns_ = columns_ = operand.array->columns;
  } else if (operand.is_reference()) {
    const Reference& block = operand.reference;
    const Grid& grid = evaluation.book().sheets[static_cast<std::size_t>(block.sheet)].grid;
    rows_ = block.rows();
    columns_ = block.columns();
    used_rows_ = std::clamp(grid.rows() - block.row, 0, rows_);
    used_columns_ = std::clamp(grid.columns() - block.column, 0, columns_);
  }
}

Value Matrix::at(std::int32_t row, std::int32_t column) const {
  switch (operand_.type) {
    case Operand::Type::kMissing:
      return {};
    case Operand::Type::kValue:
      return operand_.value;
    case Operand::Type::kArray:
      return operand_.array->at(row, column);
    case Operand::Type::kReference:
      return evaluation_.at(operand_.reference.sheet, operand_.reference.row + row,
                            operand_.reference.column + column);
  }
  return {};
}

double Call::number(int argument) {
  return number_of(value(argument));
}

std::int64_t Call::whole(int argument) {
  const double number = std::floor(this->number(argument));
  if (std::fabs(number) <= 2147483648.0) return static_cast<std::int64_t>(number);
  fail(ErrorCode::kArgument);
  return 0;
}

std::string Call::text(int argument) {
  return text_of(value(argument));
}

bool Call::logical(int argument) {
  const Conversion truth = truth_of(value(argument), counts_from_1904());
  if (truth.error != ErrorCode::kNone) fail(truth.error);
  return truth.number != 0;
}

Value Call::value(int argument) {
  const Operand& operand = this->operand(argument);
  if (operand.is_reference())
    return evaluation_.at(operand.reference.sheet, operand.reference.row, operand.reference.column);
  if (operand.is_array()) return operand.array->values.front();
  return operand.value;
}

double Call::number_of(const Value& value) {
  const Conversion converted = calc::number_of(value, counts_from_1904());
  if (converted.error != ErrorCode::kNone) fail(converted.error);
  return converted.number;
}

std::string Call::text_of(const Value& value) {
  if (value.is_error()) fail(value.error());
  return calc::text_of(value);
}

void Call::each(int argument, const std::function<void(const Value&, From)>& visit) {
  const Operand& operand = this->operand(argument);
  if (operand.is_missing()) {
    visit(Value(0.0), From::kFormula);
  } else if (operand.is_value()) {
    if (!operand.value.is_blank()) visit(operand.value, From::kFormula);
  } else if (operand.is_array()) {
    for (std::int32_t column = 0; column < operand.array->columns; ++column)
      for (std::int32_t row = 0; row < operand.array->rows; ++row)
        if (const Value& value = operand.array->at(row, column); value.kind() != Kind::kBlank)
          visit(value, From::kArray);
  } else {
    const auto block = [&](const Reference& reference) {
      for (std::int32_t sheet = reference.sheet; sheet <= reference.last_sheet; ++sheet) {
        evaluation_.book().sheets[static_cast<std::size_t>(sheet)].grid.each(
            reference, [&](CellId cell, std::int32_t, std::int32_t) {
              if (const Value value = evaluation_.values().value(cell); !value.is_blank())
                visit(value, From::kCell);
            });
      }
    };
    block(operand.reference);
    for (const Reference& reference : operand.more) block(reference);
  }
}

void Call::each_from(int first, const std::function<void(const Value&, From)>& visit) {
  for (int argument = first; argument < count(); ++argument) each(argument, visit);
}

void Call::numbers_from(int first, int end, const std::function<void(double)>& visit) {
  for (int argument = first; argument < end; ++argument) {
    each(argument, [&](const Value& value, From from) {
      if (value.is_error()) fail(value.error());
      if (value.is_text() && from == From::kFormula) fail(ErrorCode::kValue);
      if (value.is_number() && !failed()) visit(value.number());
    });
  }
}

Value Call::make_text(std::string text) {
  return evaluation_.arena().text(std::move(text));
}

Array& Call::make_array(std::int32_t rows, std::int32_t columns) {
  constexpr std::int64_t kMost = std::int64_t{1} << 24;
  if (rows < 1 || columns < 1 || std::int64_t{rows} * columns > kMost) {
    fail(ErrorCode::kArgument);
    rows = columns = 1;
  }
  return evaluation_.arena().array(rows, columns);
}

double Call::now() const {
  return evaluation_.frozen().now + static_cast<double>(text::Calendar(counts_from_1904()).day(text::Date()));
}

double Call::random() {
  return evaluation_.random();
}

Reference Call::cell() const {
  const Cell& cell = evaluation_.book().cells[static_cast<std::size_t>(evaluation_.cell())];
  return {cell.sheet, cell.sheet, cell.row, cell.column, cell.row, cell.column};
}

bool Call::counts_from_1904() const {
  return evaluation_.book().counts_from_1904;
}

}  // namespace ordvane::calc
