// A bench for the graph reports: records made by hand, written into an embedded workbook.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "layout/layout_bench.h"
#include "model/input_output.h"
#include "model/ranking.h"
#include "reports/context.h"
#include "reports/tornado_chart.h"
#include "runfile/recorded_engine.h"
#include "runfile/values.h"

namespace ordvane::test {

inline constexpr double kNothing = std::numeric_limits<double>::quiet_NaN();
inline constexpr host::Color kBlue = 0xFF0000, kRed = 0x0000FF;
inline const double kNumError = runfile::encode_error(host::CellError::kNum);

struct TestInput {
  std::string name, cell;
  double base;
  std::vector<std::pair<double, double>> steps;  // value of the input, result
  std::string format = "0.0";
  std::string sheet = "Model", book = "plant.xlsx";
};

// An input or output, where rules for what is no number do not matter without them.
inline model::DralInputOutput item(const std::string& name, const std::string& cell, double base = 0,
                                   const std::string& sheet = "Model", const std::string& book = "plant.xlsx",
                                   std::shared_ptr<const model::NumberRules> rules = nullptr) {
  model::DralInputOutput record(std::move(rules));
  record.ioName = name;
  record.set_SimpleName(name);
  record.cellAddress = cell;
  record.sheetName = sheet;
  record.bookName = book;
  record.set_BaseValue(base);
  return record;
}

// Makes room for as many steps, and for the results of outputs at each.
inline void set_steps(model::DralInputOutput& input, std::size_t steps, std::int32_t outputs) {
  input.numSteps = static_cast<std::int32_t>(steps);
  input.inputValuesUsedInit(input.numSteps);
  input.outputValuesCalculatedInit(outputs, input.numSteps);
}

class GraphBench : public TablesBench {
 public:
  GraphBench() {
    session.engine = runfile::make_recorded_engine(std::make_shared<runfile::Run>());
    session.string_table = environment->string_table("OrdvaneResults8", "en");
    rules = std::make_shared<model::NumberRules>(session.engine, session.environment);
    workbook = std::make_unique<layout::ReportWorkbook>(reports());
    outputs.push_back(item("Cost", "C14", 0, "Model", "plant.xlsx", rules));
    output().numberFormat = output().NumberFormatLocal = "#,##0.00";
  }

  model::DralInputOutput& output() { return outputs(1); }

  // Fills the records as data retrieval does: extremes over usable results, ranks by swing.
  void set_inputs(const std::vector<TestInput>& given) {
    for (const TestInput& input : given) inputs.push_back(record(input));
    for (model::DralInputOutput& input : inputs) {
      double rank = 1;
      for (const model::DralInputOutput& other : inputs) {
        if (swing(other) > swing(input) || (swing(other) == swing(input) && &other < &input)) ++rank;
      }
      input.outputRankPut(1, rank);
    }
    ranking.input_limit = inputs.size();
  }

  reports::Context context() {
    return {session, *workbook,  selected, inputs,     outputs,   settings,
            0,       range_mode, mode,     run_number, total_runs};
  }
  reports::TornadoStyle style(host::Color line = kRed) {
    return {.base_value = total_runs > 1 ? host::kNoBaseValue : output().BaseValue(),
            .base_label = "Base value",
            .bar_color = kBlue,
            .baseline_color = line,
            .low_color = settings.low_color};
  }

  std::shared_ptr<const office::BookModel> book() { return app->model(*workbook->workbook()); }
  // What the report wrote, as text; rows of the table's body count from 1 behind a plus sign: "B+1".
  std::string text() {
    const std::string text = snapshot(*book());
    static const std::regex kHeader("[A-Z]+([0-9]+) \"(?:Name|Input or group)\"");
    std::smatch header;
    if (!std::regex_search(text, header, kHeader)) return text;
    const int above = std::stoi(header[1]);
    static const std::regex kCell("\\b[A-Z]{1,2}([0-9]+)\\b");
    std::string result;
    std::size_t copied = 0;
    for (std::sregex_iterator cell(text.begin(), text.end(), kCell), end; cell != end; ++cell) {
      if (std::stoi((*cell)[1]) <= above) continue;
      const auto row = static_cast<std::size_t>(cell->position(1));
      result += text.substr(copied, row - copied) + "+" + std::to_string(std::stoi((*cell)[1]) - above);
      copied = row + static_cast<std::size_t>(cell->length(1));
    }
    return result + text.substr(copied);
  }

  std::shared_ptr<const model::NumberRules> rules;
  std::unique_ptr<layout::ReportWorkbook> workbook;
  model::Records inputs, outputs;
  reports::Settings settings = {.all_inputs = true};
  model::OneBased<std::int32_t> selected = {1};
  model::RankingRecord ranking;
  model::OrdvaneRangeMode range_mode = model::OrdvaneRangeCellMode;
  model::OrdvaneOutputMode mode = model::OrdvaneOutputAsValue;
  std::int32_t run_number = 1, total_runs = 1;

