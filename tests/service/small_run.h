// A small recorded run in the embedded spreadsheet, and an environment that keeps the log in memory.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "runfile/recorded_engine.h"
#include "service/ordvane_reports.h"

namespace ordvane::service {

class MemoryEnvironment : public environment::StandardEnvironment {
 public:
  MemoryEnvironment() : StandardEnvironment(settings()) {}
  void remove_file(const std::string& path) override { removed.push_back(path); }
  void append_line(const std::string& /*path*/, const std::string& line) override { lines.push_back(line); }
  void close_file(const std::string& /*path*/) override {}
  void show_message(const std::string& text, const std::string& title) override {
    messages.push_back(title + ": " + text);
  }
  void show_progress(const std::string& text, const std::string& /*2*/, const std::string& /*3*/) override {
    progress.push_back(text);
  }
  bool escape_pressed() override { return ++escape_checks == escape_at; }

  std::vector<std::string> removed, lines, messages, progress;
  int escape_checks = 0;
  int escape_at = 0;  // the check at which Escape is down; 0: never

 private:
  static environment::Settings settings() {
    environment::Settings settings;
    settings.log_folder = "logs";
    settings.clock = [] { return "now"; };
    return settings;
  }
};

// Input i of output o has the results base[o] + effect[o][i] * (step - 2), steps from 1.
struct RunShape {
  std::vector<std::string> input_sheets = {"Inputs", "Inputs", "Inputs"};
  std::vector<std::string> input_books = {"Model.xlsx", "Model.xlsx", "Model.xlsx"};
  std::vector<double> output_bases = {100, 0};
  std::vector<std::vector<double>> effects = {{1, 5, -3}, {2, 2, 0}};
  std::int32_t simulations = 1;
  std::int32_t steps = 3;                          // of every input
  std::vector<std::string> formats = {"General"};  // of the items' cells, in turn
  std::string more_name = {};                      // behind every name
  bool nameless = false;
  bool with_functions = false;  // inputs are a part of their cells' formulas
  bool groups = false;  // inputs 1 and 2, and 2 and 3, together: their effects added up, and multiplied
};

inline void add_groups(runfile::Run& run, const RunShape& shape) {
  for (std::size_t first : {0U, 1U}) {
    run.groups.push_back({{first, first + 1}, {3, 3}, 9, 9 * static_cast<std::int64_t>(first), 18 * first});
    run.group_recalculations += 9;
    run.group_values += 18;
  }
  for (std::int32_t s = 0; s < shape.simulations; ++s) {
    for (std::size_t first : {0U, 1U})
      for (int c = 0; c < 9; ++c)
        run.group_input_values.in_memory().insert(
            run.group_input_values.in_memory().end(),
            {*run.inputs[first].base + c / 3 - 1, *run.inputs[first + 1].base + c % 3 - 1});
    for (std::size_t o = 0; o < shape.output_bases.size(); ++o)
      for (std::size_t first : {0U, 1U})
        for (int c = 0; c < 9; ++c) {
          const double a = shape.effects[o][first] * (c / 3 - 1);
          const double b = shape.effects[o][first + 1] * (c % 3 - 1);
          run.group_output_values.in_memory().push_back(shape.output_bases[o] + (s + 1) * (a + b + a * b));
        }
  }
}

inline std::shared_ptr<runfile::Run> make_run(const RunShape& shape = {}) {
  auto run = std::make_shared<runfile::Run>();
  run->file = "small.run.json";
  run->simulations = shape.simulations;
  for (std::size_t i = 0; i < shape.input_sheets.size(); ++i) {
    runfile::Input input;
    input.name = "Input " + std::to_string(i + 1);
    input.book = shape.input_books[i];
    input.sheet = shape.input_sheets[i];
    input.cell = input.range = "B" + std::to_string(i + 2);
    input.base = 10 * static_cast<double>(i + 1);
    input.formula = std::to_string(10 * (i + 1));
    if (shape.with_functions) {
      input.function = "DralInput(" + input.formula + ")";
      input.formula = "=5+" + input.function;
    }
    input.steps = shape.steps;
    run->inputs.push_back(input);
  }
  for (std::size_t o = 0; o < shape.output_bases.size(); ++o) {
    runfile::Output output;
    output.name = "Output " + std::to_string(o + 1);
    output.book = "Model.xlsx";
    output.sheet = "Results";
    output.cell = output.range = "C" + std::to_string(o + 2);
    output.base = shape.output_bases[o];
    output.formula = "=SUM(Inputs!B2:B9)+" + std::to_string(o);
    run->outputs.push_back(output);
  }
  std::size_t items = 0;
  const auto shape_item = [&](runfile::Item& item) {
    item.name = shape.nameless ? "" : item.name + shape.more_name;
    item.number_format = shape.formats[items++ % shape.formats.size()];
  };
  for (runfile::Input& input : run->inputs) shape_item(input);
  for (runfile::Output& output : run->outputs) shape_item(output);
  run->recalculations = std::int64_t{shape.steps} * static_cast<std::int64_t>(run->inputs.size());
  for (std::int32_t s = 0; s < shape.simulations; ++s) {
    for (const runfile::Input& input : run->inputs)
      for (int step = 1; step <= shape.steps; ++step)
        run->input_values.in_memory().push_back(*input.base + step - 2);
    for (std::size_t o = 0; o < shape.output_bases.size(); ++o)
      for (const double effect : shape.effects[o])
        for (int step = 1; step <= shape.steps; ++step)
          run->output_values.in_memory().push_back(shape.output_bases[o] + (s + 1) * effect * (step - 2));
  }
  if (shape.groups) add_groups(*run, shape);
  return run;
}

// Everything one GenerateReports needs.
struct Bench {
  explicit Bench(const RunShape& shape = {})
      : run(make_run(shape)),
        environment(std::make_shared<MemoryEnvironment>()),
        application(embedded::open_model(*run)),
        services(std::make_shared<Services>()) {
    services->session.environment = environment;
    services->session.engine = runfile::make_recorded_engine(run);
  }

