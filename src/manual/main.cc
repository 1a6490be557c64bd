// Made with the command and run by the build: writes manual pages, completions and the table of options into
// a folder, from the definitions that the command itself is made of. Usage: ordvane_manual FOLDER
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "cli/report_clock.h"
#include "manual/documents.h"
#include "text/calendar.h"

namespace ordvane::manual {
namespace {

void write(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  if (!stream.flush()) throw std::runtime_error(file.string() + ": cannot be written");
}

std::string today() {
  const auto clock = cli::report_clock();
  const auto now =
      clock ? clock() : std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  return text::iso_date(text::date_of(std::chrono::floor<std::chrono::days>(now)));
}

void write_all(const std::filesystem::path& folder) {
  const cli::Arguments arguments;
  const std::string date = today();
  const auto write_page = [&](const CLI::App& command) {
    write(folder / "man/man1" / (page_name(arguments, command) + ".1"),
          manual_page(arguments, command, date));
  };
  write_page(arguments.parser());
  for (const CLI::App* command : arguments.commands())
    if (!arguments.help_of(*command).empty()) write_page(*command);
  write(folder / "completions/bash/ordvane", bash_completion(arguments));
  write(folder / "completions/zsh/_ordvane", zsh_completion(arguments));
  write(folder / "completions/fish/ordvane.fish", fish_completion(arguments));
  write(folder / "options.md", option_tables(arguments));
}

}  // namespace
}  // namespace ordvane::manual

int main(int argc, char** argv) {
  try {
    if (argc != 2) throw std::runtime_error("usage: ordvane_manual FOLDER");
    ordvane::manual::write_all(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "ordvane_manual: " << error.what() << '\n';
    return 1;
  }
}
