// Speed of the core: fetching and ranking what the engine stored, and reading run files. Each stands beside a
// plain peer that does the least that any program has to do with the same data. Sorting stands beside itself:
// no order of the values may make it much slower than none.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "model/ranking.h"
#include "model/scan.h"
#include "runfile/recorded_engine.h"
#include "runfile/run.h"
#include "session/session.h"

namespace {

using namespace ordvane;

struct Size {
  std::int64_t inputs, steps, outputs;
  auto operator<=>(const Size&) const = default;
};

// The generated run files, in a folder of this process that goes when it ends.
class Runs {
 public:
  Runs() { std::filesystem::create_directories(folder_); }
  ~Runs() { std::filesystem::remove_all(folder_); }

  std::filesystem::path file(const Size& size) {
    const std::string name =
        std::to_string(size.inputs) + "x" + std::to_string(size.steps) + "x" + std::to_string(size.outputs);
    const auto path = folder_ / (name + ".run.json");
    if (std::filesystem::exists(path)) return path;
    const std::string command = std::string(ORDVANE_MAKE_RUN) + " " + std::to_string(size.inputs) + " " +
                                std::to_string(size.steps) + " " + std::to_string(size.outputs) + " 1 " +
                                path.string();
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
    return path;
  }

  std::filesystem::path csv(const Size& size) { return file(size).replace_extension(".csv"); }

  std::shared_ptr<const runfile::Run> run(const Size& size) {
    auto& kept = runs_[size];
    if (!kept) kept = std::make_shared<const runfile::Run>(runfile::read_run(file(size)));
    return kept;
  }

 private:
  std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("ordvane-bench-" + std::to_string(std::random_device{}()));
  std::map<Size, std::shared_ptr<const runfile::Run>> runs_;
};

Runs& runs() {
  static Runs all;
  return all;
}

Size size_of(const benchmark::State& state) {
  return {state.range(0), state.range(1), state.range(2)};
}

// Values that one retrieval takes from the engine and ranks.
std::int64_t values_of(const Size& size) {
  return size.inputs * size.steps * size.outputs;
}

session::Session session_of(const std::shared_ptr<const runfile::Run>& run) {
  session::Session session;
  session.environment = std::make_shared<environment::StandardEnvironment>(environment::Settings{});
  session.engine = runfile::make_recorded_engine(run);
  session.g_XLApp = embedded::open_model(*run);
  session.session_flag = 1;
  return session;
}

void BM_RetrieveAndRank(benchmark::State& state) {
  const Size size = size_of(state);
  session::Session session = session_of(runs().run(size));
  model::OrdvaneScan scan(session);
  model::Records inputs;
  model::Records outputs;
  std::int32_t automatic = 0;
  scan.newScan(inputs, engine::kInput, automatic);
  scan.newScan(outputs, engine::kOutput, automatic);
  model::OneBased<std::int32_t> selected(static_cast<std::int32_t>(size.outputs));
  std::iota(selected.begin(), selected.end(), 1);
  for (auto _ : state) {
    scan.getData(inputs, outputs, selected, static_cast<std::int32_t>(size.inputs * size.steps), 1);
    // Steps are ranked when their ranks are asked for, all of an output at once.
    for (const std::int32_t output : selected)
      benchmark::DoNotOptimize(inputs(1).outputRankPerStep(output, 1));
  }
  benchmark::DoNotOptimize(inputs(1).outputRank(1));
  state.SetItemsProcessed(state.iterations() * values_of(size));
}

// Per output: copy the values, sort them with their places, and take every input's least and greatest.
void BM_RetrieveAndRank_PeerSort(benchmark::State& state) {
  const Size size = size_of(state);
  const auto run = runs().run(size);
  const auto recalculations = static_cast<std::size_t>(size.inputs * size.steps);
  std::vector<std::pair<double, std::int32_t>> changes(recalculations);
  std::vector<std::int32_t> ranks(recalculations);
  std::vector<double> column(recalculations);
  std::vector<double> swings(static_cast<std::size_t>(size.inputs));
  for (auto _ : state) {
    for (std::size_t output = 0; output < run->outputs.size(); ++output) {
      run->output_values.copy(run->output_value_index(0, output, 0), column);
      const double* const values = column.data();
      for (std::size_t k = 0; k < recalculations; ++k)
        changes[k] = {values[k] - run->outputs[output].base.value_or(0), static_cast<std::int32_t>(k)};
      std::sort(changes.begin(), changes.end());
      for (std::size_t k = 0; k < recalculations; ++k)
        ranks[static_cast<std::size_t>(changes[k].second)] = static_cast<std::int32_t>(k);
      for (std::size_t input = 0; input < swings.size(); ++input) {
        const auto [least, greatest] =
            std::minmax_element(values + input * static_cast<std::size_t>(size.steps),
                                values + (input + 1) * static_cast<std::size_t>(size.steps));
        swings[input] = *greatest - *least;
      }
      std::sort(swings.begin(), swings.end());
      benchmark::DoNotOptimize(ranks.data());
      benchmark::DoNotOptimize(swings.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * values_of(size));
}

void BM_LoadRun(benchmark::State& state) {
  const Size size = size_of(state);
  const auto file = runs().file(size);
  for (auto _ : state) benchmark::DoNotOptimize(runfile::read_run(file).output_values.size());
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(runs().csv(size))));
}

// Reads the CSV alone, line by line and field by field, without a check.
void BM_LoadRun_PeerStrtod(benchmark::State& state) {
  const Size size = size_of(state);
  const auto file = runs().csv(size);
  for (auto _ : state) {
    std::ifstream in(file);
    std::string line;
    std::getline(in, line);
    std::vector<double> values;
    while (std::getline(in, line)) {
      const char* at = line.c_str();
      for (char* end = nullptr; *at != '\0'; at = *end == ',' ? end + 1 : end) {
        values.push_back(std::strtod(at, &end));
        if (end == at) break;
      }
    }
    benchmark::DoNotOptimize(values.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(file)));
}

enum Shape : std::int64_t { kRandom, kOrganPipe, kSorted, kReversed, kEqual };

// The changes of one output's recalculations, as they lie before they are ranked.
std::vector<double> changes_of(Shape shape, std::int64_t count) {
  std::mt19937 random(1);
  std::vector<double> changes;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t risen = shape == kOrganPipe ? std::min(i, count - i) : shape == kReversed ? -i : i;
    changes.push_back(shape == kRandom  ? static_cast<double>(random())
                      : shape == kEqual ? 1.0
                                        : static_cast<double>(risen));
  }
  return changes;
}

