#include "model/scan.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "model/engine_reader.h"
#include "model/naming.h"
#include "model/ranking.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::model {
namespace {

using session::log_text;

constexpr const char* kAutomaticPrefix = "DralAuto";
constexpr std::int32_t kAutomaticPrefixLength = 8;
constexpr const char* kDefaultSheetName = "Sheet1";
constexpr const char* kDateFormat = "mm/dd/yyyy";
// A cell holds 32,767 characters, and a title may have two names beside words of its own.
constexpr std::size_t kLongestName = 8000;

bool is_blank(const std::string& name) {
  return name.empty() || name == " ";
}

void set_location(const EngineReader& engine, std::int32_t kind, const ItemInfo& info,
                  DralInputOutput& record) {
  ItemLocation location = engine.location(kind, record.ioIndex, info);
  record.bookName = std::move(location.book);
  record.sheetName = location.sheet.empty() ? kDefaultSheetName : std::move(location.sheet);
  record.cellAddress = text::without(location.cell, '$');
  record.rangeAddress = text::without(location.range, '$');
  record.bookIndex = info.book_index;
  record.sheetIndex = info.sheet_index;
  record.CellIndex = info.cell_index;
  record.formulaIndex = info.formula_index;
  record.inCellIndex = info.in_cell_index;
}

std::shared_ptr<host::Range> cell_of(session::Session& s, const DralInputOutput& record) {
  return s.application().workbook(record.bookName)->worksheet(record.sheetName)->range(record.cellAddress);
}

void set_names(session::Session& s, const ItemInfo& info, DralInputOutput& record) {
  record.ioName = text::cut_to(info.name.empty() ? info.alternative_name : info.name, kLongestName);
  record.set_SimpleName(record.ioName);
  record.useDefaultName = info.use_default_name != 0;
  if (record.useDefaultName) {
    record.ioName =
        is_blank(record.ioName) ? " " : short_default_label(s, *cell_of(s, record), record.ioName);
    record.defaultName = record.ioName;
    record.set_SimpleName(record.ioName);
  }
  if (is_blank(record.ioName)) {
    record.set_SimpleName(record.cellAddress);
    record.set_QualifiedName(record.cellAddress);
  } else {
    record.set_QualifiedName(record.SimpleName() + " (" + record.cellAddress + ")");
  }
}

void set_function(const ItemInfo& info, DralInputOutput& record) {
  record.distStartIndex = info.function_start;
  record.distStopIndex = info.function_stop;
  record.originalFormula = info.formula;
  record.isFormula = info.formula.starts_with('=');
  std::string_view function =
      text::mid(info.formula, info.function_start, info.function_stop - info.function_start + 1);
  if (function.starts_with('=')) function.remove_prefix(1);
  record.originalDistribution = function;
}

}  // namespace

OrdvaneScan::OrdvaneScan(session::Session& session)
    : session_(session), rules_(std::make_shared<const NumberRules>(session.engine, session.environment)) {}

std::int32_t OrdvaneScan::newScan(Records& records, std::int32_t kind, std::int32_t& autoCount) {
  session::Session& s = session_;
  const EngineReader engine(s);
  const ItemCounts counts = engine.counts();
  autoCount = 0;

  std::vector<std::int16_t> steps;
  if (kind == engine::kInput) steps = engine.steps(counts.listed_inputs);
  std::optional<BaseValues> base_values;
  if (kind == engine::kOutput) base_values.emplace(s);
  const std::int32_t count = kind == engine::kInput ? counts.listed_inputs : counts.outputs;
  for (std::int32_t k = 1; k <= count; ++k) {
    const ItemInfo info = engine.item(kind, k - 1);
    if (kind == engine::kOutput)
      s.log.line("OrdvaneScan.newScan t_DateFlag: " + std::to_string(info.date_flag));

    DralInputOutput record(rules_);
    record.ioIndex = k - 1;
    record.isLocked = info.is_locked != 0;
    set_location(engine, kind, info, record);
    set_names(s, info, record);
    set_function(info, record);
    const auto cell = cell_of(s, record);
    record.cellRangeThisInputOrOutput = cell;
    if (kind == engine::kInput) {
      if (text::mid(info.formula, info.function_start, kAutomaticPrefixLength) == kAutomaticPrefix)
        ++autoCount;
      record.isDralInput = true;
      record.isMulti = info.is_multi != 0;
      record.rangeType = info.range_type;
      record.distForRange = info.dist_for_range;
      record.minChange = info.min_change;
      record.maxChange = info.max_change;
      record.numSteps = steps[static_cast<std::size_t>(k - 1)];
    } else {
      // -1 counts as "no date", as 0 does.
      record.IsDate = info.date_flag != 0 && info.date_flag != -1;
      if (record.IsDate) record.DateFormat = kDateFormat;
      record.isDralOutput = true;
      record.dralOutputIndex = info.output_index;
      record.outputRangeName = info.output_range_name;
      record.outputRangeIndex = info.output_range_index;
      record.set_BaseValue(base_values->of(*cell, record.originalDistribution));
    }
    s.log.line("OrdvaneScan.NewScan .ioName(" + std::to_string(k) + "): " + record.ioName);
    records.push_back(std::move(record));
  }
  return 0;
}

