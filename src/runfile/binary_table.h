// The recalculated values of a run as a binary table: a head, then columns of doubles that stand in the file
// as they stand in memory, so that programs map them. docs/run-file.md describes every byte.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

#include "runfile/csv_parts.h"
#include "runfile/run.h"

namespace ordvane::runfile {

// By its name.
inline constexpr const char* kBinaryEnding = ".bin";
bool is_binary_table(const std::filesystem::path& table);
// By what it begins with.
bool begins_as_binary_table(std::string_view bytes);

// Into a run whose inputs, outputs, simulations and groups are known. Throws BadRun, which names the table
// and the field, for a table that is none, is damaged, or is of another run.
void read_binary_rows(const std::filesystem::path& table, Run& run);
void read_binary_group_rows(const std::filesystem::path& table, Run& run);

// Write piece by piece. The run was read with its texts.
using WriteBytes = std::function<void(std::string_view)>;
void write_binary_rows(const Run& run, const WriteBytes& write);
void write_binary_group_rows(const Run& run, const WriteBytes& write);

// Writes bytes at a place of the table, behind all that was written so far, too.
using WriteAt = std::function<void(std::uint64_t at, std::string_view bytes)>;
// Tables of rows that stand in CSV files, all of them in their order; memory does not grow with their number.
// The run is known but for its values. `between` is called now and then; what it throws ends the work.
// Throw BadRun, which names file, line and column, for a row that is not the run's.
void csv_to_binary_rows(const std::vector<CsvRows>& csv, Run& run, const WriteAt& write,
                        const std::function<void()>& between);
void csv_to_binary_group_rows(const std::vector<CsvRows>& csv, Run& run, const WriteAt& write,
                              const std::function<void()>& between);

}  // namespace ordvane::runfile
