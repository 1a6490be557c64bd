#include "sweep/asked_model.h"

#include <algorithm>

#include "sweep/compiled.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

namespace {

Job job_of(const std::filesystem::path& workbook, std::chrono::sys_seconds now) {
  Job job;
  job.workbook = workbook;
  job.now = now;
  return job;
}

}  // namespace

AskedModel::AskedModel(const std::filesystem::path& workbook, std::chrono::sys_seconds now)
    : book_(job_of(workbook, now)) {}

// A cell that the workbook does not have is added to it, which no recalculation outlives.
calc::CellId AskedModel::cell_of(const std::string& text) {
  if (const auto known = cells_.find(text); known != cells_.end()) return known->second;
  recalculation_.reset();
  return cells_[text] = find_cell(wanted_place("cell", text), book_.model);
}

std::size_t AskedModel::position_of(calc::CellId cell, std::vector<calc::CellId>& cells) {
  const auto found = std::find(cells.begin(), cells.end(), cell);
  const auto position = static_cast<std::size_t>(found - cells.begin());
  if (found == cells.end()) {
    cells.push_back(cell);
    recalculation_.reset();
    results_.clear();
  }
  return position;
}

void AskedModel::set(const std::string& cell, double value) {
  const calc::CellId id = cell_of(cell);
  position_of(id, changing_);
  changes_[id] = value;
  results_.clear();
}

void AskedModel::reset() {
  changes_.clear();
  results_.clear();
}

std::vector<Result> AskedModel::values(std::span<const std::string> cells) {
  std::vector<std::size_t> positions;
  positions.reserve(cells.size());
  for (const std::string& cell : cells) positions.push_back(position_of(cell_of(cell), asked_));
  recalculate();
  std::vector<Result> values;
  values.reserve(positions.size());
  for (const std::size_t position : positions) values.push_back(results_[position]);
  return values;
}

void AskedModel::recalculate() {
  const auto refuse_obstacles = [&] {
    if (!recalculation_->obstacles().empty())
      throw NotCalculated(text_of(book_.model, recalculation_->obstacles().front()) + " is not calculated");
  };
  if (!recalculation_) {
    recalculation_ = std::make_unique<calc::Recalculation>(book_.model, changing_, asked_);
    results_.clear();
  }
  if (!results_.empty()) return;
  refuse_obstacles();
  std::vector<calc::CellChange> changes;
  changes.reserve(changes_.size());
  for (const auto& [cell, value] : changes_) changes.push_back({cell, calc::Value(value)});
  const std::span<const calc::CellChange> lane(changes);
  for (const calc::Value& value : recalculation_->evaluate({&lane, 1})) results_.push_back(result_of(value));
  if (!recalculation_->obstacles().empty()) results_.clear();
  refuse_obstacles();  // cells that only a calculation finds can bring in more
}

}  // namespace ordvane::sweep
