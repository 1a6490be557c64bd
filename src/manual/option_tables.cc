#include "manual/documents.h"
#include "manual/options.h"

namespace ordvane::manual {
namespace {

// In a cell of a table.
std::string cell(const std::string& text) {
  std::string escaped;
  for (const char letter : text) escaped += (letter == '|' ? "\\" : "") + std::string(1, letter);
  return escaped;
}

std::string row(const CLI::Option& option) {
  std::string names;
  for (const std::string& name : names_of(option)) names += (names.empty() ? "`" : ", `") + name + "`";
  if (const std::string value = value_of(option); !value.empty())
    names.insert(names.size() - 1, " " + cell(value));
  return "| " + names + " | " + cell(option.get_description()) + " |\n";
}

}  // namespace

std::string option_tables(const cli::Arguments& arguments) {
  std::string text;
  for (const CLI::App* command : arguments.commands()) {
    if (arguments.help_of(*command).empty()) continue;  // `help` has none
    const CLI::Option* const operand = positional_of(*command);
    text += (text.empty() ? "" : "\n") + ("`ordvane " + command->get_name()) + " [OPTIONS]" +
            (operand == nullptr ? "" : " " + operand->get_name()) + "`: " + command->get_description() +
            ".\n\n| option | |\n|---|---|\n";
    for (const OptionGroup& group : option_groups(*command)) {
      if (group.heading != "Options") text += "| **" + cell(group.heading) + "** | |\n";
      for (const CLI::Option* option : group.options) text += row(*option);
    }
  }
  return text;
}

}  // namespace ordvane::manual
