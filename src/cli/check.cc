// ordvane check: what is in a run file. What is wrong with one is the error that reading it ends with.
#include <iostream>

#include "cli/commands.h"
#include "runfile/describe.h"

namespace ordvane::cli {

int check(const std::filesystem::path& run) {
  std::cout << runfile::describe(runfile::read_run(run));
  return kDone;
}

}  // namespace ordvane::cli
