#include "reports/table_values.h"

#include <cmath>

#include "host/error.h"

namespace ordvane::reports {
namespace {

constexpr double kDivisorNone = 1.0;

std::int32_t base_zero_flag(model::OrdvaneDivisorType kind) {
  switch (kind) {
    case model::OrdvaneDivisorInput:
      return model::OrdvaneInvalidTableValueInputBaseZero;
    case model::OrdvaneDivisorOutput:
      return model::OrdvaneInvalidTableValueOutputBaseZero;
    case model::OrdvaneDivisorInputOrOutput:
      break;
  }
  return model::OrdvaneInvalidTableValueInputOutputBaseZero;
}

std::int32_t base_invalid_flag(model::OrdvaneDivisorType kind) {
  switch (kind) {
    case model::OrdvaneDivisorInput:
      return model::OrdvaneInvalidTableValueInputBaseInvalid;
    case model::OrdvaneDivisorOutput:
      return model::OrdvaneInvalidTableValueOutputBaseInvalid;
    case model::OrdvaneDivisorInputOrOutput:
      break;
  }
  return model::OrdvaneInvalidTableValueInputOutputBaseInvalid;
}

// A value that cannot be tested counts as an error value.
bool is_error(const model::NumberRules& rules, double value) {
  bool error = true;
  host::ignoring_errors([&] { error = rules.is_error(value); });
  return error;
}

// A change is divided by the size of the base value, so a missing base value may come without its sign.
bool is_missing_base(double divisor) {
  return std::fabs(divisor) == std::fabs(host::kMissingNumber);
}

// The number that a table shows, or the flag that says why there is none.
struct TableNumber {
  double number = 0;
  std::int32_t flag = model::OrdvaneInvalidTableValueNone;
};

TableNumber table_number(const model::NumberRules& rules, double value, double divisor,
                         model::OrdvaneDivisorType kind) {
  if (value == host::kMissingNumber) return {.flag = base_zero_flag(kind)};
  if (is_error(rules, value)) return {.flag = model::OrdvaneInvalidTableValueError};
  if (divisor != kDivisorNone) {
    if (is_error(rules, divisor) || is_missing_base(divisor)) return {.flag = base_invalid_flag(kind)};
    if (divisor == 0.0) return {.flag = base_zero_flag(kind)};
    value /= divisor;
  }
  // No cell holds what is not finite.
  if (!std::isfinite(value)) return {.flag = model::OrdvaneInvalidTableValueError};
  return {.number = value};
}

}  // namespace

void FormatTableValue(const model::NumberRules& rules, host::CellBlock& block, std::int32_t row,
                      std::int32_t column, double value, std::int32_t& flags, double divisor,
                      model::OrdvaneDivisorType divisor_kind) {
  const TableNumber shown = table_number(rules, value, divisor, divisor_kind);
  flags |= shown.flag;
  if (shown.flag == model::OrdvaneInvalidTableValueNone)
    block.set_number(row, column, shown.number);
  else
    block.set_text(row, column, host::kNotShown);
}

host::CellValue FormatTableValue(const model::NumberRules& rules, double value, std::int32_t& flags,
                                 double divisor, model::OrdvaneDivisorType divisor_kind) {
  const TableNumber shown = table_number(rules, value, divisor, divisor_kind);
  flags |= shown.flag;
  if (shown.flag == model::OrdvaneInvalidTableValueNone) return shown.number;
  return host::kNotShown;
}

}  // namespace ordvane::reports
