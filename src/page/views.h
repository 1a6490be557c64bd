// What pages and graphs show of a run: its rankings and steps, and how their numbers are written.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "embedded/report_job.h"
#include "environment/string_table.h"
#include "page/figures.h"
#include "runfile/run.h"
#include "session/session.h"

namespace ordvane::page {

// What a step set its input to and what the output was then; NaN for what is no number.
struct Point {
  double input, output;
};

struct InputFacts {
  const runfile::Input* item;
  std::string name;         // or its place, where it has none
  std::string place;        // "Sheet!B5"
  std::int64_t first_step;  // among the recalculations of a simulation
  double base;              // NaN for none
  Figures figures;
};

// One output in one simulation.
struct View {
  const runfile::Output* output;
  std::string name;         // or its place; of several simulations with the number of this one
  std::string place;        // "Sheet!B5"
  std::int32_t simulation;  // from 1
  double base;              // NaN for none
  embedded::OutputRanking ranking;
  std::vector<const embedded::Effect*> on_graphs;  // in the order of the options
  Figures figures;

  // Changes can be given in parts of the base value.
  bool has_changes() const;
  double change(double value) const;  // in those parts; NaN for none
  // What the steps answer of an input beyond the ends of its bar.
  const model::InputAnswers& answers(const embedded::Effect& effect) const {
    return ranking.answers.inputs[static_cast<std::size_t>(&effect - ranking.effects.data())];
  }
  // Any input brings the output to its target.
  bool has_crossings() const;
};

class Views {
 public:
  // The run and the options outlive it. `options`: outputs, language, and which inputs graphs have.
  Views(const runfile::Run& run, const embedded::ReportOptions& options,
        const std::vector<std::vector<embedded::OutputRanking>>& rankings);

  const runfile::Run& run() const { return run_; }
  const embedded::ReportOptions& options() const { return options_; }
  const environment::Language& language() const { return language_; }
  const session::Session& texts() const { return session_; }
  host::NumberService& numbers() const { return session_.environment->numbers(); }
  const std::vector<InputFacts>& inputs() const { return inputs_; }  // as in Run::inputs
  const std::vector<View>& all() const { return views_; }            // by simulation and output

  const InputFacts& input_of(const embedded::Effect& effect) const {
    return inputs_[static_cast<std::size_t>(effect.input_index)];
  }
  // In the order of the run.
  std::vector<Point> points(const View& view, const embedded::Effect& effect) const;
  double input_value(std::int32_t simulation, std::int64_t recalculation) const;
  double output_value(const View& view, std::int64_t recalculation) const;

 private:
  void add_inputs();
  void add_view(const embedded::OutputRanking& ranking, std::int32_t simulation);
  std::vector<const embedded::Effect*> graph_inputs(const View& view) const;

  const runfile::Run& run_;
  const embedded::ReportOptions& options_;
  const environment::Language& language_;
  session::Session session_;
  std::vector<InputFacts> inputs_;
  std::vector<View> views_;
};

// Of all simulations of the run.
std::unique_ptr<Views> views_of(const std::shared_ptr<const runfile::Run>& run,
                                const embedded::ReportOptions& options);

// NaN for the missing-number marker and whatever else is no number.
double number_or_nan(double value);

}  // namespace ordvane::page
