#include "cli/command_line.h"

#include <algorithm>
#include <string_view>

#include "cli/terminal.h"
#include "runfile/known_fields.h"

namespace ordvane::cli {

CommandLine::CommandLine(Arguments& arguments, const char* name, const char* what, const Operand& operand,
                         std::filesystem::path& file)
    : arguments_(arguments), command_(arguments.add_command(name, what)), operand_(operand), file_(file) {
  command_.allow_extras();
  CLI::Option* const added = command_.add_option(operand.kind.name, file, operand.what)->type_name("");
  arguments_.set_kind(*added, operand.kind);
}

CommandLine::CommandLine(Arguments& arguments, const char* name, const char* what, std::filesystem::path& run)
    : CommandLine(arguments, name, what,
                  {{"RUN", ValueKind::Offer::kFiles, {".json"}},
                   "Run file: the inputs, outputs and recalculations of a what-if run",
                   "name a run file",
                   "a command takes one run file"},
                  run) {}

void CommandLine::operand(const ValueKind& kind, const char* what, std::filesystem::path& file) {
  CLI::Option* const added = command_.add_option(kind.name, file, what)->type_name("");
  arguments_.set_kind(*added, kind);
}

void CommandLine::operands(const ValueKind& kind, const char* what,
                           std::vector<std::filesystem::path>& files) {
  CLI::Option* const added = command_.add_option(kind.name, files, what)->type_name("");
  arguments_.set_kind(*added, kind);
}

void CommandLine::optional_value(const char* name, const ValueKind& kind, const char* what,
                                 std::optional<std::string>& value) {
  using Values = std::vector<std::string>;
  const auto take = [&value](const Values& given) { value = given.empty() ? "" : given.back(); };
  CLI::Option* const added = single(command_.add_option_function<Values>(name, take, what), kind);
  added->type_size(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
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
    file_.clear();
    words.clear();
  } else if (file_.empty()) {
    arguments_.problems().add(std::string(operand_.kind.name) + " is required: " + operand_.missing);
  }
  for (const std::string& word : words)
    arguments_.problems().add("\"" + printable(word) + "\" is one file too many; " + operand_.too_many);
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
