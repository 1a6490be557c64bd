// Writes what read_run() reads.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runfile/run.h"
#include "text/json.h"

namespace ordvane::runfile {

using Json = text::Json;

// The run file of a run without its recalculated values. `all_groups`: its groups are all of one size, and
// every member has one number of steps.
Json description_of(const Run& run, bool all_groups = false);
// Its field "calculation".
Json calculation_json(const Calculation& calculation);
// The field "breakEven" of an output.
Json break_evens_json(const std::vector<BreakEven>& points);
// Whole numbers without a point, as far as doubles have them all.
Json number_json(double number);
// The text of the run file, when the rows stand in these files. `groups`: empty for a run without.
std::string run_text(Json description, const std::string& rows, const std::string& groups);

// The first line of a CSV file: of single inputs, or of groups of at most so many members.
std::string rows_header(std::size_t outputs);
std::string group_rows_header(std::size_t members, std::size_t outputs);

// One field of a row, the comma before it too. Numbers read back as the same double.
void append_field(std::string& row, std::int64_t position);
void append_field(std::string& row, double number);  // of |number| < kNumberLimit
// What no cell of numbers shows: an error or a text, "" for an empty field. A text that would be read as a
// number gets an apostrophe.
void append_field(std::string& row, std::string_view text);

}  // namespace ordvane::runfile
