#include "cli/definitions.h"

#include <cstdlib>
#include <limits>
#include <memory>

#include "cli/command_line.h"
#include "cli/commands.h"
#include "cli/option_values.h"
#include "environment/standard_environment.h"

namespace ordvane::cli {
namespace {

const ValueKind kNewWorkbook{"FILE.xlsx", ValueKind::Offer::kFiles, {".xlsx"}};
const ValueKind kNewReport{"FILE.xlsx|FILE.html", ValueKind::Offer::kFiles, {".xlsx", ".html"}};
const ValueKind kWorkbook{"FILE", ValueKind::Offer::kFiles, {".xlsx", ".xlsm"}};
const ValueKind kFolder{"FOLDER", ValueKind::Offer::kFolders};
const ValueKind kLanguage{"CODE", ValueKind::Offer::kLanguages};
const ValueKind kOutput{.name = "NAME|CELL", .repeated = true};
const ValueKind kNumber{"N"};
const ValueKind kShare{"X"};
const ValueKind kTarget{"VALUE"};
const ValueKind kOrder{"swing|downside|upside|elasticity"};
const ValueKind kColor{"RRGGBB"};
const ValueKind kColorOrNone{"RRGGBB|none"};
const ValueKind kLabels{"inputs|outputs|both"};
const ValueKind kText{"TEXT"};

const ValueKind kModel{"MODEL", ValueKind::Offer::kFiles, {".xlsx", ".xlsm", ".xls", ".ods"}};
const ValueKind kWhatIf{"WHATIF", ValueKind::Offer::kFiles, {".json"}};
const ValueKind kPart{"PART", ValueKind::Offer::kFiles, {".csv"}};
const ValueKind kRunFile{"RUN.run.json", ValueKind::Offer::kFiles, {".json"}};
const ValueKind kInputRange{.name = "CELL=RANGE", .repeated = true};
const ValueKind kVerify{"ends|all|none"};
const ValueKind kShard{"K/N"};
const ValueKind kMoment{"DATE"};
const ValueKind kTable{"TABLE", ValueKind::Offer::kFiles, {".csv", ".tsv", ".txt"}};
const ValueKind kColumns{"NAMES"};
const ValueKind kRow{"ROW"};
const ValueKind kExported{"ranking|answers|steps|table|run"};
const ValueKind kForm{"csv|json|ndjson|binary"};
const ValueKind kTableForm{"csv|binary"};
const ValueKind kTextFile{"FILE", ValueKind::Offer::kFiles, {".csv", ".json", ".ndjson"}};

HelpPart exit_status() {
  return {
      "Exit status",
      {{"0", "done"},
       {"1", "the reports could not be made or written; of `diff --fail-over`, that something moved more"},
       {"2", "wrong arguments, or a run file or workbook that cannot be used"},
       {"130", "cancelled with Ctrl-C; what was there before is still there"}}};
}

// Of the user's messages, as the system's settings say.
std::string system_language() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* locale = std::getenv(variable);
    if (locale != nullptr && *locale != '\0') return environment::language_of_locale(locale);
  }
  return environment::language_of_locale("");
}

// What reads a path as it was typed.
auto path(std::filesystem::path& into) {
  return [&into](const std::string& text) { into = text; };
}

template <class Value>
auto one_of(const char* option, Value& value, std::vector<std::pair<const char*, Value>> names) {
  return [=, &value](const std::string& text) { value = choice_of(option, text, names); };
}

void add_outputs(CommandLine& line, std::vector<std::string>& outputs) {
  line.repeated_option("--output", kOutput,
                       "Only this output, by name or cell; may be given again (default: all)", outputs);
}

void add_raw_text(CommandLine& line, exchange::Texts& texts) {
  line.parser().add_flag_callback(
      "--raw-text", [&texts] { texts = exchange::Texts::kRaw; },
      "CSV without apostrophes before texts that begin like formulas");
}

// Of what makes runs.
template <class Form>
void add_table_form(CommandLine& line, Form& form) {
  line.option(
      "--as", kTableForm, "The form of the run's values: csv, or binary for large runs (default: csv)",
      one_of<Form>("--as", form, {{"csv", sweep::TableForm::kCsv}, {"binary", sweep::TableForm::kBinary}}));
}

CLI::Option* add_target(CommandLine& line, std::optional<double>& target) {
  return line.option("--target", kTarget, "Output value to break even at (default: each output's own, or 0)",
                     [&target](const std::string& text) { target = number_of("--target", text); });
}

