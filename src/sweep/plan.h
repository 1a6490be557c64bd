// The recalculations of a sweep: what a definition means in a workbook, as the list of what is to be
// calculated, in the order of a run file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "calc/model.h"
#include "runfile/run.h"
#include "sweep/calculator.h"
#include "sweep/what_if.h"

namespace ordvane::sweep {

// What a run file says of an input or output, and where it is in the model.
struct PlannedInput {
  runfile::Input item;
  calc::CellId cell = calc::kNoCell;
  std::vector<double> values;  // of its steps, one after the other
};
struct PlannedOutput {
  runfile::Output item;
  calc::CellId cell = calc::kNoCell;
};

// Inputs varied together.
struct PlannedGroup {
  std::vector<std::size_t> members;
  std::vector<std::vector<double>> values;  // of each member's steps
  std::int64_t combinations = 0;
};

struct Plan {
  std::vector<PlannedInput> inputs;
  std::vector<PlannedOutput> outputs;
  std::vector<PlannedGroup> groups;
  bool all_groups = false;  // they are every group of one size, with one number of steps

  std::int64_t steps = 0;         // recalculations of single inputs, which come first
  std::int64_t combinations = 0;  // of groups
  std::int64_t total() const { return steps + combinations; }
};

// What one recalculation is in the run file: the position columns of its row, and the values that are set.
struct PlannedRow {
  bool in_group = false;
  std::int64_t of = 0, position = 0;  // input and step, or group and combination; counted from 0
  Recalculation changes;
};

// In their order.
std::vector<calc::CellId> output_cells(const Plan& plan);

// Walks through the recalculations of a plan.
class PlanRows {
 public:
  // From the recalculation at this position, counted from 0.
  PlanRows(const Plan& plan, std::int64_t first);
  // The next one; there is one.
  const PlannedRow& next();

 private:
  void enter(std::int64_t position);
  void fill();

  const Plan& plan_;
  PlannedRow row_;
  std::int64_t of_count_ = 0;  // recalculations of this input or group
  bool fresh_ = true;
};

// `book`: the workbook's name. Throws runfile::BadRun for what the workbook does not have, and for more
// recalculations than a run can hold.
Plan make_plan(const WhatIf& what_if, calc::Model& model, const std::string& book);

// The cell that is meant. Not while recalculations of the model exist. Throws runfile::BadRun.
calc::CellId find_cell(const Wanted& wanted, calc::Model& model);

// Evenly spaced, both ends included; a single step is at `low`.
std::vector<double> spaced(double low, double high, std::int32_t steps);
// Which values of a list of `count` a group takes that wants fewer: evenly spread, both ends included.
std::vector<std::size_t> spread(std::size_t count, std::int32_t steps);

}  // namespace ordvane::sweep
