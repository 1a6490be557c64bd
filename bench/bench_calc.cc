// Recalculations of workbook models: how many a second, and what opening one takes.
//
// Usage: bench_calc [--benchmark_...] MODEL.xlsx... Beside each model lies MODEL.whatif.json with its inputs
// and outputs. One recalculation is one step of one input with all outputs read; steps of different inputs
// share a batch.
#include <benchmark/benchmark.h>

#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "calc/address.h"
#include "calc/recalculation.h"

namespace {

using namespace ordvane::calc;
using nlohmann::json;

struct Task {
  explicit Task(const std::string& path) : model(std::filesystem::path(path)) {
    std::ifstream file(path.substr(0, path.rfind('.')) + ".whatif.json");
    const json whatif = json::parse(file);
    for (const json& output : whatif["outputs"]) outputs.push_back(cell_of(output));
    for (const json& input : whatif["inputs"]) {
      inputs.push_back(cell_of(input));
      lows.push_back(input["low"]);
      highs.push_back(input["high"]);
    }
  }
  CellId cell_of(const json& place) const {
    const AddressEnd at = read_address_end(place["cell"].get_ref<const std::string&>());
    return model.workbook().find(model.workbook().sheet(place["sheet"].get_ref<const std::string&>()), at.row,
                                 at.column);
  }

  Model model;
  std::vector<CellId> inputs, outputs;
  std::vector<double> lows, highs;
};

// A step for each lane, of all inputs in turn, at other values every time.
void recalculate(benchmark::State& state, const Task& task) {
  Recalculation recalculation(task.model, task.inputs, task.outputs);
  std::vector<CellChange> changes(kLanes);
  std::vector<std::span<const CellChange>> lanes;
  for (const CellChange& change : changes) lanes.emplace_back(&change, 1);
  std::size_t step = 0;
  for (auto _ : state) {
    for (CellChange& change : changes) {
      const std::size_t input = step % task.inputs.size();
      const double part = static_cast<double>(++step % 1009) / 1008;
      change = {task.inputs[input], task.lows[input] + part * (task.highs[input] - task.lows[input])};
    }
    benchmark::DoNotOptimize(recalculation.evaluate(lanes).data());
  }
  state.counters["cone"] = static_cast<double>(recalculation.cone_size());
  state.SetItemsProcessed(state.iterations() * kLanes);
}

// The cone of one input with all outputs, over and over.
void recalculate_input(benchmark::State& state, const Task& task, std::size_t input) {
  const std::vector<CellId> one{task.inputs[input]};
  Recalculation recalculation(task.model, one, task.outputs);
  std::vector<CellChange> changes(kLanes);
  std::vector<std::span<const CellChange>> lanes;
  for (const CellChange& change : changes) lanes.emplace_back(&change, 1);
  std::size_t step = 0;
  for (auto _ : state) {
    for (CellChange& change : changes)
      change = {one[0], task.lows[input] + static_cast<double>(++step % 1009) / 1008 *
                                               (task.highs[input] - task.lows[input])};
    benchmark::DoNotOptimize(recalculation.evaluate(lanes).data());
  }
  state.counters["cone"] = static_cast<double>(recalculation.cone_size());
  state.SetItemsProcessed(state.iterations() * kLanes);
}

void open_model(benchmark::State& state, const std::string& path) {
  for (auto _ : state) benchmark::DoNotOptimize(Model(std::filesystem::path(path)).formula_cells().size());
}

}  // namespace

int main(int count, char** arguments) {
  benchmark::Initialize(&count, arguments);
  std::vector<std::unique_ptr<Task>> tasks;
  for (int i = 1; i < count; ++i) {
    const std::string path = arguments[i];
    const std::string name = std::filesystem::path(path).stem();
    const Task& task = *tasks.emplace_back(std::make_unique<Task>(path));
    benchmark::RegisterBenchmark(("open/" + name).c_str(), open_model, path)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark(("all_inputs/" + name).c_str(),
                                 [&task](benchmark::State& state) { recalculate(state, task); });
    for (std::size_t input = 0; input < task.inputs.size(); ++input)
      benchmark::RegisterBenchmark(
          ("input/" + name + "/" + std::to_string(input)).c_str(),
          [&task, input](benchmark::State& state) { recalculate_input(state, task, input); });
  }
  benchmark::RunSpecifiedBenchmarks();
}
