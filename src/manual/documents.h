// What is made of the definitions of commands and options, one text each.
#pragma once

#include <string>

#include "cli/arguments.h"

namespace ordvane::manual {

// A manual page for man(1), of `ordvane` itself or of one of its commands. `date`: "2026-01-31".
std::string manual_page(const cli::Arguments& arguments, const CLI::App& command, const std::string& date);
// "ordvane" or "ordvane-report".
std::string page_name(const cli::Arguments& arguments, const CLI::App& command);

// What shells complete command lines with.
std::string bash_completion(const cli::Arguments& arguments);
std::string zsh_completion(const cli::Arguments& arguments);
std::string fish_completion(const cli::Arguments& arguments);

// The options of every command as tables in Markdown.
std::string option_tables(const cli::Arguments& arguments);

}  // namespace ordvane::manual
