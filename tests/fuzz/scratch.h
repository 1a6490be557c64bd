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

// What stands before the mark, and what stands behind it.
using Halves = std::pair<std::string_view, std::string_view>;
inline constexpr std::string_view kBetweenFiles = "\n=====\n";
Halves halves(std::string_view bytes, std::string_view mark = kBetweenFiles);

// Of a run that was written by us: whatever is refused in it is a fault, and ends the program.
void must_be_readable(const std::filesystem::path& run);
// Whether every part of XML is one. Throws xlsx::BadPackage for what is no archive.
bool is_well_formed(std::string_view package);

}  // namespace ordvane::fuzz
