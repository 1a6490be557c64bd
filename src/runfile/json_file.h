// JSON files of this system, up to the point where their text can be parsed.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace ordvane::runfile {

// Both throw BadRun for a file that is not what is expected. `what`: "a run file".
// The bytes of a file.
std::string read_text(const std::filesystem::path& path, const std::string& what);
// The text without a byte order mark: UTF-8, and not empty.
std::string_view checked_text(std::string_view text, const std::string& file, const std::string& what);

}  // namespace ordvane::runfile
