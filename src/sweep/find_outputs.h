// What a model seems to be for, when nobody has said which of its results to look at.
#pragma once

#include <vector>

#include "calc/model.h"

namespace ordvane::sweep {

// Cells that show a number with a text beside it, and that no other formula with a number reads but checks
// that show 0; those first that are calculated from most cells. Dates come behind numbers; cells of a row or
// column of alike formulas, and zeros, as checks show, only where there are few others. At most `most`.
std::vector<calc::CellId> find_outputs(const calc::Model& model, std::size_t most);

}  // namespace ordvane::sweep
