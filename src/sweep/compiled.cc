#include "sweep/compiled.h"

#include "calc/recalculation.h"
#include "host/error.h"

namespace ordvane::sweep {
namespace {

// Grows with every change that may change a result.
constexpr const char* kEngine = "Ordvane calculation 2";

std::vector<calc::CellId> cells_of(const auto& planned) {
  std::vector<calc::CellId> cells;
  for (const auto& item : planned) cells.push_back(item.cell);
  return cells;
}

class Compiled : public Calculator {
 public:
  Compiled(const calc::Model& model, const Plan& plan)
      : model_(model), plan_(plan), recalculation_(model, cells_of(plan.inputs), cells_of(plan.outputs)) {
    check_obstacles();
  }

  std::string engine() const override { return kEngine; }

  std::vector<std::vector<Result>> evaluate(std::span<const Recalculation> recalculations) override {
    std::vector<std::vector<Result>> results;
    results.reserve(recalculations.size());
    for (std::size_t at = 0; at < recalculations.size(); at += calc::kLanes)
      evaluate_lanes(
          recalculations.subspan(at, std::min<std::size_t>(calc::kLanes, recalculations.size() - at)),
          results);
    check_obstacles();
    return results;
  }

 private:
  // Cells that only a calculation finds can bring in more.
  void check_obstacles() const {
    if (!recalculation_.obstacles().empty())
      throw host::Error(host::errc::kHostRefused, text_of(model_, recalculation_.obstacles().front()));
  }

  void evaluate_lanes(std::span<const Recalculation> lanes, std::vector<std::vector<Result>>& results) {
    changes_.resize(lanes.size());
    spans_.clear();
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
      changes_[lane].clear();
      for (const Change& change : lanes[lane])
        changes_[lane].push_back({plan_.inputs[change.input].cell, calc::Value(change.value)});
      spans_.emplace_back(changes_[lane]);
    }
    const std::span<const calc::Value> values = recalculation_.evaluate(spans_);
    for (std::size_t lane = 0; lane < lanes.size(); ++lane) {
      std::vector<Result>& row = results.emplace_back();
      for (const calc::Value& value : values.subspan(lane * plan_.outputs.size(), plan_.outputs.size()))
        row.push_back(result_of(value));
    }
  }

  const calc::Model& model_;
  const Plan& plan_;
  calc::Recalculation recalculation_;
  std::vector<std::vector<calc::CellChange>> changes_;
  std::vector<std::span<const calc::CellChange>> spans_;
};

}  // namespace

std::vector<calc::Obstacle> obstacles(const calc::Model& model, const Plan& plan) {
  return calc::Recalculation(model, cells_of(plan.inputs), cells_of(plan.outputs)).obstacles();
}

std::string text_of(const calc::Model& model, const calc::Obstacle& obstacle) {
  return model.workbook().address(obstacle.cell) + ": " + obstacle.what;
}

std::unique_ptr<Calculator> make_compiled(const calc::Model& model, const Plan& plan) {
  return std::make_unique<Compiled>(model, plan);
}

std::string compiled_engine() {
  return kEngine;
}

Result result_of(const calc::Value& value) {
  if (value.is_number()) return {value.number(), {}};
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  if (value.is_text()) return {kNone, value.text()};
  if (value.is_error()) return {kNone, std::string(calc::error_text(value.error()))};
  return {};
}

}  // namespace ordvane::sweep