// What both reports and the terminal answer.
void add_answers(CommandLine& line, std::optional<double>& target, model::SortBy& sort,
                 const std::string& group) {
  CLI::Option* const options[] = {
      add_target(line, target),
      line.option("--sort", kOrder, "Order of the inputs: by swing (default), downside, upside or elasticity",
                  [&sort](const std::string& text) { sort = order_of("--sort", text); })};
  if (group.empty()) return;
  for (CLI::Option* option : options) option->group(group);
}

void add_choice_of_reports(CommandLine& line, ReportCommand& c) {
  const auto flag = [&](const char* name, bool& value, const char* what) {
    line.parser()
        .add_flag(name, value, what)
        ->group("Reports (default: matrix, tornado, spider and sensitivity; always a summary)");
  };
  flag("--matrix", c.matrix, "One sheet: which input moves what, inputs against outputs");
  flag("--tornado", c.tornado, "One bar per input, the strongest on top");
  flag("--spider", c.spider, "One line per input: its change against the output's");
  flag("--sensitivity", c.sensitivity, "One chart per input");
  flag("--output-detail", c.output_detail, "Per output, every step of every input, by rank");
  flag("--detail-by-input", c.detail_by_input, "One sheet: every step of every input, outputs side by side");
  flag("--multi-way", c.multi_way,
       "Inputs varied together: a tornado and grids per output, and every result");
  flag("--all", c.all, "All of them; --multi-way where the run varied inputs together");
}

CLI::Option* add_language(CommandLine& line, embedded::ReportOptions& options) {
  options.language = system_language();
  return line.option("--language", kLanguage, "Language: " + language_list() + " (default: the system's)",
                     [&](const std::string& text) { options.language = language_of("--language", text); });
}

void add_look(CommandLine& line, ReportCommand& c) {
  CLI::App& command = line.parser();
  const std::string look = "What the reports show";
  command.add_flag("--percent", c.options.percent, "Graphs show changes in percent of the base value")
      ->group(look);
  line.option("--max-inputs", kNumber, "Most inputs on a graph, 1 to 32 (default: 20)",
              [&](const std::string& text) {
                c.options.max_inputs = whole_number_of("--max-inputs", text, 1, 32);
              })
      ->group(look);
  command
      .add_flag("--all-inputs", c.options.all_inputs,
                "Graphs have also the inputs that do not move their output")
      ->group(look);
  line.option("--threshold", kShare,
              "Least swing of inputs, as a share of the base value: 5% or 0.05 (1 is 100%)",
              [&](const std::string& text) { c.options.set_threshold(share_of("--threshold", text)); })
      ->group(look);
  add_answers(line, c.options.target, c.options.sort, look);
  const auto color = [&](const char* name, auto& value, const char* what) {
    line.option(name, kColor, what, [name, &value](const std::string& text) { value = color_of(name, text); })
        ->group(look);
  };
  color("--bar-color", c.options.bar_color, "Bars of a tornado");
  color("--base-color", c.options.base_color, "Base value line of a tornado");
  line.option("--low-color", kColorOrNone,
              "Tornado bars where inputs are below their base value (default: E69F00)",
              [&](const std::string& text) {
                c.options.low_color =
                    text == "none" ? std::nullopt : std::optional(color_of("--low-color", text));
              })
      ->group(look);
  line.option("--labels", kLabels, "What stands at the ends of tornado bars (default: inputs)",
              [&c](const std::string& text) {
                c.options.labels = choice_of<reports::BarLabels>("--labels", text,
                                                                 {{"inputs", reports::BarLabels::kInputs},
                                                                  {"outputs", reports::BarLabels::kOutputs},
                                                                  {"both", reports::BarLabels::kBoth}});
                c.graphs.labels = c.options.labels;
              })
      ->group(look);
  line.free_text("--watermark", kText, "Text across charts and pages; \\n begins its second line",
                 [&](const std::string& text) { c.options.watermark = with_line_breaks(text); })
      ->group(look);
  add_language(line, c.options)->group(look);
}

void add_graph_folders(CommandLine& line, page::GraphFolders& folders) {
  const auto folder = [&](const char* name, std::filesystem::path& value, const char* what) {
    line.option(name, kFolder, what, path(value))
        ->group("Graphs as files, one a graph; given alone, no workbook is made");
  };
  folder("--svg", folders.svg, "Into this folder, for papers and slides");
  folder("--png", folders.png, "The same as PNG (needs Debian's librsvg2-bin)");
  folder("--pdf", folders.pdf, "The same as PDF (needs Debian's librsvg2-bin)");
}

