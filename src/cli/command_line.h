// The arguments of one command, read so that none of them keeps the others from being looked at.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/arguments.h"

namespace ordvane::cli {

// What is wrong with an argument is kept as a problem. Refers to all that it is made with.
class CommandLine {
 public:
  // The file that a command is about.
  struct Operand {
    ValueKind kind;
    const char* what;
    const char* missing;   // "name a run file"
    const char* too_many;  // "a command takes one run file"
  };
  CommandLine(Arguments& arguments, const char* name, const char* what, const Operand& operand,
              std::filesystem::path& file);
  // A command on one run file.
  CommandLine(Arguments& arguments, const char* name, const char* what, std::filesystem::path& run);

  // Files that may follow the first.
  void operand(const ValueKind& kind, const char* what, std::filesystem::path& file);
  void operands(const ValueKind& kind, const char* what, std::vector<std::filesystem::path>& files);

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
  // An option that also stands without its value, which is empty then.
  void optional_value(const char* name, const ValueKind& kind, const char* what,
                      std::optional<std::string>& value);
  // An option that may be given again.
  void repeated_option(const char* name, const ValueKind& kind, const char* what,
                       std::vector<std::string>& values);

 private:
  // What was left over, and the file where it is missing. Behind an option that does not exist nobody knows
  // which word is the file and which the option's value; the file is cleared then.
  void check_words() const;
  void add_unknown(const std::string& option) const;
  CLI::Option* single(CLI::Option* option, const ValueKind& kind);

  Arguments& arguments_;
  CLI::App& command_;
  Operand operand_;
  std::filesystem::path& file_;
};

}  // namespace ordvane::cli
