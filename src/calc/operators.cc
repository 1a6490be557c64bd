#include "calc/operators.h"

#include "calc/convert.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

bool holds(NodeType type, int order) {
  switch (type) {
    case NodeType::kEqual:
      return order == 0;
    case NodeType::kUnequal:
      return order != 0;
    case NodeType::kLess:
      return order < 0;
    case NodeType::kLessEqual:
      return order <= 0;
    case NodeType::kGreater:
      return order > 0;
    default:
      return order >= 0;
  }
}

Value calculated(NodeType type, double left, double right) {
  switch (type) {
    case NodeType::kAdd:
      return {add(left, right)};
    case NodeType::kSubtract:
      return {subtract(left, right)};
    case NodeType::kMultiply:
      return {left * right};
    case NodeType::kDivide:
      return right == 0 ? Value(ErrorCode::kDivision) : Value(left / right);
    default:
      return {power(left, right)};
  }
}

constexpr std::size_t kLongestText = 65535;

}  // namespace

Conversion number_of(const Value& value, bool counts_from_1904) {
  if (value.is_numeric()) return {value.number()};
  if (value.is_error()) return {0, value.error()};
  if (const auto number = number_of_text(value.text(), counts_from_1904)) return {*number};
  return {0, ErrorCode::kValue};
}

Conversion truth_of(const Value& value, bool counts_from_1904) {
  Conversion converted = number_of(value, counts_from_1904);
  converted.number = converted.number != 0 ? 1 : 0;
  return converted;
}

std::string text_of(const Value& value) {
  switch (value.kind()) {
    case Kind::kBlank:
      return "";
    case Kind::kUnchosen:
      return "FALSE";
    case Kind::kText:
      return value.text();
    case Kind::kError:
      return std::string(error_text(value.error()));
    default:
      return text_of_number(value.number());
  }
}

int compare_values(const Value& a, const Value& b) {
  const bool a_blank = a.is_blank() || a.kind() == Kind::kEmpty,
             b_blank = b.is_blank() || b.kind() == Kind::kEmpty;
  if (a.is_text() && b.is_text()) return compare_texts(a.text(), b.text());
  if (a.is_text()) return b_blank ? (a.text().empty() ? 0 : 1) : 1;
  if (b.is_text()) return a_blank ? (b.text().empty() ? 0 : -1) : -1;
  return compare(a.number(), b.number());
}

Value operate(NodeType type, const Value& value, bool counts_from_1904) {
  if (type == NodeType::kPlus) return value;
  const Conversion converted = number_of(value, counts_from_1904);
  if (converted.error != ErrorCode::kNone) return {converted.error};
  return {type == NodeType::kNegate ? -converted.number : converted.number / 100};
}

Value operate(NodeType type, const Value& left, const Value& right, bool counts_from_1904, Arena& arena) {
  if (type == NodeType::kConcatenate) {
    if (right.is_error()) return right;
    if (left.is_error()) return left;
    std::string joined = text_of(left) + text_of(right);
    if (joined.size() > kLongestText) return {ErrorCode::kTextOverflow};
    return arena.text(std::move(joined));
  }
  if (type >= NodeType::kEqual && type <= NodeType::kGreaterEqual) {
    if (left.is_error()) return left;
    if (right.is_error()) return right;
    return Value::boolean(holds(type, compare_values(left, right)));
  }
  const Conversion x = number_of(left, counts_from_1904), y = number_of(right, counts_from_1904);
  if (x.error != ErrorCode::kNone) return {x.error};
  if (y.error != ErrorCode::kNone) return {y.error};
  return calculated(type, x.number, y.number);
}

}  // namespace ordvane::calc
