// What people call the cells of a model: the texts beside them.
#pragma once

#include <optional>
#include <string>

#include "calc/model.h"
#include "runfile/run.h"

namespace ordvane::sweep {

// The nearest text in a direction, whatever stands between.
std::optional<runfile::LabelCell> nearest_text(const calc::Model& model, const calc::Cell& cell, int row_step,
                                               int column_step);

// On one line: the text to the left, passing over a unit that stands between; behind other numbers of its row
// with the text above it, as in a table; the text above alone where there is none to the left, or a unit
// alone; or nothing.
std::string label_of(const calc::Model& model, calc::CellId cell);
// The text to the left and the text above, which tells apart what `label_of` gives one name.
std::string long_label_of(const calc::Model& model, calc::CellId cell);
// What the text directly to the right or to the left counts in, "years"; empty where none does.
std::string unit_of(const calc::Model& model, calc::CellId cell);

}  // namespace ordvane::sweep
