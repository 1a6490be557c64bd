#include "cli/new_file.h"

#include <system_error>

#include "cli/problems.h"
#include "cli/terminal.h"
#include "xlsx/file_guard.h"
#include "xlsx/whole_file.h"

namespace ordvane::cli {

void check_new_file(const std::string& option, const std::filesystem::path& file, const std::string& ending,
                    bool overwrite, const std::string& otherwise) {
  const std::string text = printable(file.string());
  const std::size_t last = ending.rfind('.');
  if (last != std::string::npos && !text.ends_with(ending.substr(last)))
    throw BadArguments(option + ": \"" + text + "\" does not end in " + ending);
  if (std::filesystem::is_directory(file))
    throw BadArguments(option + ": \"" + text + "\" is a folder; name a file in it");
  if (file.has_parent_path() && !std::filesystem::is_directory(file.parent_path()))
    throw BadArguments(option + ": there is no folder \"" + printable(file.parent_path().string()) + "\"");
  if (!std::filesystem::exists(file)) return;
  if (!overwrite)
    throw BadArguments(option + ": \"" + text + "\" is there already; --overwrite replaces it" + otherwise);
  if (const std::string why = xlsx::why_not_replaced(xlsx::place_of(file)); !why.empty())
    throw BadArguments(option + ": " + text + ": " + why);
}

bool is_page(const std::filesystem::path& file) {
  return file.extension() == ".html";
}

void check_new_report(const std::string& option, const std::filesystem::path& file, bool overwrite,
                      const std::string& otherwise) {
  if (file.extension() != ".xlsx" && !is_page(file))
    throw BadArguments(option + ": \"" + printable(file.string()) +
                       "\" ends neither in .xlsx, for a workbook, nor in .html, for a page");
  check_new_file(option, file, "", overwrite, is_page(file) ? "" : otherwise);
}

std::string other_names_of(const std::filesystem::path& file) {
  std::error_code error;
  std::string text;
  if (std::filesystem::is_symlink(file, error))
    text = " (a link to " + printable(xlsx::place_of(file).string()) + ")";
  const auto names = std::filesystem::hard_link_count(file, error);
  if (!error && names > 1)
    text += " (" + std::to_string(names - 1) + (names == 2 ? " other name" : " other names") +
            " of the file that it replaced still " + (names == 2 ? "shows" : "show") + " what was in it)";
  return text;
}

}  // namespace ordvane::cli
