// What counts as a number, for the records and tables: the engine's and the number service's tests together.
#pragma once

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>

#include "engine/engine.h"
#include "host/environment.h"

namespace ordvane::model {

class NumberRules {
 public:
  // Without an engine and a host: NaN is what the processor says, the marker is the built-in one.
  NumberRules() = default;
  NumberRules(std::shared_ptr<engine::Engine> engine, std::shared_ptr<host::Environment> environment)
      : engine_(std::move(engine)), environment_(std::move(environment)) {}

  // Whether several threads may ask at once.
  bool concurrent() const {
    return (!engine_ || engine_->concurrent()) && (!environment_ || environment_->numbers().concurrent());
  }
  bool is_nan(double value) const {
    return engine_ ? engine_->DRL4_DoubleIsNaN(value) == 1 : std::isnan(value);
  }
  bool is_error(double value) const { return engine_ && engine_->DRL4_DoubleIsError(value) != 0; }
  double missing_number() const {
    return environment_ ? environment_->numbers().missing_number() : host::kMissingNumber;
  }
  // False for NaN, infinities, the missing-number marker and spreadsheet errors.
  bool is_usable(double value) const;
  // The NaN rule: the value, or the missing-number marker instead of NaN.
  double without_nan(double value) const { return is_nan(value) ? missing_number() : value; }
  // The part of a number by which calculating it may have changed it.
  static constexpr double kRounding = 1e-12;
  // value - base; the missing-number marker when either is unusable. 0 where they differ by no more than
  // calculating them leaves behind: kRounding of the larger one.
  double difference(double value, double base) const;
  // Of two usable numbers.
  static double difference_of_numbers(double value, double base) {
    const double difference = value - base;
    return std::fabs(difference) <= kRounding * std::max(std::fabs(value), std::fabs(base)) ? 0.0
                                                                                            : difference;
  }
  // The difference in parts of |base|; the missing-number marker when either is unusable or the base is zero.
  double fractional_change(double value, double base) const;
  std::string shorten(const std::string& text, std::int32_t limit) const;

 private:
  std::shared_ptr<engine::Engine> engine_;
  std::shared_ptr<host::Environment> environment_;
};

}  // namespace ordvane::model
