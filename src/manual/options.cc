#include "manual/options.h"

#include <algorithm>

namespace ordvane::manual {

std::vector<OptionGroup> option_groups(const CLI::App& command) {
  std::vector<OptionGroup> groups;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) continue;
    const std::string& heading = option->get_group();
    auto group = std::find_if(groups.begin(), groups.end(),
                              [&](const OptionGroup& each) { return each.heading == heading; });
    if (group == groups.end()) group = groups.insert(groups.end(), {heading, {}});
    group->options.push_back(option);
  }
  return groups;
}

const CLI::Option* positional_of(const CLI::App& command) {
  for (const CLI::Option* option : command.get_options())
    if (option->get_positional()) return option;
  return nullptr;
}

std::vector<std::string> names_of(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
  return names;
}

std::string value_of(const CLI::Option& option) {
  return option.get_type_size() > 0 ? option.get_type_name() : "";
}

}  // namespace ordvane::manual
