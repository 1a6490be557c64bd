// ordvane sweep: a workbook in, a recorded run out; ordvane merge: its parts in.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "cli/commands.h"
#include "cli/found_inputs.h"
#include "cli/new_file.h"
#include "cli/option_values.h"
#include "cli/report_clock.h"
#include "cli/signals.h"
#include "cli/terminal.h"
#include "sweep/suggest.h"
#include "text/edit.h"
#include "xlsx/existing_workbook.h"
#include "xlsx/whole_file.h"

namespace ordvane::cli {
namespace {

constexpr const char* kWhatIfEnding = ".whatif.json";

// "model.xlsx" becomes "model.run.json" in the current folder.
std::filesystem::path file_of(const SweepCommand& command) {
  if (!command.file.empty()) return command.file;
  return command.workbook.stem().string() + (command.suggest ? kWhatIfEnding : kRunEnding);
}

std::optional<std::int32_t> whole_number(std::string_view text) {
  std::int32_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stop != text.data() + text.size()) return std::nullopt;
  return number;
}

// "2/8"; "auto", or "auto/8" where the environment says the place and not the number.
sweep::Shard shard_of(const std::string& text) {
  const std::size_t slash = text.find('/');
  const auto parts = slash == std::string::npos ? std::nullopt : whole_number(text.substr(slash + 1));
  const std::string place = text.substr(0, slash);
  if (place == "auto" && (slash == std::string::npos || parts)) {
    if (const auto shard = sweep::shard_of_environment(parts)) return *shard;
    throw BadArguments(
        "--shard: this is no array job of Slurm, OpenMPI or Kubernetes, or it does not say of how many "
        "parts");
  }
  const auto part = whole_number(place);
  if (!part || !parts || *part < 1 || *part > *parts)
    throw BadArguments("--shard: \"" + printable(text) +
                       "\"; a part of a number of parts, such as 2/8, is expected");
  return {*part, *parts};
}

sweep::WhatIf what_if_of(const SweepCommand& command, Problems& problems) {
  sweep::WhatIf what_if;
  if (!command.what_if.empty()) problems.gather([&] { what_if = sweep::read_what_if(command.what_if); });
  if (command.steps) what_if.steps = *command.steps;
  for (const std::string& input : command.inputs)
    problems.gather([&] { what_if.inputs.push_back(sweep::input_option(input)); });
  for (const std::string& output : command.outputs)
    problems.gather([&] { what_if.outputs.push_back(sweep::output_option(output)); });
  if (command.target)
    for (sweep::WantedOutput& output : what_if.outputs) output.target = command.target;
  return what_if;
}

void check_workbook(const std::filesystem::path& workbook) {
  if (workbook.extension() != ".json") return;
  throw BadArguments(printable(workbook.string()) + ": is " +
                     (sweep::is_what_if_file(workbook) ? "a what-if definition" : "a JSON file") +
                     "; the workbook with the model is expected first");
}

ReportCommand report_of(const SweepCommand& command, const std::filesystem::path& run) {
  ReportCommand report;
  report.run = run;
  report.workbook = command.report.value_or("");
  report.into = command.into;
  // The run and its reports come together.
  if (report.workbook.empty() && report.into.empty())
    report.workbook = run.parent_path() / default_workbook(run);
  report.options.overwrite = command.overwrite;
  report.quiet = command.quiet;
  return report;
}

bool makes_reports(const SweepCommand& command) {
  return command.report || !command.into.empty();
}

void check_together(const SweepCommand& command, Problems& problems) {
  if (command.shard && makes_reports(command))
    problems.add(std::string(command.report ? "--report" : "--into") +
                 ": goes without --shard; `ordvane merge` makes the run");
  if (command.shard && command.form)
    problems.add("--as: goes without --shard; `ordvane merge` makes the run, and has --as");
  if (!command.into.empty()) problems.gather([&] { const xlsx::ExistingWorkbook there(command.into); });
  if (!command.suggest) return;
  if (!command.what_if.empty() || !command.inputs.empty())
    problems.add(std::string("--suggest: finds the inputs, and goes without ") +
                 (command.inputs.empty() ? "a definition" : "--input"));
  if (command.shard || command.form || makes_reports(command))
    problems.add(
        "--suggest: writes a definition and no run; goes without --report, --into, --as and --shard");
}

sweep::Job job_of(const SweepCommand& command, Problems& problems) {
  sweep::Job job;
  job.workbook = command.workbook;
  job.run = file_of(command);
  problems.gather([&] { check_workbook(command.workbook); });
  job.what_if = what_if_of(command, problems);
  if (command.shard) problems.gather([&] { job.shard = shard_of(*command.shard); });
  check_together(command, problems);
  const bool only_asks = job.what_if.outputs.empty() && !command.suggest;
  if (!command.workbook.empty() && !job.shard && !only_asks) {
    problems.gather([&] {
      check_new_file("-o", job.run, command.suggest ? kWhatIfEnding : kRunEnding, command.overwrite);
    });
    if (makes_reports(command)) check_report_target(report_of(command, job.run), "--report", problems);
  }
  job.verify = command.verify;
  job.libreoffice = command.libreoffice;
  job.form = command.form.value_or(sweep::TableForm::kCsv);
  job.overwrite = command.overwrite;
  job.threads = command.threads;
  job.now = command.now;
  if (!job.now)
    problems.gather([&] {
      if (const auto clock = report_clock()) job.now = clock();
    });
  job.office.step_limit = std::chrono::milliseconds(std::llround(command.time_limit * 1000));
  job.office.cancelled = [] { return caught_signal() != 0; };
  return job;
}

// "3 min 20 s"
std::string duration(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::ceil(seconds));
  if (whole < 60) return std::to_string(whole) + " s";
  if (whole < 3600) return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
  return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

// Recalculations so far, how fast they are, and how long the rest takes.
class Rate {
 public:
  std::string text(std::int64_t done, std::int64_t of) {
    const auto now = std::chrono::steady_clock::now();
    if (first_ < 0) {
      first_ = done;
      begin_ = now;
    }
    std::string text = std::to_string(done) + " of " + std::to_string(of) + " recalculations";
    const double seconds = std::chrono::duration<double>(now - begin_).count();
    if (done == first_ || seconds <= 0) return text;
    const double rate = static_cast<double>(done - first_) / seconds;
    return text + ", " + std::to_string(std::llround(rate)) + " a second, " +
           duration(static_cast<double>(of - done) / rate) + " left";
  }