void define_report(Arguments& arguments) {
  const auto c = std::make_shared<ReportCommand>();
  CommandLine line(arguments, "report", "Write the reports of a run into an Excel workbook or a page",
                   c->run);
  line.runs([c, &problems = arguments.problems()] { return report(*c, problems); });
  line.option("-o", kNewReport, "Workbook or page to write (default: NAME-reports.xlsx)", path(c->workbook));
  line.option("--into", kWorkbook, "Add the reports to this workbook instead; all else in it stays as it is",
              path(c->into));
  line.parser().add_flag("--overwrite", c->options.overwrite,
                         "Replace files that are there; with --into, sheets of earlier reports");
  add_outputs(line, c->outputs);
  add_choice_of_reports(line, *c);
  add_graph_folders(line, c->graphs);
  add_look(line, *c);
  line.option("--log", kFolder, "Keep a diagnostic log in this folder", path(c->log_folder));
  line.parser().add_flag("--quiet", c->quiet, "Print errors only");
  line.set_help(
      {{"Examples",
        {{"ordvane report budget.run.json"},
         {"ordvane report budget.run.json -o board.xlsx --output Profit --output Costs!D12 --all"},
         {"ordvane report budget.run.json --into budget.xlsx --overwrite"},
         {"ordvane report budget.run.json -o budget.html"},
         {"ordvane report budget.run.json --svg figures --tornado --output Profit"},
         {"ordvane report budget.run.json --tornado --percent --max-inputs 10 --threshold 5%"},
         {"ordvane report budget.run.json --multi-way --output Profit"},
         {"ordvane report budget.run.json --tornado --target 50000 --sort downside"},
         {"ordvane report budget.run.json --tornado --bar-color 333399 --labels both"},
         {"ordvane report budget.run.json --bar-color 1F4E79 --watermark 'Draft\\nnot for release'"}}},
       exit_status()});
}

void define_show(Arguments& arguments) {
  const auto c = std::make_shared<ShowCommand>();
  Problems& problems = arguments.problems();
  CommandLine line(arguments, "show", "Show which inputs move each output most, in the terminal", c->run);
  line.runs([c, &problems] { return show(*c, problems); });
  add_outputs(line, c->outputs);
  line.option("--simulation", kNumber, "Which simulation of the run (default: 1)",
              [&c = *c](const std::string& text) {
                c.simulation =
                    whole_number_of("--simulation", text, 1, std::numeric_limits<std::int32_t>::max());
              });
  add_answers(line, c->target, c->sort, "");
  line.parser().add_flag("--steps", c->steps, "Every step of every input, too");
  const auto form = [&c = *c, &problems](exchange::Form wanted) {
    if (c.form && c.form != wanted) problems.add("--json: goes without --csv");
    c.form = wanted;
  };
  line.parser().add_flag_callback(
      "--json", [form] { form(exchange::Form::kJson); }, "JSON for programs, in full precision");
  line.parser().add_flag_callback(
      "--csv", [form] { form(exchange::Form::kCsv); }, "CSV for programs, in full precision");
  add_raw_text(line, c->texts);
  line.set_help(
      {{"Examples",
        {{"ordvane show budget.run.json --output Profit"},
         {"ordvane show budget.run.json --target 50000 --sort downside --steps"},
         {"ordvane show budget.run.json --csv > ranking.csv"},
         {"ordvane show budget.run.json --json | jq '.outputs[].inputs[0].name'"},
         {"ordvane show budget.run.json --json | jq '.outputs[].inputs[] | select(.failed > 0).name'"}}},
       {"",
        {{"Values are written as their cells show them. Given width, the input values behind both ends, "
          "shares,"},
         {"shapes and break-evens follow. NO_COLOR keeps colours away."},
         {"Marks tell inputs with results that are no numbers (1 of 3) and inputs that never stood at their "
          "base"},
         {"value (*)."}}},
       {"",
        {{"Inputs that were varied together follow in groups. The interaction of a group is how much its "
          "swing"},
         {"exceeds the swings of its inputs varied one at a time: 0 where effects add up, negative where "
          "they"},
         {"offset each other."}}},
       {"", {{"docs/command.md tells every field of the JSON and the CSV."}}}});
}

