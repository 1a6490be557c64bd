// Values as the cells of a run's items show them.
#pragma once

#include <span>
#include <string>

#include "office/number_format.h"
#include "runfile/run.h"

namespace ordvane::embedded {

// How numbers of cells without a format are written.
struct PlainStyle {
  int decimals = 0;
  bool exponent = false;  // too long, or too small, for decimals
};
// With as many decimals as tell these apart. NaN and the missing-number marker are passed over.
PlainStyle plain_style(std::span<const double> values);

class CellText {
 public:
  // An item that is a date, in a format that does not say how dates look, shows them as 2026-01-31.
  explicit CellText(const runfile::Item& item);

  // The cell has no format of its own: how exact its figures are is for the reader to choose.
  bool is_general() const { return format_.is_general(); }
  bool shows_dates() const { return format_.shows_dates(); }
  // In English figures, without the blanks that a format keeps free for signs. A value that the format hides,
  // or has no text for, as General shows it.
  std::string text(double value) const;

 private:
  office::NumberFormat format_;
};

}  // namespace ordvane::embedded
