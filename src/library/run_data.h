// What is behind a Run: the run as the reports read it, and its items as programs see them.
#pragma once

#include <memory>
#include <vector>

#include "ordvane/run.h"
#include "runfile/run.h"

namespace ordvane::library {

struct RunData {
  std::shared_ptr<const runfile::Run> run;
  std::vector<Input> inputs;
  std::vector<Output> outputs;
  std::vector<Group> groups;
};

struct RunAccess {
  static const RunData& data(const Run& run) { return *run.data_; }
  static const std::shared_ptr<const runfile::Run>& run(const Run& run) { return run.data_->run; }
  static Run make(std::shared_ptr<const RunData> data) { return Run(std::move(data)); }
};

// Positions of outputs as programs give them. Throws Error kInvalidArgument for one that the run does not
// have.
std::vector<std::int32_t> positions_of(const std::vector<std::size_t>& outputs, const runfile::Run& run);

}  // namespace ordvane::library
