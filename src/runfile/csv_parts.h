// The rows of a run in several CSV files, each of which has some of them and no line of names.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <vector>

#include "runfile/run.h"

namespace ordvane::runfile {

// Rows that follow each other in a CSV file.
struct CsvRows {
  std::filesystem::path file;
  std::int64_t begin = 0;  // the byte at which the first one begins
  std::int64_t lines = 0;  // that stand before it
  std::int64_t rows = 0;
};

// All rows of a run that is known but for its values, in their order. `between` is called now and then; what
// it throws ends the work. Throw BadRun, which names file, line and column, for a row that is not the run's.
void read_csv_parts(const std::vector<CsvRows>& csv, Run& run, const std::function<void()>& between);
void read_csv_group_parts(const std::vector<CsvRows>& csv, Run& run, const std::function<void()>& between);

}  // namespace ordvane::runfile
