// What recalculates a model for a sweep, whatever does it.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ordvane::sweep {

// What an output shows: a number; or an error ("#NUM!") or another text; or nothing.
struct Result {
  double number = std::numeric_limits<double>::quiet_NaN();
  std::string text;

  bool is_number() const { return text.empty() && !std::isnan(number); }
};
// Bit for bit.
bool identical(const Result& a, const Result& b);
// For messages.
std::string shown(const Result& result);

// An input, by its position in the plan, and what it is set to.
struct Change {
  std::size_t input = 0;
  double value = 0;
};

// The inputs of one recalculation that are not at their base.
using Recalculation = std::vector<Change>;

// One model with the inputs and outputs of a plan. Used by one thread at a time.
class Calculator {
 public:
  virtual ~Calculator() = default;
  // Its name with its version, as it is recorded: results of another engine may differ in their last digit.
  virtual std::string engine() const = 0;
  // The results of each recalculation, one for each output. Every recalculation begins at the base, whatever
  // came before it. Throws host::Error when nothing can be calculated any more, kUserCancelled included.
  virtual std::vector<std::vector<Result>> evaluate(std::span<const Recalculation> recalculations) = 0;
};

}  // namespace ordvane::sweep
