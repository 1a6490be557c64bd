// The ordvane command: reads the arguments, runs the command, turns what goes wrong into messages and exit
// codes.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <limits>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/option_values.h"
#include "cli/terminal.h"
#include "environment/standard_environment.h"
#include "host/error.h"
#include "xlsx/package_reader.h"

namespace ordvane::cli {
namespace {

constexpr const char* kHelp = "help";

constexpr const char* kExitCodes =
    "Exit codes:\n"
    "  0    done\n"
    "  1    the reports could not be made or written\n"
    "  2    wrong arguments, or a run file or workbook that cannot be used\n"
    "  130  cancelled with Ctrl-C; what was there before is still there\n";

constexpr const char* kMainExamples =
    "Examples:\n"
    "  ordvane report budget.run.json              reports of every output, in budget-reports.xlsx\n"
    "  ordvane show budget.run.json                the ranking, here in the terminal\n"
    "  ordvane check budget.run.json               is the run file sound, and what is in it?\n"
    "\n"
    "`ordvane help COMMAND` tells more about a command.\n\n";

constexpr const char* kReportExamples =
    "Examples:\n"
    "  ordvane report budget.run.json\n"
    "  ordvane report budget.run.json -o board.xlsx --output Profit --output Costs!D12 --all\n"
    "  ordvane report budget.run.json --into budget.xlsx --overwrite\n"
    "  ordvane report budget.run.json --tornado --percent --max-inputs 10 --threshold 5%\n"
    "  ordvane report budget.run.json --multi-way --output Profit\n"
    "  ordvane report budget.run.json --tornado --bar-color 333399 --low-color E69F00\n"
    "  ordvane report budget.run.json --bar-color 1F4E79 --watermark 'Draft\\nnot for release'\n";

constexpr const char* kShowExamples =
    "Examples:\n"
    "  ordvane show budget.run.json --output Profit\n"
    "  ordvane show budget.run.json --csv > ranking.csv\n"
    "  ordvane show budget.run.json --json | jq '.outputs[].inputs[0].name'\n"
    "  ordvane show budget.run.json --json | jq '.outputs[].inputs[] | select(.failed > 0).name'\n"
    "\n"
    "Values are written as their cells show them. Given width, the input values behind both ends follow.\n"
    "Marks tell inputs with results that are no numbers (1 of 3) and inputs that never stood at their base\n"
    "value (*).\n"
    "\n"
    "Inputs that were varied together follow in groups. The interaction of a group is how much its swing\n"
    "exceeds the swings of its inputs varied one at a time: 0 where effects add up, negative where they\n"
    "offset each other.\n"
    "\n"
    "docs/command.md tells every field of the JSON and the CSV.\n";

constexpr const char* kCheckExamples =
    "Examples:\n"
    "  ordvane check budget.run.json\n"
    "\n"
    "docs/run-file.md describes run files; examples/sweep.py records one from a workbook.\n";

// Of the user's messages, as the system's settings say.
std::string system_language() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale != nullptr && *locale != '\0') return environment::language_of_locale(locale);
  }
  return environment::language_of_locale("");
}

void add_outputs(CommandLine& line, std::vector<std::string>& outputs) {
  line.repeated_option("--output", "NAME|CELL",
                       "Only this output, by name or cell; may be given again (default: all)", outputs);
}

// A command that was chosen: checks the rest of its arguments and runs.
using Chosen = std::function<int()>;

void add_look(CommandLine& line, ReportCommand& c) {
  CLI::App& command = line.parser();
  const std::string look = "What the reports show";
  command.add_flag("--percent", c.percent, "Graphs show changes in percent of the base value")->group(look);
  line.option("--max-inputs", "N", "Most inputs on a graph, 1 to 32 (default: 20)",
              [&](const std::string& text) { c.max_inputs = whole_number_of("--max-inputs", text, 1, 32); })
      ->group(look);
  command.add_flag("--all-inputs", c.all_inputs, "Graphs have also the inputs that do not move their output")
      ->group(look);
  line.option("--threshold", "X",
              "Least swing of inputs, as a share of the base value: 5% or 0.05 (1 is 100%)",
              [&](const std::string& text) { c.threshold = share_of("--threshold", text); })
      ->group(look);
  const auto color = [&](const char* name, std::optional<host::Color>& value, const char* what) {
    line.option(name, "RRGGBB", what,
                [name, &value](const std::string& text) { value = color_of(name, text); })
        ->group(look);
  };
  color("--bar-color", c.bar_color, "Bars of a tornado");
  color("--base-color", c.base_color, "Base value line of a tornado");
  color("--low-color", c.low_color, "Parts of tornado bars that inputs below their base make (try E69F00)");
  // An empty one is none, as a script may have it.
  command
      .add_option_function<std::string>(
          "--watermark", [&](const std::string& text) { c.watermark = with_line_breaks(text); },
          "Text across charts and pages; \\n begins its second line")
      ->type_name("TEXT")
      ->group(look);
  c.language = system_language();
  line.option("--language", "CODE", "Language: " + language_list() + " (default: the system's)",
              [&](const std::string& text) { c.language = language_of("--language", text); })
      ->group(look);
}

