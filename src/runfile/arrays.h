// Runs whose recalculated values come from a program's own arrays instead of a file.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "runfile/json_tree.h"
#include "runfile/run.h"

namespace ordvane::runfile {

// A result that is a text or, as "#N/A", a spreadsheet error. It takes the place of a number.
struct TextResult {
  std::size_t at = 0;  // position in the array of results
  std::string text;
};

// In the order of the rows of a run file, the right index running fastest. NaN is an empty field.
struct Arrays {
  std::span<const double> values;         // [simulation][input][step]
  std::span<const double> results;        // [simulation][input][step][output]
  std::span<const double> group_values;   // [simulation][group][member][step]
  std::span<const double> group_results;  // [simulation][group][combination][output]
  std::span<const TextResult> texts;      // among the results
  std::span<const TextResult> group_texts;
};

// What stands in for the name of a file in messages about such a run.
inline constexpr const char* kNoFile = "run";

// Makes and verifies a run. `description` is a run file without its recalculations, which may also leave out
// format, version, simulations (1) and the places of its items: book and sheet are then "Model", and "Inputs"
// or "Outputs"; the cell is in column A, in the row of the item's position. Throws BadRun.
Run make_run(Json description, const Arrays& arrays);
// From JSON text.
Run make_run(std::string_view description, const Arrays& arrays);

}  // namespace ordvane::runfile
