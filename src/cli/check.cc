// ordvane check: what is in a run file. What is wrong with one is the error that reading it ends with.
#include <iostream>

#include "cli/commands.h"
#include "runfile/describe.h"

namespace ordvane::cli {

std::shared_ptr<const runfile::Run> read_run(const std::filesystem::path& file, Problems& problems) {
  std::shared_ptr<const runfile::Run> run;
  if (!file.empty())
    problems.gather([&] { run = std::make_shared<const runfile::Run>(runfile::read_run(file)); });
  return run;
}

int check(const std::filesystem::path& file, Problems& problems) {
  const auto run = read_run(file, problems);
  problems.refuse_any();
  std::cout << runfile::describe(*run);
  return kDone;
}

}  // namespace ordvane::cli
