// What `ordvane` can be told on its command line. The one definition of its commands and options
// (definitions.h) is kept here; reading the arguments, help, and what src/manual makes all follow it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "cli/problems.h"

namespace ordvane::cli {

// A part of what is told of a command below its options: lines under a heading, or, without one, a paragraph.
struct HelpPart {
  struct Line {
    std::string term;       // as it is typed or printed; of a paragraph one line of its text
    std::string says = "";  // what it stands for; empty: it stands alone
  };
  std::string heading;
  std::vector<Line> lines;
};
using HelpParts = std::vector<HelpPart>;

// What an option takes, or RUN is: as help names it, and what a shell offers for it.
struct ValueKind {
  enum class Offer { kNothing, kFiles, kFolders, kLanguages, kCommands };
  const char* name;
  Offer offer = Offer::kNothing;
  std::vector<std::string> endings = {};  // of the files that are offered
  bool repeated = false;                  // the option may be given again
};

class Arguments {
 public:
  // With every command.
  Arguments();
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  // Reads the arguments and runs what they ask for; the exit code. Throws BadArguments, and what commands
  // throw.
  int run(int argc, char** argv);

  // A command of its own among the others.
  CLI::App& add_command(const char* name, const char* what);
  void set_help(CLI::App& command, HelpParts parts);
  void set_kind(const CLI::Option& option, ValueKind kind);
  // What is to run once all arguments are read.
  void choose(std::function<int()> action) { chosen_ = std::move(action); }
  Problems& problems() { return problems_; }

  const CLI::App& parser() const { return app_; }
  std::vector<const CLI::App*> commands() const;
  const HelpParts& help_of(const CLI::App& command) const;
  // Of an option with a value; null for the others.
  const ValueKind* kind_of(const CLI::Option& option) const;

 private:
  void add_help_command();
  std::string command_list() const;
  bool has_command(const std::string& name) const;
  [[noreturn]] void refuse_command(const std::string& name) const;
  std::vector<std::string> words_of(int argc, char** argv) const;

  CLI::App app_;
  Problems problems_;
  std::function<int()> chosen_;
  std::map<const CLI::App*, HelpParts> help_;
  std::map<const CLI::Option*, ValueKind> kinds_;
};

}  // namespace ordvane::cli
