// Files that a command is asked to write: what can be said of them before the work is done.
#pragma once

#include <filesystem>
#include <string>

namespace ordvane::cli {

inline constexpr const char* kRunEnding = ".run.json";

// Throws BadArguments, which begins with `option`, for a file that could not be written, or that is there and
// is not to be replaced. `ending`: what its name ends in; "" for whatever it does. Of those that end in
// .json, only this part has to be there. `otherwise`: what could be done instead of replacing a file, as the
// end of a sentence.
void check_new_file(const std::string& option, const std::filesystem::path& file, const std::string& ending,
                    bool overwrite, const std::string& otherwise = "");

// A page for browsers, by its name.
bool is_page(const std::filesystem::path& file);
// The same for a workbook or a page.
void check_new_report(const std::string& option, const std::filesystem::path& file, bool overwrite,
                      const std::string& otherwise = "");

// What a user may not know of the file that is replaced: that its name leads elsewhere, that it has others.
// Empty, or in parentheses behind a blank.
std::string other_names_of(const std::filesystem::path& file);

}  // namespace ordvane::cli
