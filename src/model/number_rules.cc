#include "model/number_rules.h"

#include "text/utf16.h"

namespace ordvane::model {

bool NumberRules::is_usable(double value) const {
  if (is_error(value)) return false;
  if (environment_) return environment_->numbers().is_usable(value);
  return std::isfinite(value) && value != host::kMissingNumber;
}

double NumberRules::difference(double value, double base) const {
  return is_usable(value) && is_usable(base) ? difference_of_numbers(value, base) : missing_number();
}

double NumberRules::fractional_change(double value, double base) const {
  if (!is_usable(value) || !is_usable(base) || base == 0) return missing_number();
  return difference_of_numbers(value, base) / std::fabs(base);
}

std::string NumberRules::shorten(const std::string& text, std::int32_t limit) const {
  return environment_ ? environment_->shorten(text, limit) : text::shortened(text, limit);
}

}  // namespace ordvane::model