void add_report(CLI::App& app, ReportCommand& c, Problems& problems, Chosen& chosen) {
  CommandLine line(app, "report", "Write the reports of a run into an Excel workbook", c.run, problems);
  CLI::App& command = line.parser();
  command.footer(std::string(kReportExamples) + "\n" + kExitCodes);
  command.callback([&, line] {
    chosen = [&, line] {
      line.check_words();
      return report(c, problems);
    };
  });
  const auto path = [](std::filesystem::path& into) {
    return [&into](const std::string& text) { into = text; };
  };
  line.option("-o", "FILE.xlsx", "New workbook for the reports (default: NAME-reports.xlsx)",
              path(c.workbook));
  line.option("--into", "FILE", "Add the reports to this workbook instead; all else in it stays as it is",
              path(c.into));
  command.add_flag("--overwrite", c.overwrite,
                   "Replace a workbook that is there; with --into, sheets of earlier reports");
  add_outputs(line, c.outputs);

  const auto flag = [&](const char* name, bool& value, const char* what) {
    command.add_flag(name, value, what)
        ->group("Reports (default: tornado, spider and sensitivity; always a summary)");
  };
  flag("--tornado", c.tornado, "One bar per input, the strongest on top");
  flag("--spider", c.spider, "One line per input: its change against the output's");
  flag("--sensitivity", c.sensitivity, "One chart per input");
  flag("--output-detail", c.output_detail, "Per output, every step of every input, by rank");
  flag("--detail-by-input", c.detail_by_input, "One sheet: every step of every input, outputs side by side");
  flag("--multi-way", c.multi_way,
       "Inputs varied together: per output a tornado, and a table of every result");
  flag("--all", c.all, "All of them; --multi-way where the run varied inputs together");

  add_look(line, c);
  line.option("--log", "FOLDER", "Keep a diagnostic log in this folder", path(c.log_folder));
  command.add_flag("--quiet", c.quiet, "Print errors only");
}

void add_show(CLI::App& app, ShowCommand& c, Problems& problems, Chosen& chosen) {
  CommandLine line(app, "show", "Show which inputs move each output most, in the terminal", c.run, problems);
  CLI::App& command = line.parser();
  command.footer(kShowExamples);
  command.callback([&, line] {
    chosen = [&, line] {
      line.check_words();
      return show(c, problems);
    };
  });
  add_outputs(line, c.outputs);
  line.option("--simulation", "N", "Which simulation of the run (default: 1)", [&](const std::string& text) {
    c.simulation = whole_number_of("--simulation", text, 1, std::numeric_limits<std::int32_t>::max());
  });
  const auto form = [&](ShowForm wanted) {
    if (c.form != ShowForm::kTable && c.form != wanted) problems.add("--json: goes without --csv");
    c.form = wanted;
  };
  command.add_flag_callback(
      "--json", [=] { form(ShowForm::kJson); }, "JSON for programs, in full precision");
  command.add_flag_callback(
      "--csv", [=] { form(ShowForm::kCsv); }, "CSV for programs, in full precision");
}

void add_check(CLI::App& app, std::filesystem::path& run, Problems& problems, Chosen& chosen) {
  CommandLine line(app, "check", "Say what is wrong with a run file, or what is in it", run, problems);
  line.parser().footer(kCheckExamples);
  line.parser().callback([&, line] {
    chosen = [&, line] {
      line.check_words();
      return check(run, problems);
    };
  });
}

std::string command_list(const CLI::App& app) {
  std::string list;
  for (const CLI::App* command : app.get_subcommands({}))
    list += (list.empty() ? "" : ", ") + command->get_name();
  return list;
}

bool has_command(const CLI::App& app, const std::string& name) {
  const auto commands = app.get_subcommands({});
  return std::any_of(commands.begin(), commands.end(),
                     [&](const CLI::App* command) { return command->get_name() == name; });
}

