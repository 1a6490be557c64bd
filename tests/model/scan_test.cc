// What a scan makes of the engine's answers, also of those that no recorded run gives.
#include "model/scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "embedded/report_job.h"
#include "environment/standard_environment.h"
#include "model/naming.h"
#include "model/step_results.h"
#include "runfile/recorded_engine.h"
#include "support/forwarding_host.h"

namespace ordvane::model {
namespace {

using test::forwarding::ForwardingEngine;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A recorded run with some answers changed, and the calls that were made.
class AnsweringEngine : public ForwardingEngine {
 public:
  using Long = std::int32_t;
  using Integer = std::int16_t;
  using String = std::string;

  explicit AnsweringEngine(const std::shared_ptr<const runfile::Run>& run)
      : ForwardingEngine(
            runfile::make_recorded_engine(run),
            std::make_shared<const test::Hook>([this](const char* member) { calls.push_back(member); })) {}

  std::int32_t DRL7_GetOrderedOutputInfoVB(Long hVars, Integer flag, Long index, String& name,
                                           String& alternative, String& formula, Long& start, Long& stop,
                                           Integer& use_default, Long& book, Long& sheet, Long& cell,
                                           Long& formula_index, Integer& in_cell, Integer& locked,
                                           Integer& date, String& range_name, Long& range_index,
                                           Long& output_index) override {
    const Long rc = ForwardingEngine::DRL7_GetOrderedOutputInfoVB(
        hVars, flag, index, name, alternative, formula, start, stop, use_default, book, sheet, cell,
        formula_index, in_cell, locked, date, range_name, range_index, output_index);
    date = date_flag;
    return rc;
  }
  std::int32_t DRL7_GetSheetWithInputOrOutputVB(Long hVars, Integer flag, Long kind, Long book, Long sheet,
                                                String& name) override {
    const Long rc = ForwardingEngine::DRL7_GetSheetWithInputOrOutputVB(hVars, flag, kind, book, sheet, name);
    if (without_sheet_names) name.clear();
    return rc;
  }

  Integer date_flag = 0;
  bool without_sheet_names = false;
  std::vector<std::string> calls;
};

// Two inputs, one after the other from three steps, and one output, all on Sheet1.
class Scan : public testing::Test {
 protected:
  static void place(runfile::Item& item, const char* cell) {
    item.book = "Model.xlsx";
    item.sheet = "Sheet1";
    item.cell = item.range = cell;
    item.base = 6;
    item.formula = "6";
  }

  static std::shared_ptr<runfile::Run> small_run() {
    auto run = std::make_shared<runfile::Run>();
    for (const char* cell : {"A1", "A2"}) {
      runfile::Input input;
      place(input, cell);
      input.steps = 3;
      run->inputs.push_back(input);
    }
    runfile::Output output;
    place(output, "B1");
    run->outputs.push_back(output);
    run->recalculations = 6;
    run->input_values.in_memory() = {1, 2, 3, 4, 5, 6};
    run->output_values.in_memory() = {7, 7, 9, 8, 5, 5};
    return run;
  }

  // The records of a kind, from an engine that answers as it is told to.
  Records scanned(std::int32_t kind) {
    session_.environment = std::make_shared<environment::StandardEnvironment>(environment::Settings{});
    session_.engine = engine_;
    session_.g_XLApp = embedded::open_model(*run_);
    session_.session_flag = 1;
    Records records;
    OrdvaneScan(session_).newScan(records, kind, automatic_);
    return records;
  }

