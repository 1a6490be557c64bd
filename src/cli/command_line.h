// The arguments of one command, read so that none of them keeps the others from being looked at.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/problems.h"

namespace ordvane::cli {

inline constexpr const char* kCommands = "Commands";  // heading of their list

// What is wrong with an argument is kept as a problem. Refers to all that it is made with.
class CommandLine {
 public:
  // A command on one run file.
  CommandLine(CLI::App& app, const char* name, const char* what, std::filesystem::path& run,
              Problems& problems);

  CLI::App& parser() const { return command_; }

  // An option with a value, which `read` takes as it was typed.
  template <class Read>
  CLI::Option* option(const char* name, const std::string& type, const std::string& what, const Read& read) {
    using Values = std::vector<std::string>;
    const auto take = [=, &problems = problems_](const Values& given) {
      if (given.size() > 1) return problems.add(std::string(name) + ": is given more than once");
      if (given.empty() || given.front().empty())
        return problems.add(std::string(name) + ": " + type + " is missing");
      problems.gather([&] { read(given.front()); });
    };
    return command_.add_option_function<Values>(name, take, what)
        ->type_name(type)
        ->type_size(1)
        ->expected(0, 1)
        ->allow_extra_args(false)  // the run file may follow
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  // An option that may be given again.
  void repeated_option(const char* name, const char* type, const char* what,
                       std::vector<std::string>& values);

  // For when all is parsed: what was left over, and the run where it is missing. Behind an option that does
  // not exist nobody knows which word is the run and which the option's value; the run is cleared then.
  void check_words() const;

 private:
  void add_unknown(const std::string& option) const;

  CLI::App& command_;
  std::filesystem::path& run_;
  Problems& problems_;
};

}  // namespace ordvane::cli
