// The arguments of one command, read so that none of them keeps the others from being looked at.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "cli/arguments.h"

namespace ordvane::cli {

// What is wrong with an argument is kept as a problem. Refers to all that it is made with.
class CommandLine {
 public:
  // A command on one run file.
  CommandLine(Arguments& arguments, const char* name, const char* what, std::filesystem::path& run);

  CLI::App& parser() const { return command_; }
  // What is told of the command below its options.
  void set_help(HelpParts parts) { arguments_.set_help(command_, std::move(parts)); }
  // What the command does, with the exit code.
  void runs(std::function<int()> action);

  // An option with a value, which `read` takes as it was typed.
  template <class Read>
  CLI::Option* option(const char* name, const ValueKind& kind, const std::string& what, const Read& read) {
    using Values = std::vector<std::string>;
    const auto take = [=, &problems = arguments_.problems(),
                       type = std::string(kind.name)](const Values& given) {
      if (given.size() > 1) return problems.add(std::string(name) + ": is given more than once");
      if (given.empty() || given.front().empty())
        return problems.add(std::string(name) + ": " + type + " is missing");
      problems.gather([&] { read(given.front()); });
    };
    return single(command_.add_option_function<Values>(name, take, what), kind)
        ->type_size(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  }
  // An option whose value may be empty, as a script may have it.
  template <class Read>
  CLI::Option* free_text(const char* name, const ValueKind& kind, const std::string& what, const Read& read) {
    CLI::Option* const added = command_.add_option_function<std::string>(name, read, what);
    arguments_.set_kind(*added, kind);
    return added->type_name(kind.name);
  }
  // An option that may be given again.
  void repeated_option(const char* name, const ValueKind& kind, const char* what,
                       std::vector<std::string>& values);

 private:
  // What was left over, and the run where it is missing. Behind an option that does not exist nobody knows
  // which word is the run and which the option's value; the run is cleared then.
  void check_words() const;
  void add_unknown(const std::string& option) const;
  CLI::Option* single(CLI::Option* option, const ValueKind& kind);

  Arguments& arguments_;
  CLI::App& command_;
  std::filesystem::path& run_;
};

}  // namespace ordvane::cli
