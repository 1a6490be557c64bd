#include "calc/value.h"

#include <bit>

namespace ordvane::calc {
namespace {

struct ErrorName {
  ErrorCode error;
  std::string_view text;
};
// The first of each text is the error that the text means.
constexpr ErrorName kErrorNames[] = {
    {ErrorCode::kNull, "#NULL!"},       {ErrorCode::kDivision, "#DIV/0!"},    {ErrorCode::kValue, "#VALUE!"},
    {ErrorCode::kReference, "#REF!"},   {ErrorCode::kName, "#NAME?"},         {ErrorCode::kNumber, "#NUM!"},
    {ErrorCode::kNotAvailable, "#N/A"}, {ErrorCode::kNoConvergence, "#NUM!"}, {ErrorCode::kArgument, "#NUM!"},
};

}  // namespace

std::string_view error_text(ErrorCode error) {
  for (const ErrorName& name : kErrorNames)
    if (name.error == error) return name.text;
  return "#VALUE!";
}

ErrorCode error_of_text(std::string_view text) {
  for (const ErrorName& name : kErrorNames)
    if (name.text == text) return name.error;
  return ErrorCode::kNone;
}

bool identical(const Value& a, const Value& b) {
  if (a.kind() != b.kind()) return false;
  if (a.is_text()) return a.text() == b.text();
  if (a.is_error()) return a.error() == b.error();
  return std::bit_cast<std::uint64_t>(a.number()) == std::bit_cast<std::uint64_t>(b.number());
}

Array& Arena::array(std::int32_t rows, std::int32_t columns) {
  const std::size_t size = static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
  count(size * sizeof(Value));
  Array& array = arrays_.emplace_back();
  array.rows = rows;
  array.columns = columns;
  array.values.resize(size);
  return array;
}

void Arena::clear() {
  texts_.clear();
  arrays_.clear();
  references_.clear();
  bytes_ = 0;
}

Value Lanes::at(int lane) const {
  const auto i = static_cast<std::size_t>(lane);
  switch (kind[i]) {
    case Kind::kNumber:
      return {number[i]};
    case Kind::kBoolean:
      return Value::boolean(number[i] != 0);
    case Kind::kEmpty:
      return Value::empty();
    case Kind::kUnchosen:
      return Value::unchosen();
    case Kind::kBlank:
      return {};
    case Kind::kText:
      return Value(text[i]);
    case Kind::kError:
      return {static_cast<ErrorCode>(number[i])};
  }
  return {};
}

void Lanes::set(int lane, const Value& value) {
  const auto i = static_cast<std::size_t>(lane);
  kind[i] = value.kind();
  if (value.is_text())
    text[i] = &value.text();
  else
    number[i] = value.is_error() ? static_cast<double>(value.error()) : value.number();
}

void Lanes::fill(const Value& value) {
  for (int lane = 0; lane < kLanes; ++lane) set(lane, value);
}

}  // namespace ordvane::calc
