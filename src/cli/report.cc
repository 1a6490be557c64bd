// ordvane report: a recorded run in; a report workbook, a page or files of graphs out.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <memory>
#include <tuple>
#include <utility>

#include "cli/commands.h"
#include "cli/new_file.h"
#include "cli/output_choice.h"
#include "cli/report_clock.h"
#include "cli/signals.h"
#include "cli/terminal.h"
#include "embedded/report_job.h"
#include "page/graph_files.h"
#include "page/page.h"
#include "text/system_reasons.h"
#include "xlsx/existing_workbook.h"
#include "xlsx/file_system.h"

namespace ordvane::cli {
namespace {

constexpr const char* kDefaultEnding = "-reports.xlsx";

// Folders of graphs alone ask for no workbook.
bool makes_workbook_or_page(const ReportCommand& command) {
  return !command.graphs.any() || !command.workbook.empty() || !command.into.empty();
}

bool makes_workbook(const ReportCommand& command) {
  return makes_workbook_or_page(command) && !is_page(command.workbook);
}

// What only workbooks have is not asked for where none is made.
void check_without_workbook(const ReportCommand& command, Problems& problems) {
  for (const auto& [given, option] :
       {std::pair(command.output_detail, "--output-detail"),
        std::pair(command.detail_by_input, "--detail-by-input"), std::pair(command.multi_way, "--multi-way"),
        std::pair(!command.options.watermark.empty(), "--watermark"),
        std::pair(!command.log_folder.empty(), "--log")})
    if (given) problems.add(std::string(option) + ": is for workbooks; name one with -o FILE.xlsx");
}

void check_graphs(const ReportCommand& command, Problems& problems) {
  const page::GraphFolders& folders = command.graphs;
  const std::string missing = page::missing_for_pictures();
  for (const auto& [folder, option, is_picture] :
       {std::tuple(folders.svg, "--svg", false), std::tuple(folders.png, "--png", true),
        std::tuple(folders.pdf, "--pdf", true)}) {
    if (folder.empty()) continue;
    if (std::filesystem::exists(folder) && !std::filesystem::is_directory(folder))
      problems.add(std::string(option) + ": \"" + folder.string() + "\" is a file; name a folder");
    if (is_picture && !missing.empty()) problems.add(std::string(option) + ": " + missing);
  }
}

void check_log_folder(const std::filesystem::path& log_folder) {
  if (log_folder.empty()) return;
  if (!std::filesystem::is_directory(log_folder))
    throw BadArguments("--log: there is no folder \"" + log_folder.string() + "\"");
  // Only trying tells: administrators may do what the system then refuses.
  xlsx::FileSystem& files = xlsx::real_files();
  std::string name = (log_folder / ".ordvane-XXXXXX").string();
  const int file = files.create(name, 0600);
  if (file < 0)
    throw BadArguments("--log: no file can be made in \"" + printable(log_folder.string()) +
                       "\": " + text::system_reason(errno));
  files.close(file);
  files.remove(name);
}

// The folder without a separator at its end.
std::string folder_text(const std::filesystem::path& folder) {
  if (folder.empty()) return {};
  const std::filesystem::path full = std::filesystem::absolute(folder).lexically_normal();
  return (full.has_filename() ? full : full.parent_path()).string();
}

embedded::ReportOptions options_of(const ReportCommand& command, const runfile::Run& run) {
  embedded::ReportOptions options = command.options;
  const bool chosen = command.all || command.tornado || command.spider || command.sensitivity ||
                      command.output_detail || command.detail_by_input || command.multi_way || command.matrix;
  options.matrix = !chosen || command.all || command.matrix;
  options.tornado = !chosen || command.all || command.tornado;
  options.spider = !chosen || command.all || command.spider;
  options.sensitivity = !chosen || command.all || command.sensitivity;
  options.output_detail = command.all || command.output_detail;
  options.detail_by_input = command.all || command.detail_by_input;
  options.multi_way = command.multi_way || (command.all && !run.groups.empty());
  options.log_folder = folder_text(command.log_folder);
  return options;
}

std::string counted(std::size_t count, const std::string& thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

std::filesystem::path target_of(const ReportCommand& command) {
  if (!command.into.empty()) return command.into;
  return command.workbook.empty() ? default_workbook(command.run) : command.workbook;
}

struct Job {
  std::shared_ptr<const runfile::Run> run;
  std::filesystem::path workbook;
  std::vector<std::int32_t> outputs;
  std::function<std::chrono::sys_seconds()> clock;
};

// Finds out before the work is done all that would be wrong with it.
Job prepared(const ReportCommand& command, Problems& problems) {
  Job job;
  job.run = read_run(command.run, problems, {.quiet = command.quiet});
  job.workbook = target_of(command);
  if (makes_workbook_or_page(command)) check_report_target(command, "-o", problems);
  if (!makes_workbook(command)) check_without_workbook(command, problems);
  check_graphs(command, problems);
  problems.gather([&] { check_log_folder(command.log_folder); });
  problems.gather([&] { job.clock = report_clock(); });
  if (job.run) {
    if (makes_workbook_or_page(command) && command.into.empty())
      problems.gather([&] { embedded::check_apart(*job.run, job.workbook); });
    problems.gather([&] { job.outputs = find_outputs(*job.run, command.outputs); });
    if (command.multi_way && job.run->groups.empty())
      problems.add("--multi-way: " + command.run.string() +
                   " varied no inputs together; the run needs \"groups\"");
  }
  // A workbook that is there is looked at when the reports are added to it; here only if that will not be.
  if (problems.any() && !command.into.empty())
    problems.gather([&] { const xlsx::ExistingWorkbook workbook_there(command.into); });
  problems.refuse_any();
  return job;
}

// "added 2 sheets, replaced 9 sheets, 12 charts", and the sheets of earlier reports that are still there.
std::string summary(const embedded::WrittenReports& written, const ReportCommand& command) {
  constexpr std::size_t kMostNamed = 12;
  const std::size_t added = written.sheets - written.replaced;
  std::string text;
  if (added > 0) text += (command.into.empty() ? "" : "added ") + counted(added, "sheet") + ", ";
  if (written.replaced > 0) text += "replaced " + counted(written.replaced, "sheet") + ", ";
  text += counted(written.charts, "chart") + "\n";
  if (written.left_over.empty()) return text;
  const std::size_t named = std::min(written.left_over.size(), kMostNamed);
  text += "Still there from earlier reports: ";
  for (std::size_t i = 0; i < named; ++i) text += (i == 0 ? "" : ", ") + printable(written.left_over[i]);
  if (named < written.left_over.size())
    text += " and " + std::to_string(written.left_over.size() - named) + " more";
  return text + (command.options.overwrite ? "\n" : "; --overwrite replaces those of the same names\n");
}

// Says on standard output what there is now.
void say(const ReportCommand& command, const std::string& what) {
  if (!command.quiet) std::cout << what;
}

void write_workbook(const ReportCommand& command, const Job& job, const embedded::ReportOptions& options,
                    ProgressLine& progress) {
  const std::string other_names = other_names_of(job.workbook);
  const auto write = command.into.empty() ? embedded::write_reports : embedded::add_reports;
  const embedded::WrittenReports written = write(job.run, job.workbook, options);
  progress.clear();
  say(command, printable(job.workbook.string()) + other_names + ": " + summary(written, command));
}

void write_page(const ReportCommand& command, const Job& job, const embedded::ReportOptions& options) {
  const std::string other_names = other_names_of(job.workbook);
  const std::size_t outputs = page::write_page(job.run, job.workbook, options);
  say(command, printable(job.workbook.string()) + other_names + ": " + counted(outputs, "output") + "\n");
}

void write_graphs(const ReportCommand& command, const Job& job, const embedded::ReportOptions& options) {
  const page::GraphFolders& folders = command.graphs;
  const std::size_t files = page::write_graphs(job.run, options, folders);
  for (const auto& folder : {folders.svg, folders.png, folders.pdf})
    if (!folder.empty()) say(command, printable(folder.string()) + ": " + counted(files, "graph") + "\n");
}

}  // namespace

std::filesystem::path default_workbook(const std::filesystem::path& run) {
  std::string name = run.filename().string();
  for (const std::string ending : {".json", ".run"})
    if (name.size() > ending.size() && name.ends_with(ending)) name.resize(name.size() - ending.size());
  return name + kDefaultEnding;
}

void check_report_target(const ReportCommand& command, const std::string& option, Problems& problems) {
  if (command.into.empty())
    problems.gather([&] {
      check_new_report(option, target_of(command), command.options.overwrite, ", --into adds to it");
    });
  else if (!command.workbook.empty())
    problems.add("--into: goes without " + option);
}

int report(const ReportCommand& command, Problems& problems) {
  catch_signals();
  try {
    const Job job = prepared(command, problems);
    ProgressLine progress(!command.quiet);
    embedded::ReportOptions options = options_of(command, *job.run);
    options.outputs = job.outputs;
    options.clock = job.clock;
    options.progress = [&](const std::string& text) { progress.show(text); };
    options.cancelled = [] { return caught_signal() != 0; };
    if (makes_workbook(command)) write_workbook(command, job, options, progress);
    if (is_page(command.workbook)) write_page(command, job, options);
    if (command.graphs.any()) write_graphs(command, job, options);
    return kDone;
  } catch (const host::Error& error) {
    if (error.code() != host::errc::kUserCancelled) throw;
    const std::string what =
        makes_workbook_or_page(command) ? printable(target_of(command).string()) : "the last graph";
    std::fprintf(stderr, "ordvane: cancelled, %s was not written\n", what.c_str());
    return kSignalled + caught_signal();
  }
}

}  // namespace ordvane::cli
