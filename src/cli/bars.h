// Tornado bars in text: from an input's lowest to its highest result, around the output's base value.
#pragma once

#include <string>

#include "embedded/report_job.h"

namespace ordvane::cli {

class Bars {
 public:
  // `columns` for the widest bar. With `unicode` half columns are drawn.
  Bars(const embedded::OutputRanking& ranking, int columns, bool unicode);

  // A text of that many columns.
  std::string draw(const embedded::Effect& effect) const;

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
