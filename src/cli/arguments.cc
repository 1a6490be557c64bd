#include "cli/arguments.h"

#include <algorithm>

#include "cli/commands.h"
#include "cli/definitions.h"
#include "cli/terminal.h"

namespace ordvane::cli {
namespace {

constexpr const char* kHelp = "help";
constexpr const char* kCommands = "Commands";  // heading of their list

// RUN is not required by the parser, which would stop at it, but by the commands.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option* option) const override {
    const std::string name = make_option_name(option, true);
    return option->get_expected_min() > 0 ? name : "[" + name + "]";
  }
  // One empty line between groups, not two.
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    std::string text = CLI::Formatter::make_help(app, std::move(name), mode);
    for (std::size_t at = 0; (at = text.find("\n\n\n", at)) != std::string::npos;) text.erase(at, 1);
    return text;
  }
};

// The parts as help prints them: what terms stand for in a column.
std::string help_text(const HelpParts& parts) {
  std::string text;
  for (const HelpPart& part : parts) {
    if (!text.empty()) text += '\n';
    if (!part.heading.empty()) text += part.heading + ":\n";
    std::size_t width = 0;
    for (const HelpPart::Line& line : part.lines)
      if (!line.says.empty()) width = std::max(width, line.term.size());
    for (const HelpPart::Line& line : part.lines) {
      text += (part.heading.empty() ? "" : "  ") + line.term;
      if (!line.says.empty()) text += std::string(width + 2 - line.term.size(), ' ') + line.says;
      text += '\n';
    }
  }
  return text;
}

}  // namespace

Arguments::Arguments()
    : app_("Reports on what-if runs: which inputs of a spreadsheet model move its outputs, and by how much.",
           "ordvane") {
  app_.set_version_flag("--version", std::string("ordvane ") + kVersion, "Print the version and exit");
  app_.require_subcommand(0, 1);
  app_.formatter(std::make_shared<HelpFormatter>());
  app_.get_formatter()->column_width(28);
  for (const auto& [word, shown] :
       {std::pair("SUBCOMMAND", "COMMAND"), {"REQUIRED", ""}, {"Positionals", "Arguments"}})
    app_.get_formatter()->label(word, shown);
  set_help(app_, help_of_all());
  define_commands(*this);
  add_help_command();
}

CLI::App& Arguments::add_command(const char* name, const char* what) {
  CLI::App& command = *app_.add_subcommand(name, what)->group(kCommands);
  command.footer("");
  return command;
}

void Arguments::set_help(CLI::App& command, HelpParts parts) {
  command.footer(help_text(parts));
  help_[&command] = std::move(parts);
}

void Arguments::set_kind(const CLI::Option& option, ValueKind kind) {
  kinds_.insert_or_assign(&option, std::move(kind));
}

std::vector<const CLI::App*> Arguments::commands() const {
  return app_.get_subcommands([](const CLI::App*) { return true; });
}

const HelpParts& Arguments::help_of(const CLI::App& command) const {
  static const HelpParts kNone;
  const auto found = help_.find(&command);
  return found == help_.end() ? kNone : found->second;
}

const ValueKind* Arguments::kind_of(const CLI::Option& option) const {
  const auto found = kinds_.find(&option);
  return found == kinds_.end() ? nullptr : &found->second;
}

// What `words_of` turns into an option, for the list of commands and its own help.
void Arguments::add_help_command() {
  const std::string commands = command_list();
  CLI::Option& command = *add_command(kHelp, "Tell more about a command")
                              .add_option(
                                  "COMMAND", [](const CLI::results_t&) { return true; },
                                  "One of " + commands + "; without it, all")
                              ->type_name("")
                              ->expected(0, 1);
  set_kind(command, {.name = "COMMAND", .offer = ValueKind::Offer::kCommands});
}

std::string Arguments::command_list() const {
  std::string list;
  for (const CLI::App* command : commands()) list += (list.empty() ? "" : ", ") + command->get_name();
  return list;
}

bool Arguments::has_command(const std::string& name) const {
  const auto all = commands();
  return std::any_of(all.begin(), all.end(),
                     [&](const CLI::App* command) { return command->get_name() == name; });
}

void Arguments::refuse_command(const std::string& name) const {
  throw BadArguments("\"" + printable(name) + "\" is no command; there are " + command_list() +
                     "\nTry `ordvane --help`.");
}

// The words behind "ordvane". `help COMMAND` is another way to write `COMMAND --help`.
std::vector<std::string> Arguments::words_of(int argc, char** argv) const {
  std::vector<std::string> words(argv + 1, argv + argc);
  const auto is_word = [&](std::size_t at) { return at < words.size() && !words[at].starts_with('-'); };
  if (words.empty() || words[0] != kHelp || (words.size() > 1 && !is_word(1))) return words;
  if (words.size() > 2) throw BadArguments("help: name one command\nTry `ordvane --help`.");
  if (is_word(1) && !has_command(words[1])) refuse_command(words[1]);
  words.erase(words.begin());
  words.push_back("--help");
  return words;
}

int Arguments::run(int argc, char** argv) {
  std::vector<std::string> words = words_of(argc, argv);
  // The parser would only say that a command is missing.
  if (!words.empty() && !words[0].starts_with('-') && !has_command(words[0])) refuse_command(words[0]);
  std::reverse(words.begin(), words.end());  // as the parser takes them
  try {
    app_.parse(words);
  } catch (const CLI::Success& help) {
    return app_.exit(help);
  } catch (const CLI::ParseError& error) {
    problems_.add(error.what());
  }
  if (chosen_) return chosen_();
  std::string command = "ordvane";
  for (const CLI::App* used : app_.get_subcommands()) command += " " + used->get_name();
  if (!problems_.any()) problems_.add("name a command: " + command_list());
  problems_.set_hint("Try `" + command + " --help`.");
  problems_.refuse_any();
  return kBadInput;
}

}  // namespace ordvane::cli
