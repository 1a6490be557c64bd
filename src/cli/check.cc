// ordvane check: what is in a run file or a what-if definition. What is wrong with one is the error that
// reading it ends with.
#include <algorithm>
#include <iostream>

#include "cli/commands.h"
#include "cli/output_choice.h"
#include "cli/signals.h"
#include "cli/terminal.h"
#include "runfile/describe.h"
#include "sweep/describe.h"

namespace ordvane::cli {

std::shared_ptr<const runfile::Run> read_run(const std::filesystem::path& file, Problems& problems,
                                             RunReading reading) {
  std::shared_ptr<const runfile::Run> run;
  if (file.empty()) return run;
  ProgressLine progress(!reading.quiet);
  runfile::ReadOptions options;
  options.keeps_texts = reading.keeps_texts;
  std::int64_t shown = 0;  // percent
  options.progress = [&](const std::filesystem::path& table, std::int64_t read, std::int64_t of) {
    if (caught_signal() != 0) throw host::Error(host::errc::kUserCancelled, "");
    const std::int64_t percent = of > 0 ? std::min<std::int64_t>(100 * read / of, 100) : 100;
    if (percent == shown) return;
    shown = percent;
    progress.show("Reading " + table.filename().string() + ": " + std::to_string(percent) + " %");
  };
  problems.gather([&] { run = std::make_shared<const runfile::Run>(runfile::read_run(file, options)); });
  return run;
}

std::vector<std::int32_t> chosen_outputs(const runfile::Run& run, const std::vector<std::string>& wanted,
                                         std::int32_t simulation, Problems& problems) {
  std::vector<std::int32_t> outputs;
  problems.gather([&] { outputs = find_outputs(run, wanted); });
  if (simulation > run.simulations)
    problems.add("--simulation: the run has simulations 1 to " + std::to_string(run.simulations));
  return outputs;
}

int check(const std::filesystem::path& file, Problems& problems) {
  if (!file.empty() && sweep::is_what_if_file(file)) {
    sweep::WhatIf what_if;
    problems.gather([&] { what_if = sweep::read_what_if(file); });
    problems.refuse_any();
    std::cout << sweep::describe(what_if);
    return kDone;
  }
  const auto run = read_run(file, problems);
  problems.refuse_any();
  std::cout << runfile::describe(*run);
  return kDone;
}

}  // namespace ordvane::cli