void define_import(Arguments& arguments) {
  const auto c = std::make_shared<ImportCommand>();
  CommandLine line(arguments, "import",
                   "Make a run of a table: a row a recalculation, inputs and outputs as columns",
                   {kTable, "CSV with column names in its first row; also with ; or tabs between the fields",
                    "name a table", "an import takes one table"},
                   c->table);
  line.runs([c, &problems = arguments.problems()] { return import_run(*c, problems); });
  const auto list = [](std::string& names) { return [&names](const std::string& text) { names = text; }; };
  line.option("--outputs", kColumns,
              "Columns that are outputs: A,B or A,\"B, net\" (default: all but the inputs)",
              list(c->outputs));
  line.option("--inputs", kColumns, "Columns that are inputs (default: all but the outputs)",
              list(c->inputs));
  line.option(
      "--base", kRow,
      "Row of the base case, that of the column names being row 1 (default: the row in which each input "
      "has the value that it has most often)",
      [&c = *c](const std::string& text) {
        c.base_line = whole_number_of("--base", text, 2, std::numeric_limits<std::int32_t>::max());
      });
  line.option("-o", kRunFile, "The run file to write (default: NAME.run.json, in this folder)", path(c->run));
  add_table_form(line, c->form);
  line.parser().add_flag("--overwrite", c->overwrite, "Replace a run that is there");
  line.set_help(
      {{"Examples",
        {{"ordvane import study.csv --outputs NPV,IRR"},
         {"ordvane import study.csv --inputs Price,Volume --outputs Profit --base 2 -o study.run.json"}}},
       {"",
        {{"The rows vary one input at a time, or several over a full grid of their values. In any other"},
         {"design the row is named that breaks it. docs/exchange.md tells more."}}},
       exit_status()});
}

void define_export(Arguments& arguments) {
  const auto c = std::make_shared<ExportCommand>();
  CommandLine line(arguments, "export", "Write a run for other programs: CSV, JSON or NDJSON", c->run);
  line.runs([c, &problems = arguments.problems()] { return export_run(*c, problems); });
  line.option(
      "--what", kExported,
      "ranking: which input moves which output; answers: break-even, shape, share, elasticity; steps: every "
      "result, one a row; table: every "
      "recalculation, inputs and outputs as columns; run: the run itself, as files of its own (default: "
      "ranking)",
      one_of<Exported>("--what", c->what,
                       {{"ranking", Exported::kRanking},
                        {"answers", Exported::kAnswers},
                        {"steps", Exported::kSteps},
                        {"table", Exported::kTable},
                        {"run", Exported::kRun}}));
  line.option("--as", kForm,
              "The form of the text (default: by the ending of -o, else csv); of a run csv, or binary for "
              "large ones",
              one_of<std::optional<ExportForm>>("--as", c->form,
                                                {{"csv", ExportForm::kCsv},
                                                 {"json", ExportForm::kJson},
                                                 {"ndjson", ExportForm::kNdjson},
                                                 {"binary", ExportForm::kBinary}}));
  line.option("-o", kTextFile, "File to write (default: standard output)", path(c->file));
  line.parser().add_flag("--overwrite", c->overwrite, "Replace a file that is there");
  add_outputs(line, c->outputs);
  line.option("--simulation", kNumber, "Which simulation of the run (default: 1; of the steps, all)",
              [&c = *c](const std::string& text) {
                c.simulation =
                    whole_number_of("--simulation", text, 1, std::numeric_limits<std::int32_t>::max());
              });
  add_target(line, c->target);
  add_raw_text(line, c->texts);
  line.set_help(
      {{"Examples",
        {{"ordvane export budget.run.json --what steps -o steps.csv"},
         {"ordvane export budget.run.json --as ndjson | jq 'select(.rank == 1).input'"},
         {"ordvane export budget.run.json --what table -o table.csv"},
         {"ordvane export budget.run.json --what run --as binary -o large.run.json"}}},
       {"", {{"docs/exchange.md tells every column; `ordvane import` reads what --what table writes."}}},
       exit_status()});
}

