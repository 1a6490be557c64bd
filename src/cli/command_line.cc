#include "cli/command_line.h"

#include <algorithm>
#include <string_view>

#include "cli/terminal.h"
#include "runfile/known_fields.h"

namespace ordvane::cli {

CommandLine::CommandLine(Arguments& arguments, const char* name, const char* what, std::filesystem::path& run)
    : arguments_(arguments), command_(arguments.add_command(name, what)), run_(run) {
  command_.allow_extras();
  CLI::Option* const added =
      command_.add_option("RUN", run, "Run file: the inputs, outputs and recalculations of a what-if run")
          ->type_name("");
  arguments_.set_kind(*added, {"RUN", ValueKind::Offer::kFiles, {".json"}});
}

void CommandLine::runs(std::function<int()> action) {
  command_.callback([line = *this, action = std::move(action)] {
    line.arguments_.choose([line, action] {
      line.check_words();
      return action();
    });
  });
}

CLI::Option* CommandLine::single(CLI::Option* option, const ValueKind& kind) {
  arguments_.set_kind(*option, kind);
  return option->type_name(kind.name)->expected(0, 1)->allow_extra_args(false);  // the run file may follow
}

void CommandLine::repeated_option(const char* name, const ValueKind& kind, const char* what,
                                  std::vector<std::string>& values) {
  single(command_.add_option(name, values, what), kind)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
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
    arguments_.problems().add("RUN is required: name a run file");
  }
  for (const std::string& word : words)
    arguments_.problems().add("\"" + printable(word) +
                              "\" is one file too many; a command takes one run file");
  if (arguments_.problems().any())
    arguments_.problems().set_hint("Try `ordvane " + command_.get_name() + " --help`.");
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
  arguments_.problems().add(printable(option) + ": there is no such option" +
                            (nearest.empty() ? "" : "; is " + std::string(nearest) + " meant?"));
}

}  // namespace ordvane::cli