[[noreturn]] void refuse_command(const CLI::App& app, const std::string& name) {
  throw BadArguments("\"" + printable(name) + "\" is no command; there are " + command_list(app) +
                     "\nTry `ordvane --help`.");
}

// The words behind "ordvane". `help COMMAND` is another way to write `COMMAND --help`.
std::vector<std::string> words_of(const CLI::App& app, int argc, char** argv) {
  std::vector<std::string> words(argv + 1, argv + argc);
  const auto is_word = [&](std::size_t at) { return at < words.size() && !words[at].starts_with('-'); };
  if (words.empty() || words[0] != kHelp || (words.size() > 1 && !is_word(1))) return words;
  if (words.size() > 2) throw BadArguments("help: name one command\nTry `ordvane --help`.");
  if (is_word(1) && !has_command(app, words[1])) refuse_command(app, words[1]);
  words.erase(words.begin());
  words.push_back("--help");
  return words;
}

// RUN is not required by the parser, which would stop at it, but by the commands.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_usage(const CLI::Option* option) const override {
    const std::string name = make_option_name(option, true);
    return option->get_expected_min() > 0 ? name : "[" + name + "]";
  }
};

// What `words_of` turns into an option, for the list of commands and its own help.
void add_help(CLI::App& app) {
  const std::string commands = command_list(app);
  app.add_subcommand(kHelp, "Tell more about a command")
      ->group(kCommands)
      ->footer("")
      ->add_option(
          "COMMAND", [](const CLI::results_t&) { return true; }, "One of " + commands + "; without it, all")
      ->type_name("")
      ->expected(0, 1);
}

// Reads the arguments and runs what they ask for.
int run_command(int argc, char** argv) {
  CLI::App app(
      "Reports on what-if runs: which inputs of a spreadsheet model move its outputs, and by how much.",
      "ordvane");
  app.set_version_flag("--version", std::string("ordvane ") + kVersion);
  app.require_subcommand(0, 1);
  app.footer(std::string(kMainExamples) + kExitCodes);
  app.formatter(std::make_shared<HelpFormatter>());
  app.get_formatter()->column_width(28);
  for (const auto& [word, shown] :
       {std::pair("SUBCOMMAND", "COMMAND"), {"REQUIRED", ""}, {"Positionals", "Arguments"}})
    app.get_formatter()->label(word, shown);

  ReportCommand report_command;
  ShowCommand show_command;
  std::filesystem::path checked_run;
  Problems problems;
  Chosen chosen;
  add_report(app, report_command, problems, chosen);
  add_show(app, show_command, problems, chosen);
  add_check(app, checked_run, problems, chosen);
  add_help(app);

  std::vector<std::string> words = words_of(app, argc, argv);
  // The parser would only say that a command is missing.
  if (!words.empty() && !words[0].starts_with('-') && !has_command(app, words[0]))
    refuse_command(app, words[0]);
  std::reverse(words.begin(), words.end());  // as the parser takes them
  try {
    app.parse(words);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    problems.add(error.what());
  }
  if (chosen) return chosen();
  std::string command = "ordvane";
  for (const CLI::App* used : app.get_subcommands()) command += " " + used->get_name();
  if (!problems.any()) problems.add("name a command: " + command_list(app));
  problems.set_hint("Try `" + command + " --help`.");
  problems.refuse_any();
  return kBadInput;
}

int failed(int code, const std::string& message) {
  std::cerr << "ordvane: " << message << '\n';
  return code;
}

int guarded(int argc, char** argv) {
  try {
    const int code = run_command(argc, argv);
    // A full disk behind a redirection is a failure too.
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0) return failed(kFailed, "cannot write to standard output");
    return code;
  } catch (const BadArguments& error) {
    for (const std::string& problem : error.problems()) failed(kBadInput, problem);
    return kBadInput;
  } catch (const xlsx::BadWorkbook& error) {
    return failed(kBadInput, error.what());
  } catch (const host::Error& error) {
    return failed(kFailed, error.description());
  } catch (const std::bad_alloc&) {
    return failed(kFailed, "out of memory");
  } catch (const std::exception& error) {
    return failed(kFailed, error.what());
  }
}

}  // namespace
}  // namespace ordvane::cli

int main(int argc, char** argv) {
  // Characters and dates as the user has them; numbers are written the same everywhere.
  std::setlocale(LC_CTYPE, "");
  std::setlocale(LC_TIME, "");
  return ordvane::cli::guarded(argc, argv);
}
