// Files that are given for a run file and are none.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace ordvane::runfile {

// What is wrong with a file that is a workbook, another archive or a table of values: what it is, what a run
// file is and how one is made. "" for what may be a run file. `content`: the whole file.
std::string other_file_fault(const std::filesystem::path& file, std::string_view content);

}  // namespace ordvane::runfile
