#include <algorithm>

#include "environment/standard_environment.h"
#include "manual/documents.h"
#include "manual/options.h"

namespace ordvane::manual {
namespace {

using Offer = cli::ValueKind::Offer;

constexpr const char* kMade = "# Made from the definitions of the options of ordvane(1).\n";

std::string joined(const std::vector<std::string>& parts, const std::string& between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

std::vector<std::string> command_names(const cli::Arguments& arguments) {
  std::vector<std::string> names;
  for (const CLI::App* command : arguments.commands()) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> option_names(const CLI::App& command) {
  std::vector<std::string> names;
  for (const OptionGroup& group : option_groups(command))
    for (const CLI::Option* option : group.options)
      for (const std::string& name : names_of(*option)) names.push_back(name);
  return names;
}

// The words that are offered for a value: none where files are, or nothing.
std::vector<std::string> words_for(const cli::Arguments& arguments, const cli::ValueKind& kind) {
  if (kind.offer == Offer::kLanguages) return environment::languages();
  if (kind.offer == Offer::kCommands) return command_names(arguments);
  return {};
}

// A text in single quotes of a POSIX shell.
std::string shell_quoted(const std::string& text) {
  std::string result = "'";
  for (const char letter : text) result += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
  return result + "'";
}

// A command that offers what a value may be, with what separates it from the next one.
std::string bash_offer(const cli::Arguments& arguments, const cli::ValueKind& kind) {
  switch (kind.offer) {
    case Offer::kNothing:
      return "";
    case Offer::kFiles:
    case Offer::kFolders: {
      std::string call = "_ordvane_files";
      for (const std::string& ending : kind.endings) call += " " + shell_quoted("*" + ending);
      return call + "; ";
    }
    case Offer::kLanguages:
    case Offer::kCommands:
      break;
  }
  return "_ordvane_words " + shell_quoted(joined(words_for(arguments, kind), " ")) + "; ";
}

constexpr const char* kBashHelpers = R"(
# Files that are named so, and folders to go on in.
_ordvane_files() {
  local pattern
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(
    compgen -d -- "$current"
    for pattern; do compgen -f -X "!$pattern" -- "$current"; done)
}

_ordvane_words() { mapfile -t COMPREPLY < <(compgen -W "$1" -- "$current"); }

_ordvane() {
  local current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  # In "--option=value" bash takes the sign for a word.
  if [[ $current == '=' ]]; then
    current=
  elif [[ $before == '=' ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  COMPREPLY=()
)";

// The action of zsh's _arguments for a value.
std::string zsh_action(const cli::Arguments& arguments, const cli::ValueKind& kind) {
  if (kind.offer == Offer::kFiles) {
    std::string patterns;
    for (const std::string& ending : kind.endings) patterns += (patterns.empty() ? "*" : " *") + ending;
    return "_files -g \"" + patterns + "\"";
  }
  if (kind.offer == Offer::kFolders) return "_files -/";
  const std::vector<std::string> words = words_for(arguments, kind);
  return words.empty() ? " " : "(" + joined(words, " ") + ")";
}

// A text inside an entry for zsh's _arguments.
std::string zsh_text(const std::string& text) {
  std::string escaped;
  for (const char letter : text)
    escaped += (std::string("[]:\\").find(letter) == std::string::npos ? "" : "\\") + std::string(1, letter);
  return escaped;
}

std::string zsh_option(const cli::Arguments& arguments, const CLI::Option& option) {
  const cli::ValueKind* const kind = arguments.kind_of(option);
  std::string text;
  for (const std::string& name : names_of(option)) {
    std::string entry = kind != nullptr && kind->repeated ? "*" : "";
    entry += name + (kind != nullptr && name.starts_with("--") ? "=" : "") + "[" +
             zsh_text(option.get_description()) + "]";
    if (kind != nullptr) entry += ":" + zsh_text(kind->name) + ":" + zsh_action(arguments, *kind);
    text += " \\\n        " + shell_quoted(entry);
  }
  return text;
}

// A text in single quotes of fish.
std::string fish_quoted(const std::string& text) {
  std::string result = "'";
  for (const char letter : text)
    result += (letter == '\'' || letter == '\\' ? "\\" : "") + std::string(1, letter);
  return result + "'";
}

// What follows an option, or stands alone, of fish's `complete`.
std::string fish_offer(const cli::Arguments& arguments, const cli::ValueKind& kind) {
  std::vector<std::string> sources;
  for (const std::string& ending : kind.endings) sources.push_back("(__fish_complete_suffix " + ending + ")");
  if (kind.offer == Offer::kFolders) sources.emplace_back("(__fish_complete_directories)");
  for (const std::string& word : words_for(arguments, kind)) sources.push_back(word);
  return sources.empty() ? "" : " -a " + fish_quoted(joined(sources, " "));
}

}  // namespace

std::string bash_completion(const cli::Arguments& arguments) {
  std::string values, options;
  for (const CLI::App* command : arguments.commands()) {
    const std::string name = command->get_name();
    for (const CLI::Option* option : command->get_options()) {
      const cli::ValueKind* const kind = arguments.kind_of(*option);
      if (kind == nullptr || option->get_positional()) continue;
      for (const std::string& spelling : names_of(*option))
        values += "    " + name + ":" + spelling + ") " + bash_offer(arguments, *kind) + "return ;;\n";
    }
    const CLI::Option* const operand = positional_of(*command);
    options +=
        "    " + name + ":-*) _ordvane_words " + shell_quoted(joined(option_names(*command), " ")) + " ;;\n";
    if (operand != nullptr && arguments.kind_of(*operand) != nullptr)
      options += "    " + name + ":*) " + bash_offer(arguments, *arguments.kind_of(*operand)) + "return ;;\n";
  }
  std::vector<std::string> first = command_names(arguments);
  for (const std::string& name : option_names(arguments.parser())) first.push_back(name);
  return kMade + std::string(kBashHelpers) + "  if ((COMP_CWORD == 1)); then\n    _ordvane_words " +
         shell_quoted(joined(first, " ")) + "\n    return\n  fi\n  case ${COMP_WORDS[1]}:$before in\n" +
         values + "  esac\n  case ${COMP_WORDS[1]}:$current in\n" + options +
         "  esac\n}\ncomplete -F _ordvane ordvane\n";
}

std::string zsh_completion(const cli::Arguments& arguments) {
  std::string text = "#compdef ordvane\n" + std::string(kMade) +
                     "\n_ordvane() {\n  local state line\n  local -a commands\n  commands=(";
  for (const CLI::App* command : arguments.commands())
    text += "\n    " + shell_quoted(command->get_name() + ":" + zsh_text(command->get_description()));
  text += "\n  )\n  _arguments -C";
  for (const CLI::Option* option : arguments.parser().get_options()) text += zsh_option(arguments, *option);
  text +=
      " \\\n        '1: :->command' '*:: :->arguments'\n"
      "  case $state in\n    command) _describe command commands ;;\n"
      "    arguments) case $words[1] in\n";
  for (const CLI::App* command : arguments.commands()) {
    text += "      " + command->get_name() + ") _arguments";
    for (const CLI::Option* option : command->get_options())
      if (!option->get_positional()) text += zsh_option(arguments, *option);
    if (const CLI::Option* const operand = positional_of(*command))
      if (const cli::ValueKind* const kind = arguments.kind_of(*operand))
        text +=
            " \\\n        " + shell_quoted("1:" + zsh_text(kind->name) + ":" + zsh_action(arguments, *kind));
    text += " ;;\n";
  }
  return text + "    esac ;;\n  esac\n}\n\n_ordvane \"$@\"\n";
}

std::string fish_completion(const cli::Arguments& arguments) {
  std::string text = std::string(kMade) + "complete -c ordvane -f\n";
  const auto add = [&](const std::string& condition, const CLI::Option& option) {
    text += "complete -c ordvane -n " + fish_quoted(condition);
    const cli::ValueKind* const kind = arguments.kind_of(option);
    for (const std::string& name : option.get_snames()) text += " -s " + name;
    for (const std::string& name : option.get_lnames()) text += " -l " + name;
    if (kind != nullptr) text += (option.get_positional() ? "" : " -x") + fish_offer(arguments, *kind);
    text += option.get_positional() ? "\n" : " -d " + fish_quoted(option.get_description()) + "\n";
  };
  const std::string no_command = "__fish_use_subcommand";
  for (const CLI::Option* option : arguments.parser().get_options()) add(no_command, *option);
  for (const CLI::App* command : arguments.commands()) {
    const std::string name = command->get_name();
    text += "complete -c ordvane -n " + no_command + " -a " + name + " -d " +
            fish_quoted(command->get_description()) + "\n";
    for (const CLI::Option* option : command->get_options())
      add("__fish_seen_subcommand_from " + name, *option);
  }
  return text;
}

}  // namespace ordvane::manual