 private:
  std::int64_t first_ = -1;
  std::chrono::steady_clock::time_point begin_;
};

std::string agreement(const char* what, std::int64_t compared, std::int64_t differ,
                      const std::string& first) {
  std::string text = std::string(what) + ": " + std::to_string(compared - differ) + " of " +
                     std::to_string(compared) + " agree";
  if (differ > 0) text += "; the first that differs is " + first;
  return text + "\n";
}

std::string summary(const sweep::Outcome& outcome) {
  const runfile::Calculation& c = outcome.calculation;
  std::string text =
      outcome.file.string() + ": " + std::to_string(outcome.recalculations) + " recalculations";
  if (outcome.calculated < outcome.recalculations)
    text += ", " + std::to_string(outcome.recalculations - outcome.calculated) + " of them there before";
  text += ", by " + c.engine + "\n";
  if (!c.because.empty()) text += "Not calculated here: " + c.because + "\n";
  if (c.stored_compared > 0)
    text += agreement("Stored values", c.stored_compared, c.stored_differ, c.stored_first);
  if (!c.verified_by.empty())
    text += agreement(("Verified bit by bit with " + c.verified_by).c_str(), c.verified, c.verified_differ,
                      c.verified_first);
  else if (!c.verified_first.empty())
    text += "Not verified: " + c.verified_first + "\n";
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    lines += printable(text.substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return lines;
}

int reports(const SweepCommand& command, const std::filesystem::path& run, Problems& problems) {
  const int code = report(report_of(command, run), problems);
  if (code != kDone || command.quiet) return code;
  ShowCommand show_command;
  show_command.run = run;
  return show(show_command, problems);
}

// The job with a line of progress.
class Watched {
 public:
  Watched(const SweepCommand& command, Problems& problems)
      : command_(command), job_(job_of(command, problems)), progress_(!command.quiet) {
    problems.refuse_any();
    job_.phase = [this](const std::string& what) { progress_.show(what); };
    job_.progress = [this](std::int64_t done, std::int64_t of) { progress_.show(rate_.text(done, of)); };
  }

  // Finds what the definition lacks. False: that is all that was asked for.
  bool complete() {
    if (!command_.suggest && job_.what_if.outputs.empty())
      throw BadArguments(proposed_outputs_text(sweep::propose_outputs(job_, book().model), command_));
    if (!job_.what_if.inputs.empty()) return true;
    const sweep::Suggestion suggestion = sweep::suggest(job_, book().model);
    progress_.clear();
    rate_ = {};
    if (!command_.quiet) std::cout << found_text(suggestion);
    job_.what_if = suggestion.what_if;
    if (command_.suggest) write_suggestion();
    return !command_.suggest;
  }

  sweep::Outcome run() {
    sweep::Outcome outcome = sweep::run_job(job_, book());
    progress_.clear();
    if (!command_.quiet) std::cout << summary(outcome);
    return outcome;
  }

  int cancelled() {
    progress_.clear();
    const std::filesystem::path part = sweep::part_file(job_.run, job_.shard.value_or(sweep::Shard{}));
    std::error_code error;
    if (std::filesystem::exists(part, error))
      std::fprintf(
          stderr, "ordvane: cancelled; what is done is kept in %s, and the same command goes on from there\n",
          printable(part.string()).c_str());
    else
      std::fprintf(stderr, "ordvane: cancelled, nothing was written\n");
    return kSignalled + caught_signal();
  }

 private:
  sweep::OpenedWorkbook& book() {
    if (!book_) book_.emplace(job_);
    return *book_;
  }
  void write_suggestion() const {
    xlsx::WholeFileOptions options;
    options.replace = command_.overwrite;
    xlsx::write_whole(job_.run, sweep::what_if_text(job_.what_if), options);
    if (command_.quiet) return;
    std::cout << printable(job_.run.string()) << ": edit it, and sweep it with `ordvane sweep "
              << printable(shell_word(job_.workbook.string()) + " " + shell_word(job_.run.string()))
              << " --report`\n";
  }

  const SweepCommand& command_;
  sweep::Job job_;
  std::optional<sweep::OpenedWorkbook> book_;
  ProgressLine progress_;
  Rate rate_;
};

}  // namespace

int sweep(const SweepCommand& command, Problems& problems) {
  catch_signals();
  Watched job(command, problems);
  try {
    if (!job.complete()) return kDone;
    const std::filesystem::path run = job.run().file;
    return makes_reports(command) ? reports(command, run, problems) : kDone;
  } catch (const runfile::BadRun& bad) {
    throw BadArguments(bad.what());
  } catch (const host::Error& error) {
    if (error.code() != host::errc::kUserCancelled) throw;
    return job.cancelled();
  }
}

int merge(const MergeCommand& command, Problems& problems) {
  std::vector<std::filesystem::path> parts = command.others;
  parts.insert(parts.begin(), command.first);
  std::string name = command.first.string();
  if (const std::size_t at = name.rfind(".part-"); at != std::string::npos) name.resize(at);
  const std::filesystem::path run =
      command.run.empty() ? std::filesystem::path(name + kRunEnding) : command.run;
  if (!command.first.empty())
    problems.gather([&] { check_new_file("-o", run, kRunEnding, command.overwrite); });
  problems.refuse_any();
  try {
    sweep::merge_parts(parts, run, {.replace = command.overwrite, .form = command.form});
  } catch (const runfile::BadRun& bad) {
    throw BadArguments(bad.what());
  }
  std::cout << printable(run.string()) << ": " << parts.size()
            << (parts.size() == 1 ? " part\n" : " parts\n");
  return kDone;
}

}  // namespace ordvane::cli
