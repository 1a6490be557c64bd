// Files that harnesses read input from and write results into.
#pragma once

#include <filesystem>
#include <string_view>
#include <utility>

#include "runfile/run.h"

namespace ordvane::fuzz {

// A file of this process, which is gone when the process ends as it should.
std::filesystem::path scratch(const char* name);
// The same, with these bytes.
std::filesystem::path scratch(const char* name, std::string_view bytes);

// What stands before the line "=====", and what stands behind it.
std::pair<std::string_view, std::string_view> halves(std::string_view bytes);

// Of a run that was written by us: whatever is refused in it is a fault, and ends the program.
void must_be_readable(const std::filesystem::path& run);

}  // namespace ordvane::fuzz
