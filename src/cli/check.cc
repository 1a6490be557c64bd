// ordvane check: what is in a run file or a what-if definition. What is wrong with one is the error that
// reading it ends with.
#include <iostream>

#include "cli/commands.h"
#include "cli/output_choice.h"
#include "runfile/describe.h"
#include "sweep/describe.h"

namespace ordvane::cli {

std::shared_ptr<const runfile::Run> read_run(const std::filesystem::path& file, Problems& problems,
                                             bool keeps_texts) {
  std::shared_ptr<const runfile::Run> run;
  if (!file.empty())
    problems.gather(
        [&] { run = std::make_shared<const runfile::Run>(runfile::read_run(file, keeps_texts)); });
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
