// What LibreOffice would calculate anew each time, and is told to hold as it is frozen here: the clock and
// random numbers.
#pragma once

#include <chrono>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "calc/model.h"

namespace ordvane::sweep {

calc::Frozen frozen_at(std::chrono::sys_seconds moment);

// A cell whose formula calls NOW, TODAY or RAND.
struct FrozenCell {
  calc::CellId cell = calc::kNoCell;
  std::vector<double> randoms;  // what each call of RAND gives, in their order
};
std::vector<FrozenCell> frozen_cells(const calc::Model& model);

// Whether a formula among these cells has another value with every calculation.
bool any_volatile(const calc::Model& model, std::span<const calc::CellId> cells);

// The first of these cells that LibreOffice cannot be told to hold, and why: "Plan!B3: RANDBETWEEN"; nothing
// for none.
std::optional<std::string> never_frozen(const calc::Model& model, std::span<const calc::CellId> cells);

}  // namespace ordvane::sweep
