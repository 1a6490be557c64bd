// ordvane sweep: a workbook in, a recorded run out; ordvane merge: its parts in.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <iostream>

#include "cli/commands.h"
#include "cli/report_clock.h"
#include "cli/signals.h"
#include "cli/terminal.h"
#include "sweep/job.h"
#include "text/edit.h"

namespace ordvane::cli {
namespace {

constexpr const char* kRunEnding = ".run.json";

// "model.xlsx" becomes "model.run.json" in the current folder.
std::filesystem::path default_run(const std::filesystem::path& workbook) {
  return workbook.stem().string() + kRunEnding;
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

void check_run_name(const std::filesystem::path& run, bool overwrite) {
  const std::string text = run.string();
  if (!text.ends_with(".json"))
    throw BadArguments("-o: \"" + printable(text) + "\" does not end in .run.json");
  if (run.has_parent_path() && !std::filesystem::is_directory(run.parent_path()))
    throw BadArguments("-o: there is no folder \"" + printable(run.parent_path().string()) + "\"");
  if (std::filesystem::exists(run) && !overwrite)
    throw BadArguments("-o: \"" + printable(text) + "\" is there already; --overwrite replaces it");
}

sweep::WhatIf what_if_of(const SweepCommand& command, Problems& problems) {
  sweep::WhatIf what_if;
  if (!command.what_if.empty()) problems.gather([&] { what_if = sweep::read_what_if(command.what_if); });
  if (command.steps) what_if.steps = *command.steps;
  for (const std::string& input : command.inputs)
    problems.gather([&] { what_if.inputs.push_back(sweep::input_option(input)); });
  for (const std::string& output : command.outputs)
    problems.gather([&] { what_if.outputs.push_back(sweep::output_option(output)); });
  return what_if;
}

sweep::Job job_of(const SweepCommand& command, Problems& problems) {
  sweep::Job job;
  job.workbook = command.workbook;
  job.run = command.run.empty() ? default_run(command.workbook) : command.run;
  job.what_if = what_if_of(command, problems);
  if (command.shard) problems.gather([&] { job.shard = shard_of(*command.shard); });
  if (command.shard && command.report)
    problems.add("--report: goes without --shard; `ordvane merge` makes the run");
  if (!command.workbook.empty() && !job.shard)
    problems.gather([&] { check_run_name(job.run, command.overwrite); });
  job.verify = command.verify;
  job.libreoffice = command.libreoffice;
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
  ReportCommand report_command;
  report_command.run = run;
  report_command.workbook = *command.report;
  report_command.options.overwrite = command.overwrite;
  report_command.quiet = command.quiet;
  const int code = report(report_command, problems);
  if (code != kDone || command.quiet) return code;
  ShowCommand show_command;
  show_command.run = run;
  return show(show_command, problems);
}

}  // namespace

int sweep(const SweepCommand& command, Problems& problems) {
  catch_signals();
  sweep::Job job = job_of(command, problems);
  problems.refuse_any();
  ProgressLine progress(!command.quiet);
  Rate rate;
  job.phase = [&](const std::string& what) { progress.show(what); };
  job.progress = [&](std::int64_t done, std::int64_t of) { progress.show(rate.text(done, of)); };
  sweep::Outcome outcome;
  try {
    outcome = sweep::run_job(job);
  } catch (const runfile::BadRun& bad) {
    throw BadArguments(bad.what());
  } catch (const host::Error& error) {
    if (error.code() != host::errc::kUserCancelled) throw;
    progress.clear();
    const std::filesystem::path part = sweep::part_file(job.run, job.shard.value_or(sweep::Shard{}));
    std::fprintf(stderr,
                 "ordvane: cancelled; what is done is kept in %s, and the same command goes on from there\n",
                 printable(part.string()).c_str());
    return kSignalled + caught_signal();
  }
  progress.clear();
  if (!command.quiet) std::cout << summary(outcome);
  return command.report ? reports(command, outcome.file, problems) : kDone;
}

int merge(const MergeCommand& command, Problems& problems) {
  std::vector<std::filesystem::path> parts = command.others;
  parts.insert(parts.begin(), command.first);
  std::string name = command.first.string();
  if (const std::size_t at = name.rfind(".part-"); at != std::string::npos) name.resize(at);
  const std::filesystem::path run =
      command.run.empty() ? std::filesystem::path(name + kRunEnding) : command.run;
  if (!command.first.empty()) problems.gather([&] { check_run_name(run, command.overwrite); });
  problems.refuse_any();
  try {
    sweep::merge_parts(parts, run, command.overwrite);
  } catch (const runfile::BadRun& bad) {
    throw BadArguments(bad.what());
  }
  std::cout << printable(run.string()) << ": " << parts.size()
            << (parts.size() == 1 ? " part\n" : " parts\n");
  return kDone;
}

}  // namespace ordvane::cli
