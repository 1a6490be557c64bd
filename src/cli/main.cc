// The ordvane command: reads the arguments, runs the command, turns what goes wrong into messages and exit
// codes.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <limits>

#include "cli/commands.h"
#include "cli/terminal.h"
#include "environment/standard_environment.h"
#include "host/error.h"
#include "runfile/run.h"
#include "xlsx/package_reader.h"

namespace ordvane::cli {
namespace {

constexpr const char* kCommands = "report, show, check";

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
    "`ordvane COMMAND --help` tells more about a command.\n\n";

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
    "  ordvane show budget.run.json --json | jq '.outputs[].groups[] | select(.interaction < 0)'\n"
    "\n"
    "Inputs that were varied together follow in groups. The interaction of a group is how much its swing\n"
    "exceeds the swings of its inputs varied one at a time: 0 where effects add up, negative where they\n"
    "offset each other. In the CSV a group's inputs stand in one field with \";\" between them, and a run "
    "with\n"
    "groups has three more columns: the number of inputs, their own swings added up, and the interaction.\n";

// RRGGBB, with or without "#", into the spreadsheet's blue-green-red.
host::Color color_of(const std::string& option, const std::string& text) {
  const std::string digits = text.starts_with('#') ? text.substr(1) : text;
  std::uint32_t rgb = 0;
  const char* end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, rgb, 16);
  if (digits.size() != 6 || read.ec != std::errc() || read.ptr != end)
    throw CLI::ValidationError(option,
                               "\"" + text + "\" is no colour; give six hexadecimal digits, as in 1F4E79");
  return static_cast<host::Color>((rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16);
}

// A fraction (0.05) or a percentage (5%).
double fraction_of(const std::string& text) {
  const bool percent = text.ends_with('%');
  const char* end = text.data() + text.size() - (percent ? 1 : 0);
  double value = 0;
  const auto read = std::from_chars(text.data(), end, value);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(value) || value < 0)
    throw CLI::ValidationError("--threshold", "\"" + text + "\" is no share; give one such as 0.05 or 5%");
  return percent ? value / 100 : value;
}

// "\n" as typed in a shell is a line break.
std::string with_line_breaks(std::string text) {
  for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at))
    text.replace(at, 2, "\n");
  return text;
}

// Of the user's messages, as the system's settings say.
std::string system_language() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale != nullptr && *locale != '\0') return environment::language_of_locale(locale);
  }
  return environment::language_of_locale("");
}

std::string language_list() {
  std::string list;
  for (const std::string& code : environment::languages()) list += (list.empty() ? "" : ", ") + code;
  return list;
}

CLI::Validator known_language() {
  return CLI::Validator(
      [](std::string& code) {
        return environment::language_id_of(code) != 0
                   ? std::string()
                   : "\"" + code + "\" is no language of the reports; there are " + language_list();
      },
      "");
}

void add_run(CLI::App& command, std::filesystem::path& run) {
  command.add_option("RUN", run, "Run file: the inputs, outputs and recalculations of a what-if run")
      ->required()
      ->type_name("");
}

void add_outputs(CLI::App& command, std::vector<std::string>& outputs) {
  command
      .add_option("--output", outputs, "Only this output, by name or cell; may be given again (default: all)")
      ->type_name("NAME|CELL")
      ->allow_extra_args(false);
}

