// The files that a run consists of and was made from, none of which what is made of it may take the place of.
#pragma once

#include <filesystem>
#include <string>

#include "runfile/run.h"

namespace ordvane::runfile {

// What `file` is to the run, compared as files and not by name: "the run file", "a table of the run" or "the
// model of the run" (a workbook of its items' name beside the run file or in this folder). Empty: none of
// them.
std::string role_in_run(const Run& run, const std::filesystem::path& file);

}  // namespace ordvane::runfile
