// The least and the greatest of some numbers.
#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "model/number_rules.h"

namespace ordvane::model {

// Values that differ by what calculating leaves behind are equal.
struct Reach {
  std::optional<double> least, greatest;

  bool is_empty() const { return !least; }
  void add(double value) {
    least = std::min(least.value_or(value), value);
    greatest = std::max(greatest.value_or(value), value);
  }
  bool contains(const NumberRules& rules, double value) const {
    return least && rules.difference(value, *least) >= 0 && rules.difference(value, *greatest) <= 0;
  }
  bool equals(const NumberRules& rules, const Reach& other) const {
    if (is_empty() || other.is_empty()) return is_empty() == other.is_empty();
    return rules.difference(*least, *other.least) == 0 && rules.difference(*greatest, *other.greatest) == 0;
  }
  // Of a reach that is not empty.
  double swing(const NumberRules& rules) const { return rules.difference(*greatest, *least); }
  double largest_size() const { return std::max(std::fabs(*least), std::fabs(*greatest)); }
};

}  // namespace ordvane::model