namespace {

void init_tables(DralInputOutput& input, std::int32_t outputs, StepRanks ranks) {
  const std::int32_t steps = input.numSteps;
  input.tableOfValuesInit(steps);
  input.outputValuesCalculatedInit(outputs, steps);
  if (ranks == StepRanks::kWanted) input.outputRankPerStepInit(outputs, steps);
  input.outputMinValueInit(outputs);
  input.outputMaxValueInit(outputs);
  input.outputMinPercentChangeInit(outputs);
  input.outputMaxPercentChangeInit(outputs);
  input.outputRankInit(outputs);
  input.inputValuesUsedInit(steps);
  input.minInputValueInit(outputs);
  input.maxInputValueInit(outputs);
}

// The extremes of one output while one input varies. A step that gave no number leaves them as they are.
class Extremes {
 public:
  Extremes(DralInputOutput& input, std::int32_t output) : input_(input), output_(output) {}

  void take(double value, double change, double input_value) {
    if (first_ || value < input_.outputMinValue(output_)) take_minimum(value, change, input_value);
    if (first_ || value > input_.outputMaxValue(output_)) take_maximum(value, change, input_value);
    first_ = false;
  }

  // Without any usable step there is nothing to show.
  void finish(double missing) {
    if (!first_) return;
    take_minimum(missing, missing, missing);
    take_maximum(missing, missing, missing);
  }

 private:
  void take_minimum(double value, double change, double input_value) {
    input_.outputMinPercentChangePut(output_, change);
    input_.outputMinValuePut(output_, value);
    input_.minChange = input_value;
    input_.minInputValuePut(output_, input_value);
  }
  void take_maximum(double value, double change, double input_value) {
    input_.outputMaxPercentChangePut(output_, change);
    input_.outputMaxValuePut(output_, value);
    input_.maxChange = input_value;
    input_.maxInputValuePut(output_, input_value);
  }

  DralInputOutput& input_;
  std::int32_t output_;
  bool first_ = true;
};

// Reads one run into the records.
class Retrieval {
 public:
  Retrieval(session::Session& session, const NumberRules& rules, Records& inputs, std::int32_t recalculations,
            std::int32_t run, StepRanks ranks)
      : session_(session),
        rules_(rules),
        inputs_(inputs),
        run_(run),
        ranks_(ranks),
        data_(static_cast<std::size_t>(std::max(recalculations, 0))),
        poll_([&session] { session.check_cancel(); }),
        pace_(poll_) {}

  void read_inputs();
  // `on`: the output's position, as the inputs' tables count.
  void read_output(const DralInputOutput& output, std::int32_t on);

 private:
  static constexpr std::size_t kStepsOfALogLine = 1000;  // as much time as that many steps of arithmetic

  void log_line(const std::string& text) {
    session_.log.line("OrdvaneScan.GetData " + text);
    pace_.step(kStepsOfALogLine);
  }
  void log_data(std::int32_t index);
  void rank_recalculations(double base);
  void fill_inputs(std::int32_t on, double base);
  void rank_inputs(std::int32_t on);

