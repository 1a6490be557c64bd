// The recalculations of a run as they were recorded, as a text for other programs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "exchange/rows.h"
#include "runfile/run.h"

namespace ordvane::exchange {

// What the first column of the tables of write_table is called; no input and no output is.
inline constexpr const char* kVariedColumn = "varied";
// Between the names of inputs that were varied together, in that column.
inline constexpr const char* kBetweenVaried = ";";

// A row for each recalculation and output: what was varied, to which value, and the result. `outputs`:
// zero-based positions; empty: all. `simulation`: counted from 1; none: all.
void write_steps(const runfile::Run& run, const std::vector<std::int32_t>& outputs,
                 std::optional<std::int32_t> simulation, TextForm form, const Write& write);

// A row for each recalculation, with every input and output as a column: which inputs were varied, the value
// of every input, the result of every output. The base case comes first. Of inputs without saved samples
// nobody knows the values; they are left out.
void write_table(const runfile::Run& run, const std::vector<std::int32_t>& outputs, std::int32_t simulation,
                 TextForm form, const Write& write);

}  // namespace ordvane::exchange