 private:
  static double swing(const model::DralInputOutput& input) {
    return input.outputMaxValue(1) - input.outputMinValue(1);
  }

  model::DralInputOutput record(const TestInput& given) {
    model::DralInputOutput input = item(given.name, given.cell, given.base, given.sheet, given.book, rules);
    input.numberFormat = input.NumberFormatLocal = given.format;
    set_steps(input, given.steps.size(), 1);
    for (auto init :
         {&model::DralInputOutput::outputMinValueInit, &model::DralInputOutput::outputMaxValueInit,
          &model::DralInputOutput::outputMinPercentChangeInit,
          &model::DralInputOutput::outputMaxPercentChangeInit, &model::DralInputOutput::minInputValueInit,
          &model::DralInputOutput::maxInputValueInit, &model::DralInputOutput::outputRankInit})
      (input.*init)(1);
    fill_steps(input, given);
    return input;
  }

  void fill_steps(model::DralInputOutput& input, const TestInput& given) {
    double low = host::kMissingNumber, high = host::kMissingNumber, at_low = low, at_high = high;
    for (std::int32_t step = 1; step <= input.numSteps; ++step) {
      const auto [value, result] = given.steps[static_cast<std::size_t>(step - 1)];
      input.InputValuesUsedPut(step, value);
      input.OutputValuesCalculatedPut(1, step, result);
      if (!rules->is_usable(result)) continue;
      if (low == host::kMissingNumber || result < low) low = result, at_low = value;
      if (high == host::kMissingNumber || result > high) high = result, at_high = value;
    }
    input.outputMinValuePut(1, low);
    input.outputMaxValuePut(1, high);
    input.minInputValuePut(1, at_low);
    input.maxInputValuePut(1, at_high);
    input.outputMinPercentChangePut(1, rules->fractional_change(low, output().BaseValue()));
    input.outputMaxPercentChangePut(1, rules->fractional_change(high, output().BaseValue()));
  }
};

// Inputs, or groups of them, and what a report shows of them and does not.
template <class Bench, class Input>
struct Situation {
  struct Given {
    const char* what;
    std::vector<Input> inputs;
    double base = 100;                             // of the output
    std::function<void(Bench&)> change = nullptr;  // of the bench, after the inputs
  } given;
  std::vector<std::string> shown, not_shown = {};
};
using GraphSituation = Situation<GraphBench, TestInput>;

inline void in_percent(GraphBench& bench) {
  bench.mode = model::OrdvaneOutputAsPercentChange;
}

inline void without_idle(GraphBench& bench) {
  bench.settings.all_inputs = false;
}
inline auto output_format(const char* format, const char* date_format = nullptr) {
  return [=](GraphBench& bench) {
    bench.output().numberFormat = bench.output().NumberFormatLocal = format;
    bench.output().IsDate = date_format != nullptr;
    if (date_format) bench.output().DateFormat = date_format;
  };
}

template <class Bench, class Input>
void set_up(Bench& bench, const Situation<Bench, Input>& situation) {
  const auto& given = situation.given;
  bench.output().set_BaseValue(given.base);
  bench.set_inputs(given.inputs);
  if (given.change) given.change(bench);
}

inline void expect_parts(const std::string& text, const std::vector<std::string>& shown,
                         const std::vector<std::string>& not_shown = {}) {
  for (const std::string& part : shown) EXPECT_THAT(text, testing::HasSubstr(part));
  for (const std::string& part : not_shown) EXPECT_THAT(text, testing::Not(testing::HasSubstr(part)));
}

// `make_report` returns the text of a situation's report.
template <class Bench = GraphBench, class Situations, class MakeReport>
void check_situations(const Situations& situations, MakeReport&& make_report) {
  for (const auto& situation : situations) {
    SCOPED_TRACE(situation.given.what);
    Bench bench;
    expect_parts(make_report(bench, situation), situation.shown, situation.not_shown);
  }
}

// Cells of the first sheet that have a look and hold something.
inline std::vector<std::string> cells_that_look(const office::BookModel& book,
                                                const std::function<bool(const office::CellStyle&)>& look) {
  std::vector<std::string> found;
  for (const auto& band : book.sheets.front()->bands)
    for (std::int32_t row = band.first_row; row < band.first_row + band.rows; ++row)
      for (std::int32_t column = band.first_column; column < band.first_column + band.columns; ++column) {
        const std::size_t at = band.index(row, column);
        if (band.cells[at].kind() != host::CellKind::kBlank && look(book.styles.at(band.style(at))))
          found.push_back(office::cell_name(row, column));
      }
  return found;
}

}  // namespace ordvane::test
