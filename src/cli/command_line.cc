#include "cli/command_line.h"

#include <algorithm>
#include <string_view>

#include "cli/terminal.h"
#include "runfile/known_fields.h"

namespace ordvane::cli {

CommandLine::CommandLine(CLI::App& app, const char* name, const char* what, std::filesystem::path& run,
                         Problems& problems)
    : command_(*app.add_subcommand(name, what)->group(kCommands)), run_(run), problems_(problems) {
  command_.allow_extras();
  command_.add_option("RUN", run, "Run file: the inputs, outputs and recalculations of a what-if run")
      ->type_name("");
}

void CommandLine::repeated_option(const char* name, const char* type, const char* what,
                                  std::vector<std::string>& values) {
  command_.add_option(name, values, what)
      ->type_name(type)
      ->expected(0, 1)
      ->allow_extra_args(false)  // the run file may follow
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void CommandLine::check_words() const {
  bool has_unknown = false;
  std::vector<std::string> words;
  for (const std::string& word : command_.remaining()) {
    if (word == "--") continue;
    if (!word.starts_with('-')) {
      words.push_back(word);
      continue;
    }
    has_unknown = true;
    add_unknown(word.substr(0, word.find('=')));
  }
  if (has_unknown && !words.empty()) {
    run_.clear();
    words.clear();
  } else if (run_.empty()) {
    problems_.add("RUN is required: name a run file");
  }
  for (const std::string& word : words)
    problems_.add("\"" + printable(word) + "\" is one file too many; a command takes one run file");
  if (problems_.any()) problems_.set_hint("Try `ordvane " + command_.get_name() + " --help`.");
}

void CommandLine::add_unknown(const std::string& option) const {
  std::vector<std::string> names;
  for (const CLI::Option* known : command_.get_options())
    if (known->get_name().starts_with("--")) names.push_back(known->get_name());
  std::vector<runfile::KnownField> known(names.size());
  std::transform(names.begin(), names.end(), known.begin(), [](const std::string& name) {
    return runfile::KnownField{name, false};
  });
  const std::string_view nearest =
      option.starts_with("--") ? runfile::nearest_field(option, known) : std::string_view();
  problems_.add(printable(option) + ": there is no such option" +
                (nearest.empty() ? "" : "; is " + std::string(nearest) + " meant?"));
}

}  // namespace ordvane::cli
