// The options of a command as what is made of them needs them.
#pragma once

#include <string>
#include <vector>

#include "cli/arguments.h"

namespace ordvane::manual {

// Under one heading of help, in its order.
struct OptionGroup {
  std::string heading;
  std::vector<const CLI::Option*> options;
};
std::vector<OptionGroup> option_groups(const CLI::App& command);

// What is given by its place; null for none.
const CLI::Option* positional_of(const CLI::App& command);
// "-h", "--help".
std::vector<std::string> names_of(const CLI::Option& option);
// "FILE.xlsx"; nothing for an option without a value.
std::string value_of(const CLI::Option& option);

}  // namespace ordvane::manual