void define_diff(Arguments& arguments) {
  const auto c = std::make_shared<DiffCommand>();
  const ValueKind run{"OLD", ValueKind::Offer::kFiles, {".json"}};
  CommandLine line(arguments, "diff", "Show what changed between two runs of a model",
                   {run, "Run file: as it was", "name two run files", "a diff takes two run files"},
                   c->before);
  line.operand({"NEW", ValueKind::Offer::kFiles, {".json"}}, "Run file: as it is now", c->now);
  line.runs([c, &problems = arguments.problems()] { return diff(*c, problems); });
  line.parser().add_flag("--json", c->json, "JSON for programs, in full precision");
  line.option("-o", kNewReport,
              "Also write a workbook, or a page: base values, and per output a chart of both swings",
              path(c->workbook));
  line.parser().add_flag("--overwrite", c->options.overwrite, "Replace a file that is there");
  add_language(line, c->options);
  line.option(
      "--fail-over", kShare,
      "Exit with 1 when a base value, swing or rank moved by more, or an item is new or gone: 5% or 0.05",
      [&c = *c](const std::string& text) { c.fail_over = share_of("--fail-over", text); });
  line.option("--simulation", kNumber, "Which simulation of both runs (default: 1)",
              [&c = *c](const std::string& text) {
                c.simulation =
                    whole_number_of("--simulation", text, 1, std::numeric_limits<std::int32_t>::max());
              });
  line.set_help({{"Examples",
                  {{"ordvane diff budget-october.run.json budget.run.json"},
                   {"ordvane diff budget-october.run.json budget.run.json -o changes.xlsx"},
                   {"ordvane diff main.run.json budget.run.json --fail-over 5%"},
                   {"ordvane diff old.run.json new.run.json --json | jq '.outputs[].baseChange'"}}},
                 {"",
                  {{"Inputs and outputs are matched by name and cell, else by name, else by cell; those of "
                    "another name are"},
                   {"told. The bars reach from the swing that was to the swing that is. Ranks move by "
                    "places, as a share of"},
                   {"the number of inputs. docs/exchange.md tells more."}}},
                 exit_status()});
}

void define_check(Arguments& arguments) {
  const auto run = std::make_shared<std::filesystem::path>();
  CommandLine line(arguments, "check", "Say what is wrong with a run or what-if file, or what is in it",
                   *run);
  line.runs([run, &problems = arguments.problems()] { return check(*run, problems); });
  line.set_help(
      {{"Examples", {{"ordvane check budget.run.json"}}},
       {"", {{"docs/run-file.md describes run files; `ordvane sweep` records one from a workbook."}}}});
}

void add_sweep_options(CommandLine& line, SweepCommand& c) {
  line.repeated_option("--output", kOutput, "A cell to look at, or its name; may be given again", c.outputs);
  line.repeated_option(
      "--input", kInputRange,
      "A cell to vary, or its name: C3=10..20, C3=+-10% or C3=1,2,5; may be given again (default: "
      "found)",
      c.inputs);
  line.option("--steps", kNumber, "Values that an input takes whose range does not say it (default: 5)",
              [&c](const std::string& text) { c.steps = whole_number_of("--steps", text, 1, 32767); });
  line.option("--target", kTarget,
              "Output value to break even at: the model is asked where each input brings the outputs there",
              [&c](const std::string& text) { c.target = number_of("--target", text); });
  line.option("-o", kRunFile,
              "The file to write (default: NAME.run.json, or NAME.whatif.json, in this folder)",
              path(c.file));
  add_table_form(line, c.form);
  line.parser().add_flag("--overwrite", c.overwrite,
                         "Replace files that are there; begin unfinished work anew");
  line.optional_value("--report", kNewWorkbook,
                      "Also write the reports, and show the ranking (default: NAME-reports.xlsx)", c.report);
  line.option("--into", kWorkbook, "The same, as sheets of a workbook that is there, the model for example",
              path(c.into));
  line.parser().add_flag("--suggest", c.suggest,
                         "Write the inputs and outputs that are found as a definition to edit, and no run");
  line.parser().add_flag("--quiet", c.quiet, "Print errors only");
}

