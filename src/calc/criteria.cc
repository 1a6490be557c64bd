#include "calc/criteria.h"

#include "calc/convert.h"
#include "calc/rules.h"
#include "text/utf8.h"
#include "unicode/names.h"

namespace ordvane::calc {
namespace {

std::size_t character_length(std::string_view text) {
  return text::code_point_at(text, 0).bytes;
}

// One step of the comparison, past one character of the pattern that is no *. False if it does not fit.
bool fits_one(std::string_view& text, std::string_view& pattern) {
  if (text.empty()) return false;
  if (pattern.front() == '?') {
    pattern.remove_prefix(1);
    text.remove_prefix(character_length(text));
    return true;
  }
  std::string_view rest = pattern;
  if (rest.size() > 1 && rest[0] == '~' && (rest[1] == '*' || rest[1] == '?' || rest[1] == '~'))
    rest.remove_prefix(1);
  const std::size_t length = character_length(rest);
  if (rest.substr(0, length) != text.substr(0, length)) return false;
  pattern = rest.substr(length);
  text.remove_prefix(length);
  return true;
}

// Both folded. After a failure the last * takes one character more.
bool fits(std::string_view text, std::string_view pattern) {
  std::string_view retry_text, retry_pattern;
  bool can_retry = false;
  while (true) {
    if (!pattern.empty() && pattern.front() == '*') {
      pattern.remove_prefix(1);
      retry_text = text;
      retry_pattern = pattern;
      can_retry = true;
      continue;
    }
    if (pattern.empty() && text.empty()) return true;
    if (!pattern.empty() && fits_one(text, pattern)) continue;
    if (!can_retry || retry_text.empty()) return false;
    retry_text.remove_prefix(character_length(retry_text));
    text = retry_text;
    pattern = retry_pattern;
  }
}

}  // namespace

bool has_wildcards(std::string_view pattern) {
  return pattern.find_first_of("*?~") != std::string_view::npos;
}

bool matches_wildcards(std::string_view text, std::string_view pattern) {
  return fits(unicode::folded(text), unicode::folded(pattern));
}

bool same_text(std::string_view a, std::string_view b) {
  return unicode::same_name(a, b);
}

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
  if (const auto number = number_of_text(text, call.counts_from_1904())) {
    is_numeric_ = true;
    number_ = *number;
  } else {
    has_wildcards_ = has_wildcards(text);
  }
}

bool Criterion::is_equal(const Value& value) const {
  if (is_numeric_ && value.is_number() && nearly_equal(value.number(), number_)) return true;
  if (!has_text_) return false;
  if (value.is_error()) return same_text(error_text(value.error()), text_);
  // An empty condition asks for blank cells; without an operator for empty texts, too.
  if (text_.empty()) return value.is_blank() || (!has_operator_ && value.is_text() && value.text().empty());
  if (!value.is_text()) return false;
  return has_wildcards_ ? matches_wildcards(value.text(), text_) : same_text(value.text(), text_);
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
