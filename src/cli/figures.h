// Figures as the terminal table shows them.
#pragma once

#include <string>

#include "embedded/report_job.h"
#include "runfile/run.h"

namespace ordvane::cli {

// False for the missing-number marker.
bool is_there(double value);

// Values of one output, all with as many decimals as tell its results apart; dates as 2026-01-31.
class Figures {
 public:
  Figures(const runfile::Output& output, const embedded::OutputRanking& ranking);
  std::string text(double value) const;        // "-" for a missing one
  std::string difference(double value) const;  // of two values: days for dates

 private:
  bool date_;
  int decimals_ = 0;
  bool general_ = false;  // too large or too small to write out
};

// "+12.3%"; "-" for a missing one.
std::string change_text(double fraction);

}  // namespace ordvane::cli
