// What speaks against changing a file that is there. Answers are the end of a sentence about the file, "it is
// read-only; …"; empty when nothing does.
#pragma once

#include <filesystem>
#include <string>

namespace ordvane::xlsx {

// Nobody may write it, or this process may not. Administrators may write everywhere; a file nobody may write
// is read-only to them too.
std::string why_read_only(const std::filesystem::path& place);
// Excel and LibreOffice keep files of their own beside a workbook that they have open.
std::string why_open_elsewhere(const std::filesystem::path& place);
// Locks the open file for this process; another one holds a lock on it when that fails.
std::string why_locked(int handle);

// All of them, of a file that nobody here has open. `place`: where the file really is.
std::string why_not_replaced(const std::filesystem::path& place);

}  // namespace ordvane::xlsx
