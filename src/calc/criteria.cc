#include "calc/criteria.h"

#include "calc/convert.h"
#include "calc/rules.h"

namespace ordvane::calc {
Criterion::Criterion(Call& call, const Value& condition) {
  if (condition.is_text()) {
    read(call, condition.text());
    return;
  }
  is_numeric_ = true;
  if (condition.is_numeric()) number_ = condition.number();
}

void Criterion::read(Call& call, std::string_view text) {
  struct Sign {
    std::string_view text;
    Comparison comparison;
  };
  constexpr Sign kSigns[] = {
      {"<>", Comparison::kUnequal}, {"<=", Comparison::kLessOrEqual}, {">=", Comparison::kGreaterOrEqual},
      {"=", Comparison::kEqual},    {"<", Comparison::kLess},         {">", Comparison::kGreater}};
  for (const Sign& sign : kSigns) {
    if (!text.starts_with(sign.text)) continue;
    comparison_ = sign.comparison;
    has_operator_ = true;
    text.remove_prefix(sign.text.size());
    break;
  }
  text_ = text;
  has_text_ = true;
  pattern_.emplace(text);
  if (const auto number = number_of_text(text, call.counts_from_1904())) {
    is_numeric_ = true;
    number_ = *number;
  }
}

bool Criterion::is_equal(const Value& value) const {
  if (is_numeric_ && value.is_number() && nearly_equal(value.number(), number_)) return true;
  if (!has_text_) return false;
  if (value.is_error()) return pattern_->matches(error_text(value.error()));
  // An empty condition asks for blank cells; without an operator for empty texts, too.
  if (text_.empty()) return value.is_blank() || (!has_operator_ && value.is_text() && value.text().empty());
  if (!value.is_text()) return false;
  return pattern_->matches(value.text());
}

bool Criterion::matches(const Value& value) const {
  if (comparison_ == Comparison::kEqual) return is_equal(value);
  if (comparison_ == Comparison::kUnequal) return !is_equal(value);
  int order = 0;
  if (is_numeric_) {
    if (!value.is_number()) return false;
    order = compare(value.number(), number_);
  } else {
    if (!value.is_text()) return false;
    order = compare_texts(value.text(), text_);
  }
  switch (comparison_) {
    case Comparison::kLess:
      return order < 0;
    case Comparison::kLessOrEqual:
      return order <= 0;
    case Comparison::kGreater:
      return order > 0;
    default:
      return order >= 0;
  }
}

}  // namespace ordvane::calc