  session::Session& session_;
  const NumberRules& rules_;
  Records& inputs_;
  std::int32_t run_;
  StepRanks ranks_;
  // Of the item that is being read, one element a recalculation.
  std::vector<double> data_;
  std::vector<double> changes_;          // Array
  std::vector<std::int32_t> by_change_;  // RArray: recalculations in the order of their changes
  std::vector<std::int32_t> rank_of_;    // RArray2: its inverse
  Poll poll_;
  Pace pace_;
};

// Of an input only its own steps are asked for; it is at its base value everywhere else.
void Retrieval::read_inputs() {
  BaseValues base_values(session_);
  std::size_t first = 0;
  for (DralInputOutput& input : inputs_) {
    session_.check_cancel();
    const auto steps = static_cast<std::size_t>(std::max(input.numSteps, 0));
    if (steps > data_.size() - first) host::raise_subscript_out_of_range("recalculations of an input");
    const std::span<double> values = std::span(data_).subspan(first, steps);
    EngineReader(session_).values(engine::kInput, input, run_, static_cast<std::int32_t>(first), values);
    input.set_BaseValue(base_values.of(*cell_of(session_, input), input.originalDistribution));
    for (std::int32_t j = 1; j <= input.numSteps; ++j)
      input.InputValuesUsedPut(j, values[static_cast<std::size_t>(j - 1)]);
    first += steps;
  }
}

void Retrieval::read_output(const DralInputOutput& output, std::int32_t on) {
  session_.check_cancel();
  EngineReader(session_).values(engine::kOutput, output, run_, 0, data_);
  if (session_.log.is_on()) log_data(output.ioIndex);
  if (ranks_ == StepRanks::kWanted) rank_recalculations(output.BaseValue());
  fill_inputs(on, output.BaseValue());
  rank_inputs(on);
}

void Retrieval::log_data(std::int32_t index) {
  log_line("DRL4_GetDoubleInputOrOutputData HVars: " + std::to_string(session_.hVars) + "    Index: " +
           std::to_string(index) + "   Start: 0   Stop: " + std::to_string(std::ssize(data_) - 1));
  for (std::size_t k = 0; k < data_.size(); ++k)
    log_line("DRL4_GetDoubleInputOrOutputData Data(" + std::to_string(k + 1) + ")=" + log_text(data_[k]));
}

// By change from the base value; a missing result stands for its own change.
void Retrieval::rank_recalculations(double base) {
  const double missing = rules_.missing_number();
  for (double& value : data_) value = rules_.without_nan(value);
  changes_ = data_;
  for (double& change : changes_)
    if (change != missing) change -= base;
  by_change_.resize(changes_.size());
  std::iota(by_change_.begin(), by_change_.end(), 1);
  sort_with_companion(changes_, by_change_, poll_);
  rank_of_.resize(changes_.size());
  for (std::size_t k = 0; k < by_change_.size(); ++k)
    rank_of_[static_cast<std::size_t>(by_change_[k] - 1)] = static_cast<std::int32_t>(k) + 1;
  if (!session_.log.is_on()) return;
  for (std::size_t k = 0; k < changes_.size(); ++k)
    log_line("Array(" + std::to_string(k + 1) + ")=" + log_text(changes_[k]) + "   RArray(" +
             std::to_string(k + 1) + ")=" + std::to_string(by_change_[k]) + "   RArray2(" +
             std::to_string(k + 1) + ")=" + std::to_string(rank_of_[k]));
}

// Everything that one output's recalculations say about the inputs.
void Retrieval::fill_inputs(std::int32_t on, double base) {
  const bool has_changes = rules_.is_usable(base) && base != 0;
  const double missing = rules_.missing_number();
  std::size_t r = 0;
  for (DralInputOutput& input : inputs_) {
    input.startingIteration = static_cast<std::int32_t>(r) + 1;
    Extremes extremes(input, on);
    for (std::int32_t j = 1; j <= input.numSteps; ++j, ++r) {
      if (r >= data_.size()) host::raise_subscript_out_of_range("recalculations of an output");
      input.OutputValuesCalculatedPut(on, j, data_[r]);
      if (ranks_ == StepRanks::kWanted) input.outputRankPerStepPut(on, j, rank_of_[r]);
      const double value = input.OutputValuesCalculated(on, j);
      if (rules_.is_usable(value))
        extremes.take(
            value, has_changes ? NumberRules::difference_of_numbers(value, base) / std::fabs(base) : missing,
            input.InputValuesUsed(j));
      pace_.step();
    }
    extremes.finish(missing);
  }
}

void Retrieval::rank_inputs(std::int32_t on) {
  std::vector<double> swings;
  swings.reserve(static_cast<std::size_t>(inputs_.size()));
  for (const DralInputOutput& input : inputs_)
    swings.push_back(input.outputMaxValue(on) - input.outputMinValue(on));
  const OneBased<std::int32_t> ranks = rank_descending(swings, poll_);
  for (std::int32_t i = 1; i <= inputs_.size(); ++i) inputs_(i).outputRankPut(on, ranks(i));
}

}  // namespace

std::int32_t OrdvaneScan::getData(Records& inputs, Records& outputs,
                                  const OneBased<std::int32_t>& selectedOutputs, std::int32_t numIterations,
                                  std::int32_t runNumber, StepRanks ranks) {
  // The log tells the ranks whoever wants them.
  if (session_.log.is_on()) ranks = StepRanks::kWanted;
  for (DralInputOutput& input : inputs) init_tables(input, outputs.size(), ranks);
  Retrieval retrieval(session_, *rules_, inputs, numIterations, runNumber, ranks);
  retrieval.read_inputs();
  for (const std::int32_t on : selectedOutputs) retrieval.read_output(outputs(on), on);
  return 0;
}

}  // namespace ordvane::model
