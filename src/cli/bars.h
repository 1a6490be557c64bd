// Tornado bars in text: from the lowest to the highest result of an input or group, around the output's base
// value.
#pragma once

#include <string>
#include <vector>

#include "host/environment.h"

namespace ordvane::cli {

// Lowest and highest result; the missing-number marker for none.
struct Ends {
  double low, high;
};
inline constexpr Ends kNoEnds{host::kMissingNumber, host::kMissingNumber};

class Bars {
 public:
  // `columns` for the widest bar. With `unicode` half columns are drawn.
  Bars(double base, const std::vector<Ends>& all, int columns, bool unicode);

  // A text of that many columns.
  std::string draw(const Ends& ends) const;

 private:
  // The columns on one side of the base line, in halves.
  struct Side {
    double from = 0, to = 0;  // values at its ends
    int halves = 0;
  };
  std::string draw(const Side& side, double low, double high, bool base_at_end) const;

  Side left_, right_;
  bool has_base_ = false;
  bool unicode_;
};

}  // namespace ordvane::cli