void add_report(CLI::App& app, ReportCommand& c, std::function<int()>& chosen) {
  CLI::App& command = *app.add_subcommand("report", "Write the reports of a run into an Excel workbook");
  command.footer(std::string(kReportExamples) + "\n" + kExitCodes);
  command.callback([&] { chosen = [&] { return report(c); }; });
  add_run(command, c.run);
  command.add_option("-o", c.workbook, "New workbook for the reports (default: NAME-reports.xlsx)")
      ->type_name("FILE.xlsx");
  command
      .add_option("--into", c.into, "Add the reports to this workbook instead; all else in it stays as it is")
      ->type_name("FILE");
  command.add_flag("--overwrite", c.overwrite,
                   "Replace a workbook that is there; with --into, sheets of earlier reports");
  add_outputs(command, c.outputs);

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

  const std::string look = "What the reports show";
  command.add_flag("--percent", c.percent, "Graphs show changes in percent of the base value")->group(look);
  command.add_option("--max-inputs", c.max_inputs, "Most inputs on a graph, 1 to 32 (default: 20)")
      ->type_name("N")
      ->check(CLI::Range(1, 32).description(""))
      ->group(look);
  command.add_flag("--all-inputs", c.all_inputs, "Graphs have also the inputs that do not move their output")
      ->group(look);
  command
      .add_option_function<std::string>(
          "--threshold", [&](const std::string& text) { c.threshold = fraction_of(text); },
          "Only inputs with a swing of at least this share of the base value: 0.05 or 5%")
      ->type_name("X")
      ->group(look);
  command
      .add_option_function<std::string>(
          "--bar-color", [&](const std::string& text) { c.bar_color = color_of("--bar-color", text); },
          "Bars of a tornado")
      ->type_name("RRGGBB")
      ->group(look);
  command
      .add_option_function<std::string>(
          "--base-color", [&](const std::string& text) { c.base_color = color_of("--base-color", text); },
          "Base value line of a tornado")
      ->type_name("RRGGBB")
      ->group(look);
  command
      .add_option_function<std::string>(
          "--low-color", [&](const std::string& text) { c.low_color = color_of("--low-color", text); },
          "Parts of tornado bars that inputs below their base make (try E69F00)")
      ->type_name("RRGGBB")
      ->group(look);
  command
      .add_option_function<std::string>(
          "--watermark", [&](const std::string& text) { c.watermark = with_line_breaks(text); },
          "Text across charts and pages; \\n begins its second line")
      ->type_name("TEXT")
      ->group(look);
  c.language = system_language();
  command.add_option("--language", c.language, "Language: " + language_list() + " (default: the system's)")
      ->type_name("CODE")
      ->check(known_language())
      ->group(look);

  command.add_option("--log", c.log_folder, "Keep a diagnostic log in this folder")->type_name("FOLDER");
  command.add_flag("--quiet", c.quiet, "Print errors only");
}

void add_show(CLI::App& app, ShowCommand& c, std::function<int()>& chosen) {
  CLI::App& command = *app.add_subcommand("show", "Show which inputs move each output most, in the terminal");
  command.footer(kShowExamples);
  command.callback([&] { chosen = [&] { return show(c); }; });
  add_run(command, c.run);
  add_outputs(command, c.outputs);
  command.add_option("--simulation", c.simulation, "Which simulation of the run (default: 1)")
      ->type_name("N")
      ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()).description(""));
  const auto form = [&c](ShowForm wanted) {
    if (c.form != ShowForm::kTable) throw CLI::ValidationError("--json", "goes without --csv");
    c.form = wanted;
  };
  command.add_flag_callback(
      "--json", [=] { form(ShowForm::kJson); }, "JSON for programs, in full precision");
  command.add_flag_callback(
      "--csv", [=] { form(ShowForm::kCsv); }, "CSV for programs, in full precision");
}

void add_check(CLI::App& app, std::filesystem::path& run, std::function<int()>& chosen) {
  CLI::App& command = *app.add_subcommand("check", "Say what is wrong with a run file, or what is in it");
  command.callback([&] { chosen = [&] { return check(run); }; });
  add_run(command, run);
}

// The parser would only say that a command is missing.
void refuse_unknown_command(const CLI::App& app, int argc, char** argv) {
  const std::string first = argc > 1 ? argv[1] : "-";
  const auto commands = app.get_subcommands({});
  const bool known = std::any_of(commands.begin(), commands.end(),
                                 [&](const CLI::App* command) { return command->get_name() == first; });
  if (known || first.starts_with('-')) return;
  throw BadArguments("\"" + printable(first) + "\" is no command; there are " + kCommands +
                     "\nTry `ordvane --help`.");
}

// Reads the arguments and runs what they ask for.
int run_command(int argc, char** argv) {
  CLI::App app(
      "Reports on what-if runs: which inputs of a spreadsheet model move its outputs, and by how much.",
      "ordvane");
  app.set_version_flag("--version", std::string("ordvane ") + kVersion);
  app.require_subcommand(0, 1);
  app.footer(std::string(kMainExamples) + kExitCodes);
  app.get_formatter()->column_width(28);
  for (const auto& [word, shown] : {std::pair("SUBCOMMAND", "COMMAND"),
                                    {"Subcommands", "Commands"},
                                    {"REQUIRED", ""},
                                    {"Positionals", "Arguments"}})
    app.get_formatter()->label(word, shown);

  ReportCommand report_command;
  ShowCommand show_command;
  std::filesystem::path checked_run;
  std::function<int()> chosen;
  add_report(app, report_command, chosen);
  add_show(app, show_command, chosen);
  add_check(app, checked_run, chosen);

  refuse_unknown_command(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::ParseError& error) {
    std::string command = "ordvane";
    for (const CLI::App* used : app.get_subcommands()) command += " " + used->get_name();
    throw BadArguments(std::string(error.what()) + "\nTry `" + command + " --help`.");
  }
  if (!chosen) throw BadArguments(std::string("name a command: ") + kCommands + "\nTry `ordvane --help`.");
  return chosen();
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
    return failed(kBadInput, error.what());
  } catch (const runfile::BadRun& error) {
    return failed(kBadInput, error.what());
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
