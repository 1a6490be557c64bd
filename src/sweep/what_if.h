// What-if definitions: which inputs of a workbook model are varied, over which values, and which outputs are
// looked at. A JSON file (docs/what-if.schema.json), or options of the command.
//
// Nothing here knows the workbook: what cells and names mean is found out when a plan is made (plan.h).
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "runfile/description.h"
#include "runfile/json_tree.h"

namespace ordvane::sweep {

using runfile::kWhatIfFormat;
inline constexpr std::int32_t kDefaultSteps = 5;

// One end of a range. Dates are days of the calendar that begins in 1900.
struct Bound {
  double value = 0;
  bool is_date = false;
};

// An input or output as it is asked for.
struct Wanted {
  std::string file, path;      // where that stands, for messages: a file and a field, or an option
  std::string sheet, cell;     // "Prices", "C3"; no sheet: that of a workbook with only one
  std::string defined_name;    // a name of the workbook in the place of a cell
  std::string name;            // what to call it; empty: by the text beside the cell
  std::optional<double> base;  // the value that the definition was made for
};

struct WantedOutput : Wanted {
  std::optional<double> target;  // the value at which the decision turns
};

// Either a range, or a range in percent of the base, or a list of values.
struct WantedInput : Wanted {
  std::optional<Bound> low, high;
  std::optional<std::pair<double, double>> percent;
  std::vector<double> values;
  std::optional<std::int32_t> steps;  // of a range
};

// Every combination of the steps of some inputs.
struct WantedGroup {
  std::string file, path;
  std::vector<std::size_t> members;  // zero-based positions of inputs
  std::vector<std::int32_t> steps;   // of each member; none: as many as when it is varied alone
};

struct WhatIf {
  std::vector<WantedInput> inputs;
  std::vector<WantedOutput> outputs;
  std::vector<WantedGroup> groups;
  // Every group of a size among the inputs, and the steps of each member.
  std::optional<std::pair<std::int32_t, std::int32_t>> all_groups;
  std::int32_t steps = kDefaultSteps;  // of inputs that do not say it
};

// All throw runfile::BadRun, which names the file and the field, or the option.
WhatIf read_what_if(const std::filesystem::path& file);
WhatIf what_if_of(const runfile::Json& tree, const std::string& file);
// "Prices!C3=10..20", "Tax=±10%" (or +-10%), "Tax=-5%..20%", "C3=1,2,5".
WantedInput input_option(const std::string& text);
// "'My sheet'!B5" or a name.
WantedOutput output_option(const std::string& text);

// The same, given by `where`, which messages begin with.
Wanted wanted_place(const std::string& where, const std::string& text);

// Whether a file is meant as a definition, right or wrong, and not as a recorded run.
bool is_what_if_file(const std::filesystem::path& file);

}  // namespace ordvane::sweep
