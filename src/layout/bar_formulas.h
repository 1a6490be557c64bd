// The figures that stacked bars are drawn from: formulas over the cells of a table.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "layout/bar_labels.h"

namespace ordvane::layout {

struct BarFormula {
  BarPart part;
  const char* name;
  bool seen;
  std::string formula;
};

// What all bars of a chart have in common.
struct BarFrame {
  double minimum = 0, maximum = 0;   // of the value axis
  double start = 0;                  // where bars without ends lie: not at a far-off zero
  std::optional<double> split = {};  // the parts below and above it are apart
  bool tails = false;                // unseen parts from the bar to the ends of the axis
};

// The parts of a bar in the order in which they are stacked. `low` and `high`: addresses of the cells with
// its ends, in either order; a bar that lacks one is empty. `beyond`: how far it reaches beyond them.
std::vector<BarFormula> bar_formulas(const std::string& low, const std::string& high, double beyond,
                                     const BarFrame& frame);

}  // namespace ordvane::layout
