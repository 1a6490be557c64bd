// The commands behind `ordvane`, once their arguments are read.
//
// Each is told what is wrong with the arguments so far, checks what else can be checked, and throws
// BadArguments with all of it before anything is done. Otherwise it prints to standard output and returns the
// exit code. Throws host::Error for what goes wrong later.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/problems.h"
#include "embedded/report_job.h"
#include "exchange/rows.h"
#include "ordvane/version.h"
#include "page/graph_files.h"
#include "sweep/job.h"

namespace ordvane::cli {

inline constexpr const char* kVersion = ORDVANE_VERSION;

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kBadInput = 2;
inline constexpr int kSignalled = 128;  // plus the signal: 130 for Ctrl-C

struct ReportCommand {
  ReportCommand() { options.low_color = reports::kLowColor; }

  std::filesystem::path run;
  // A new one, or a page (.html); empty: a workbook named after the run, in the current folder.
  std::filesystem::path workbook;
  std::filesystem::path into;  // one that is there; empty: none, the reports go into a new one
  page::GraphFolders graphs;   // that graphs go into as files; alone, no workbook is made
  std::vector<std::string> outputs;
  bool tornado = false, spider = false, sensitivity = false, output_detail = false, detail_by_input = false,
       multi_way = false, matrix = false;
  bool all = false;
  embedded::ReportOptions options;  // but for the outputs and the reports chosen, which wait for the run
  std::filesystem::path log_folder;
  bool quiet = false;
};
int report(const ReportCommand& command, Problems& problems);
// "budget-reports.xlsx", in the current folder, for "budget.run.json" and "budget.json" anywhere.
std::filesystem::path default_workbook(const std::filesystem::path& run);
// What can be said of the workbook that the reports go into before there is a run. `option`: that names a new
// one.
void check_report_target(const ReportCommand& command, const std::string& option, Problems& problems);

struct ShowCommand {
  std::filesystem::path run;
  std::vector<std::string> outputs;
  std::int32_t simulation = 1;
  std::optional<exchange::Form> form;  // for programs; none: a table for people
  exchange::Texts texts = exchange::Texts::kProtected;
  std::optional<double> target;  // of all outputs; none: each output's own
  model::SortBy sort = model::SortBy::kSwing;
  bool steps = false;
};
int show(const ShowCommand& command, Problems& problems);

struct ImportCommand {
  std::filesystem::path table;
  std::filesystem::path run;    // empty: named after the table, here
  std::string inputs, outputs;  // lists of columns
  std::optional<std::int32_t> base_line;
  sweep::TableForm form = sweep::TableForm::kCsv;
  bool overwrite = false;
};
int import_run(const ImportCommand& command, Problems& problems);

enum class Exported { kSteps, kTable, kRanking, kAnswers, kRun };
enum class ExportForm { kCsv, kJson, kNdjson, kBinary };
struct ExportCommand {
  std::filesystem::path run;
  std::filesystem::path file;  // empty: standard output
  Exported what = Exported::kRanking;
  std::optional<ExportForm> form;  // none: by the file's name, else CSV; binary: of runs alone
  exchange::Texts texts = exchange::Texts::kProtected;
  std::vector<std::string> outputs;
  std::optional<std::int32_t> simulation;
  std::optional<double> target;  // of all outputs; none: each output's own
  bool overwrite = false;
};
int export_run(const ExportCommand& command, Problems& problems);

struct DiffCommand {
  std::filesystem::path before, now;
  std::int32_t simulation = 1;
  bool json = false;
  std::filesystem::path workbook;   // or page; empty: none
  embedded::ReportOptions options;  // of it: language and what is there
  std::optional<double> fail_over;  // a share: more than it, and the exit code is kFailed
};
int diff(const DiffCommand& command, Problems& problems);

// Of a run, or of a what-if definition.
int check(const std::filesystem::path& file, Problems& problems);

struct SweepCommand {
  std::filesystem::path workbook;
  std::filesystem::path what_if;  // empty: all is said by options
  std::filesystem::path file;     // the run, or the definition; empty: named after the workbook, here
  std::vector<std::string> inputs, outputs;
  std::optional<std::int32_t> steps;
  std::optional<double> target;  // of all outputs; none: each output's own
  sweep::Verify verify = sweep::Verify::kEnds;
  std::optional<std::string> shard;
  bool libreoffice = false;
  double time_limit = 60;  // seconds, of one recalculation by LibreOffice
  std::int32_t threads = 0;
  std::optional<std::chrono::sys_seconds> now;  // where the model's clock stands
  std::optional<sweep::TableForm> form;         // none: CSV
  bool overwrite = false, quiet = false;
  std::optional<std::string> report;  // a workbook; empty: named after the run
  std::filesystem::path into;         // one that is there, for the reports; empty: none
  bool suggest = false;               // write a definition in the place of a run
};
int sweep(const SweepCommand& command, Problems& problems);

struct MergeCommand {
  std::filesystem::path first;
  std::vector<std::filesystem::path> others;
  std::filesystem::path run;  // empty: named after the first part
  sweep::TableForm form = sweep::TableForm::kCsv;
  bool overwrite = false;
};
int merge(const MergeCommand& command, Problems& problems);

// Reads the run, with a line of progress; null when it has none, which is one of the problems then.
struct RunReading {
  bool keeps_texts = false;  // as runfile::ReadOptions has it
  bool quiet = false;        // without progress
};
std::shared_ptr<const runfile::Run> read_run(const std::filesystem::path& file, Problems& problems,
                                             RunReading reading = {});
// The outputs of the run that `wanted` names, and whether it has the simulation.
std::vector<std::int32_t> chosen_outputs(const runfile::Run& run, const std::vector<std::string>& wanted,
                                         std::int32_t simulation, Problems& problems);

}  // namespace ordvane::cli