  model::OneBased<std::int32_t> all_outputs() const {
    model::OneBased<std::int32_t> selected;
    for (std::size_t o = 0; o < run->outputs.size(); ++o) selected.push_back(static_cast<std::int32_t>(o));
    return selected;
  }

  std::vector<std::string> sheet_names(OrdvaneReports& reports) const {
    std::vector<std::string> names;
    if (const auto workbook = reports.report_workbook())
      for (const auto& sheet : workbook->worksheets()) names.push_back(sheet->name());
    return names;
  }

  std::shared_ptr<runfile::Run> run;
  std::shared_ptr<MemoryEnvironment> environment;
  std::shared_ptr<office::OfficeApplication> application;
  std::shared_ptr<Services> services;
};

// Settings that no report sets by itself, and the check that they are there again.
class Found {
 public:
  explicit Found(host::Application& application) : application_(application) {
    application.set_calculation(host::Calculation::kSemiautomatic);
    application.set_status_bar("Ready for the board");
  }
  void expect_restored(const std::string& when) const {
    EXPECT_EQ(application_.calculation(), host::Calculation::kSemiautomatic) << when;
    EXPECT_TRUE(application_.screen_updating()) << when;
    EXPECT_TRUE(application_.display_alerts()) << when;
    EXPECT_TRUE(application_.interactive()) << when;
    EXPECT_EQ(application_.cursor(), host::Cursor::kDefault) << when;
    EXPECT_EQ(application_.status_bar(), "Ready for the board") << when;
  }

 private:
  host::Application& application_;
};

inline void ask_for_everything(OrdvaneReports& reports) {
  reports.set_TornadoGraphs(true);
  reports.set_SpiderGraphs(true);
  reports.set_SensitivityGraphs(true);
  reports.set_OutputDetailReport(true);
  reports.set_DetailByInput(true);
  reports.set_MultiWayReport(true);
  reports.MaxInputsPerGraph = 5;
}

}  // namespace ordvane::service