void sort_changes(benchmark::State& state, Shape shape) {
  const std::vector<double> changes = changes_of(shape, state.range(1));
  std::vector<double> sorted;
  std::vector<std::int32_t> recalculations(changes.size());
  for (auto _ : state) {
    sorted = changes;
    std::iota(recalculations.begin(), recalculations.end(), 1);
    model::sort_with_companion(sorted, recalculations);
    benchmark::DoNotOptimize(recalculations.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(1));
}

// Changes that lie in some order, beside as many random ones.
void BM_SortChanges(benchmark::State& state) {
  sort_changes(state, static_cast<Shape>(state.range(0)));
}
void BM_SortChanges_PeerRandom(benchmark::State& state) {
  sort_changes(state, kRandom);
}

void shapes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"shape", "values"})->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
  for (const Shape shape : {kOrganPipe, kSorted, kReversed, kEqual}) benchmark->Args({shape, 400000});
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->ArgNames({"inputs", "steps", "outputs"})
      ->Args({200, 11, 20})
      ->Args({2000, 30, 50})
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime();
}

BENCHMARK(BM_RetrieveAndRank)->Apply(sizes);
BENCHMARK(BM_RetrieveAndRank_PeerSort)->Apply(sizes);
BENCHMARK(BM_LoadRun)->Apply(sizes);
BENCHMARK(BM_LoadRun_PeerStrtod)->Apply(sizes);
BENCHMARK(BM_SortChanges)->Apply(shapes);
BENCHMARK(BM_SortChanges_PeerRandom)->Apply(shapes);

}  // namespace

BENCHMARK_MAIN();