  std::shared_ptr<runfile::Run> run_ = small_run();
  std::shared_ptr<AnsweringEngine> engine_ = std::make_shared<AnsweringEngine>(run_);
  session::Session session_;
  std::int32_t automatic_ = 0;
};

TEST_F(Scan, ADateFlagOfMinusOneIsNone) {
  const struct {
    std::int16_t flag;
    bool is_date;
  } cases[] = {{0, false}, {-1, false}, {1, true}};
  for (const auto& c : cases) {
    engine_->date_flag = c.flag;
    EXPECT_EQ(scanned(engine::kOutput)(1).IsDate, c.is_date) << c.flag;
  }
}

TEST_F(Scan, ItemsWithoutASheetsNameAreOnTheFirstSheet) {
  engine_->without_sheet_names = true;
  EXPECT_EQ(scanned(engine::kInput)(2).sheetName, "Sheet1");
  EXPECT_EQ(scanned(engine::kOutput)(1).sheetName, "Sheet1");
}

TEST_F(Scan, ItemsWithoutANameGoByTheirCell) {
  const Records inputs = scanned(engine::kInput);
  EXPECT_EQ(inputs(2).SimpleName(), "A2");
  EXPECT_EQ(inputs(2).QualifiedName(), "A2");
}

// The function of an automatic input may stand anywhere in its cell's formula.
TEST_F(Scan, CountsAutomaticInputsByTheirFunctions) {
  run_->inputs[0].formula = "=2*DralAuto(3)";
  run_->inputs[0].function = "DralAuto(3)";
  scanned(engine::kInput);
  EXPECT_EQ(automatic_, 1);
}

TEST_F(Scan, ExtremesAreThoseOfTheFirstStepThatReachesThem) {
  run_->output_values.in_memory() = {7, 7, 9, kNaN, kNaN, kNaN};
  Records inputs = scanned(engine::kInput), outputs = scanned(engine::kOutput);
  OneBased<std::int32_t> selected;
  selected.push_back(1);
  OrdvaneScan(session_).getData(inputs, outputs, selected, 6, 1);
  EXPECT_EQ(inputs(1).outputMinValue(1), 7);
  EXPECT_EQ(inputs(1).minInputValue(1), 1) << "not the second step, which has the same result";
  EXPECT_EQ(inputs(1).outputMaxValue(1), 9);
  EXPECT_EQ(inputs(1).maxInputValue(1), 3);
  EXPECT_EQ(inputs(2).outputMinValue(1), host::kMissingNumber) << "no step of it has a result";
  EXPECT_EQ(inputs(2).maxInputValue(1), host::kMissingNumber);
  EXPECT_EQ(inputs(1).failed_results(1), 0);
  EXPECT_EQ(inputs(2).failed_results(1), 3);
}

// Whatever was dropped in between.
TEST_F(Scan, StepTablesAreTheSameHoweverManyResultsAreKept) {
  run_->outputs.push_back(run_->outputs.front());
  run_->outputs.back().cell = run_->outputs.back().range = "B2";
  run_->output_values.in_memory() = {7, 7, 9, 8, kNaN, 5, 1, 2, 3, 6, 5, 4};
  engine_ = std::make_shared<AnsweringEngine>(run_);
  Records inputs = scanned(engine::kInput);
  const Records outputs = scanned(engine::kOutput);
  const auto rules = std::make_shared<const NumberRules>(session_.engine, session_.environment);
  for (const std::size_t most_kept : {0U, 3U, 6U, 7U, 100U}) {
    SCOPED_TRACE(most_kept);
    const auto results =
        std::make_shared<StepResults>(session_, rules, inputs, outputs, 6, 1, Poll(), most_kept);
    results->show_in(inputs);
    EXPECT_EQ(inputs(1).OutputValuesCalculated(2, 3), 0) << "not read yet";
    for (const std::int32_t output : {1, 2}) {
      std::vector<double> read = results->read(output, [](std::span<const double>) {});
      results->note(output, results->room() > 0 ? std::optional(std::move(read)) : std::nullopt);
    }
    std::vector<double> values, changes, ranks;
    for (std::int32_t step = 1; step <= 3; ++step)
      for (std::int32_t output = 1; output <= 2; ++output)
        for (const DralInputOutput& input : inputs) {
          values.push_back(input.OutputValuesCalculated(output, step));
          changes.push_back(input.outputPercentChangedCalculated(output, step));
          ranks.push_back(input.outputRankPerStep(output, step));
        }
    const double none = host::kMissingNumber;
    EXPECT_EQ(values, (std::vector<double>{7, 8, 1, 6, 7, none, 2, 5, 9, 5, 3, 4}));
    EXPECT_EQ(changes[4], 1.0 / 6);
    EXPECT_EQ(changes[5], none);
    const auto at = [&](std::size_t i) { return ranks[i]; };
    EXPECT_EQ((std::vector{at(1), at(8), at(9), at(2), at(3)}), (std::vector<double>{5, 6, 2, 1, 6}));
    EXPECT_THROW(inputs(1).OutputValuesCalculated(3, 1), host::Error);
    EXPECT_THROW(inputs(1).OutputValuesCalculatedPut(1, 1, 5), host::Error);
  }
}

// Types 0 and 1 leave functions at their base values; any other is set to 0 meanwhile.
TEST_F(Scan, BaseValuesAreComputedUnderASamplingTypeThatLeavesThem) {
  scanned(engine::kOutput);
  const auto cell = session_.application().range("'[Model.xlsx]Sheet1'!B1");
  for (const std::int32_t type : {0, 1, 2}) {
    engine_->DRL4_SetSamplingType(1, type);
    engine_->calls.clear();
    BaseValues(session_).of(*cell, "6");
    EXPECT_EQ(std::count(engine_->calls.begin(), engine_->calls.end(), "Engine.DRL4_SetSamplingType"),
              type == 2 ? 2 : 0)
        << type;
    EXPECT_EQ(engine_->DRL4_GetSamplingType(1), type);
  }
}

TEST(RangeMode, IsAsWideAsTheItemsAreApart) {
  const struct {
    const char* what;
    std::vector<std::pair<const char*, const char*>> places;
    OrdvaneRangeMode mode;
  } cases[] = {
      {"one sheet", {{"M", "S"}, {"M", "S"}}, OrdvaneRangeCellMode},
      {"two sheets", {{"M", "S"}, {"M", "T"}, {"M", "S"}}, OrdvaneRangeSheetMode},
      {"two books", {{"M", "S"}, {"N", "S"}}, OrdvaneRangeBookMode},
      {"two books, then a sheet", {{"M", "S"}, {"N", "S"}, {"M", "T"}}, OrdvaneRangeBookMode},
      {"two sheets, then a book", {{"M", "S"}, {"M", "T"}, {"N", "S"}}, OrdvaneRangeBookMode},
  };
  for (const auto& c : cases) {
    Records records(static_cast<std::int32_t>(c.places.size()));
    for (std::int32_t i = 1; i <= records.size(); ++i)
      std::tie(records(i).bookName, records(i).sheetName) = c.places[static_cast<std::size_t>(i - 1)];
    EXPECT_EQ(range_mode_of(records), c.mode) << c.what;
  }
}

}  // namespace
}  // namespace ordvane::model