void add_sweep_engine(CommandLine& line, SweepCommand& c) {
  const std::string group = "How it is calculated";
  line.option(
          "--verify", kVerify,
          "What LibreOffice calculates, too, where it is installed (default: ends, the base and both ends "
          "of each input)",
          one_of<sweep::Verify>(
              "--verify", c.verify,
              {{"ends", sweep::Verify::kEnds}, {"all", sweep::Verify::kAll}, {"none", sweep::Verify::kNone}}))
      ->group(group);
  line.parser()
      .add_flag("--libreoffice", c.libreoffice, "LibreOffice calculates all, whatever this program could")
      ->group(group);
  line.option(
          "--time-limit", kNumber, "Seconds that LibreOffice has for a recalculation (default: 60)",
          [&c](const std::string& text) { c.time_limit = whole_number_of("--time-limit", text, 1, 86400); })
      ->group(group);
  line.option("--now", kMoment,
              "Where NOW and TODAY stand: 2026-11-22, or 2026-11-22T14:30:00 (default: as unfinished work "
              "has it, else the beginning of today, UTC)",
              [&c](const std::string& text) { c.now = moment_of("--now", text); })
      ->group(group);
  line.option("--threads", kNumber, "Processors to use (default: all)",
              [&c](const std::string& text) { c.threads = whole_number_of("--threads", text, 1, 1024); })
      ->group(group);
  line.option("--shard", kShard,
              "Only part K of N, for `ordvane merge`; auto in array jobs, auto/N in Kubernetes",
              [&c](const std::string& text) { c.shard = text; })
      ->group(group);
}

void define_sweep(Arguments& arguments) {
  const auto c = std::make_shared<SweepCommand>();
  CommandLine line(arguments, "sweep", "Step the inputs of a workbook and record what its outputs show",
                   {kModel, "Workbook with the model; not changed, unless --into names it", "name a workbook",
                    "a sweep takes one workbook and one what-if definition"},
                   c->workbook);
  line.operand(kWhatIf, "What-if definition: inputs with their ranges, and outputs", c->what_if);
  line.runs([c, &problems = arguments.problems()] { return sweep(*c, problems); });
  add_sweep_options(line, *c);
  add_sweep_engine(line, *c);
  line.set_help(
      {{"Examples",
        {{"ordvane sweep budget.xlsx --output Results!B5 --report"},
         {"ordvane sweep budget.xlsx --suggest"},
         {"ordvane sweep budget.xlsx budget.whatif.json --report"},
         {"ordvane sweep budget.xlsx --output Results!B5 --input Prices!C3=10..20 --input "
          "Tax=+-10% --steps 9"},
         {"ordvane sweep budget.xlsx budget.whatif.json --shard 2/8"}}},
       {"",
        {{"Without inputs, those numbers are varied by 10% that move the first output most; without "
          "outputs,"},
         {"the last results of the model are proposed."}}},
       {"",
        {{"What is interrupted goes on where it ended when the same command is given again."},
         {"docs/what-if.md describes definitions."}}},
       exit_status()});
}

void define_merge(Arguments& arguments) {
  const auto c = std::make_shared<MergeCommand>();
  CommandLine line(arguments, "merge", "Make the run of the parts that several sweeps have calculated",
                   {kPart, "A part: NAME.part-1-of-3.csv", "name the parts of a sweep", "name parts"},
                   c->first);
  line.operands({"PARTS", ValueKind::Offer::kFiles, {".csv"}}, "All the others", c->others);
  line.runs([c, &problems = arguments.problems()] { return merge(*c, problems); });
  line.option("-o", kRunFile, "The run file to write (default: NAME.run.json beside the first part)",
              path(c->run));
  add_table_form(line, c->form);
  line.parser().add_flag("--overwrite", c->overwrite, "Replace a run that is there");
  line.set_help({{"Examples", {{"ordvane merge budget.part-*.csv -o budget.run.json"}}}, exit_status()});
}

}  // namespace

void define_commands(Arguments& arguments) {
  define_sweep(arguments);
  define_merge(arguments);
  define_import(arguments);
  define_report(arguments);
  define_show(arguments);
  define_export(arguments);
  define_diff(arguments);
  define_check(arguments);
}

HelpParts help_of_all() {
  return {{"Examples",
           {{"ordvane sweep budget.xlsx --output Profit", "the run of a workbook, in budget.run.json"},
            {"ordvane report budget.run.json", "reports of every output, in budget-reports.xlsx"},
            {"ordvane show budget.run.json", "the ranking, here in the terminal"},
            {"ordvane check budget.run.json", "is the run file sound, and what is in it?"}}},
          {"", {{"`ordvane help COMMAND` tells more about a command."}}},
          exit_status(),
          {"Environment",
           {{"LC_ALL, LC_MESSAGES, LANG", "the language of reports where --language says none"},
            {"COLUMNS", "the width of tables, where it is not the terminal's"},
            {"SOURCE_DATE_EPOCH", "the time that workbooks and models have, in seconds since 1970"}}}};
}

}  // namespace ordvane::cli
