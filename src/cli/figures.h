// Figures as the terminal table shows them.
#pragma once

#include <string>

#include "embedded/cell_text.h"
#include "embedded/report_job.h"
#include "runfile/run.h"

namespace ordvane::cli {

// False for the missing-number marker.
bool is_there(double value);

// Values of one output as its cell shows them. A cell without a format of its own has as many decimals for
// all of them as tell the results apart.
class Figures {
 public:
  Figures(const runfile::Output& output, const embedded::OutputRanking& ranking);
  std::string text(double value) const;        // "-" for a missing one
  std::string difference(double value) const;  // of two values: days for dates
  bool shows_dates() const { return cell_.shows_dates(); }

 private:
  std::string plain(double value) const;

  embedded::CellText cell_;
  embedded::PlainStyle style_;
};

// "+12.3%"; "-" for a missing one.
std::string change_text(double fraction);

}  // namespace ordvane::cli
