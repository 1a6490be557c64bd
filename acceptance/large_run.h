// A run of the size that people wait for, about cells of an empty workbook.
#pragma once

#include <filesystem>
#include <string>

namespace ordvane::acceptance {

struct RunSize {
  std::int32_t inputs, steps, outputs;
};

// Writes the run file and its table. `book`: the workbook that its cells are said to be in, on Sheet1 of the
// user's language, `sheet`.
void write_large_run(const std::filesystem::path& file, const RunSize& size, const std::string& book,
                     const std::string& sheet);

}  // namespace ordvane::acceptance
