// Which constants of a model can be varied without knowing what they mean, over which values, and why others
// cannot. docs/what-if.md has the rules.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "calc/model.h"

namespace ordvane::sweep {

inline constexpr double kFoundPercent = 10;

struct Candidate {
  enum class Kind : std::uint8_t { kPercent, kRange, kValues };
  calc::CellId cell = calc::kNoCell;
  Kind kind = Kind::kPercent;
  // Both ends of the percentage, or of a range that 100% cuts short; or all values: whole numbers, or those
  // of a drop-down list.
  std::vector<double> values;
};

struct LeftOut {
  calc::CellId cell = calc::kNoCell;
  std::string why;  // "a date"
};

struct Candidates {
  std::vector<Candidate> varied;  // neighbours in the model are neighbours here
  std::vector<LeftOut> left_out;
};

// Among the cells that the outputs are calculated from.
Candidates find_candidates(const calc::Model& model, std::span<const calc::CellId> outputs);

}  // namespace ordvane::sweep
