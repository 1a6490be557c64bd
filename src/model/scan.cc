#include "model/scan.h"

#include <algorithm>
#include <optional>
#include <set>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "host/side_by_side.h"
#include "model/engine_reader.h"
#include "model/naming.h"
#include "model/ranking.h"
#include "model/step_results.h"
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
  records.reserve(records.size() + count);
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

void init_tables(DralInputOutput& input, std::int32_t outputs) {
  const std::int32_t steps = input.numSteps;
  input.tableOfValuesInit(steps);
  input.failed_results_init(outputs);
  input.outputMinValueInit(outputs);
  input.outputMaxValueInit(outputs);
  input.outputMinPercentChangeInit(outputs);
  input.outputMaxPercentChangeInit(outputs);
  input.outputRankInit(outputs);
  input.inputValuesUsedInit(steps);
  input.minInputValueInit(outputs);
  input.maxInputValueInit(outputs);
}

// Side by side where they are large, since memory is handed out slowly.
void make_tables(Records& inputs, std::int32_t outputs) {
  constexpr std::size_t kLeastShared = 1 << 15;
  constexpr std::size_t kInputsAtOnce = 64;
  const auto count = static_cast<std::size_t>(inputs.size());
  const bool shared = count * static_cast<std::size_t>(outputs) >= kLeastShared;
  host::each_side_by_side(
      (count + kInputsAtOnce - 1) / kInputsAtOnce, shared ? host::processors() : 1, [&](std::size_t piece) {
        const auto of_piece = std::span(inputs.data(), count).subspan(piece * kInputsAtOnce);
        for (DralInputOutput& input : of_piece.first(std::min(kInputsAtOnce, of_piece.size())))
          init_tables(input, outputs);
      });
}

// The extremes of one output while one input varies. A step that gave no number leaves them as they are, and
// is counted.
class Extremes {
 public:
  void fail() { ++failed_; }
  void take(double value, std::int32_t step) {
    if (lowest_step_ == 0 || value < lowest_) std::tie(lowest_, lowest_step_) = std::tie(value, step);
    if (highest_step_ == 0 || value > highest_) std::tie(highest_, highest_step_) = std::tie(value, step);
  }

  // Without any usable step there is nothing to show.
  double least(const NumberRules& rules) const { return lowest_step_ > 0 ? lowest_ : rules.missing_number(); }
  double greatest(const NumberRules& rules) const {
    return highest_step_ > 0 ? highest_ : rules.missing_number();
  }

  void put(const NumberRules& rules, double base, std::int32_t output, DralInputOutput& input) const {
    const double missing = rules.missing_number();
    const bool any = lowest_step_ > 0;
    input.outputMinValuePut(output, least(rules));
    input.outputMaxValuePut(output, greatest(rules));
    input.outputMinPercentChangePut(output, any ? rules.fractional_change(lowest_, base) : missing);
    input.outputMaxPercentChangePut(output, any ? rules.fractional_change(highest_, base) : missing);
    input.minChange = any ? input.InputValuesUsed(lowest_step_) : missing;
    input.maxChange = any ? input.InputValuesUsed(highest_step_) : missing;
    input.minInputValuePut(output, input.minChange);
    input.maxInputValuePut(output, input.maxChange);
    input.count_failed_results(output, failed_);
  }

 private:
  double lowest_ = 0, highest_ = 0;
  std::int32_t lowest_step_ = 0, highest_step_ = 0;  // 0: none yet
  std::int32_t failed_ = 0;                          // steps
};

// Reads one run into the records. Where engine and rules allow it, outputs are read side by side, and then
// inputs are told what these say about them.
class Retrieval {
 public:
  Retrieval(session::Session& session, const std::shared_ptr<const NumberRules>& rules, Records& inputs,
            const Records& outputs, std::int32_t recalculations, std::int32_t run)
      : session_(session),
        rules_(*rules),
        inputs_(inputs),
        outputs_(outputs),
        recalculations_(std::max(recalculations, 0)),
        run_(run),
        poll_([&session, here = std::this_thread::get_id()] {
          if (std::this_thread::get_id() == here) session.check_cancel();
        }),
        results_(std::make_shared<StepResults>(session, rules, inputs, outputs, recalculations, run, poll_)) {
    results_->show_in(inputs);
  }

  void read_inputs();
  // `positions`: of outputs, as the inputs' tables count.
  void read_outputs(std::span<const std::int32_t> positions);

 private:
  // Results of fewer recalculations than this are read in less time than threads take to begin.
  static constexpr std::size_t kLeastShared = 1 << 16;
  // At a time, of inputs by outputs and of results.
  static constexpr std::size_t kMostFindings = 1 << 16, kMostResults = 1 << 21;
  static constexpr std::size_t kInputsAtOnce = 64;

  // What the recalculations of one output say about each input.
  struct Findings {
    std::vector<Extremes> extremes;
    OneBased<std::int32_t> ranks;
    std::optional<std::vector<double>> results;  // where they can stay
  };

  Findings read_output(std::int32_t on, bool results_stay) const;
  void log_data(std::int32_t index, std::span<const double> results) const;
  void log_order(std::int32_t on, std::span<const double> results) const;
  std::vector<Extremes> extremes_of(std::span<const double> results) const;
  OneBased<std::int32_t> ranks_of(const std::vector<Extremes>& extremes) const;
  void put(std::span<const std::int32_t> positions, std::span<const Findings> findings, std::size_t threads);

  session::Session& session_;
  const NumberRules& rules_;
  Records& inputs_;
  const Records& outputs_;
  std::int32_t recalculations_;
  std::int32_t run_;
  Poll poll_;  // other threads than the one that began do not ask
  std::shared_ptr<StepResults> results_;
};

// Of an input only its own steps are asked for; it is at its base value everywhere else.
void Retrieval::read_inputs() {
  BaseValues base_values(session_);
  std::vector<double> values;
  std::int32_t first = 0;
  for (DralInputOutput& input : inputs_) {
    session_.check_cancel();
    const std::int32_t steps = std::max(input.numSteps, 0);
    if (steps > recalculations_ - first) host::raise_subscript_out_of_range("recalculations of an input");
    values.resize(static_cast<std::size_t>(steps));
    EngineReader(session_).values(engine::kInput, input, run_, first, values);
    input.set_BaseValue(base_values.of(*cell_of(session_, input), input.originalDistribution));
    for (std::int32_t j = 1; j <= input.numSteps; ++j)
      input.InputValuesUsedPut(j, values[static_cast<std::size_t>(j - 1)]);
    input.startingIteration = first + 1;
    first += steps;
  }
}

void Retrieval::read_outputs(std::span<const std::int32_t> positions) {
  const auto recalculations = static_cast<std::size_t>(recalculations_);
  const auto inputs = static_cast<std::size_t>(inputs_.size());
  // An output that is named twice, and lines of a log, have their order.
  const std::set<std::int32_t> different(positions.begin(), positions.end());
  const bool shared = rules_.concurrent() && !session_.log.is_on() && different.size() == positions.size() &&
                      recalculations * positions.size() >= kLeastShared;
  const std::size_t threads = shared ? host::processors() : 1;
  const std::size_t many = std::min(kMostFindings / std::max(inputs, std::size_t{1}),
                                    kMostResults / std::max(recalculations, std::size_t{1}));
  const std::size_t at_once = shared ? std::max(threads, many) : 1;
  for (; !positions.empty(); positions = positions.subspan(std::min(at_once, positions.size()))) {
    const auto these = positions.first(std::min(at_once, positions.size()));
    const std::size_t room = results_->room();
    std::vector<Findings> findings(these.size());
    host::each_side_by_side(these.size(), threads, [&](std::size_t k) {
      poll_();
      findings[k] = read_output(these[k], k < room);
    });
    for (std::size_t k = 0; k < these.size(); ++k) results_->note(these[k], std::move(findings[k].results));
    put(these, findings, threads);
  }
}

Retrieval::Findings Retrieval::read_output(std::int32_t on, bool results_stay) const {
  const bool logs = session_.log.is_on();
  std::vector<double> results = results_->read(on, [&](std::span<const double> recorded) {
    if (logs) log_data(outputs_(on).ioIndex, recorded);
  });
  if (logs) log_order(on, results);
  Findings findings;
  findings.extremes = extremes_of(results);
  findings.ranks = ranks_of(findings.extremes);
  if (results_stay) findings.results = std::move(results);
  return findings;
}

// Writes lines, which each take as much time as many steps of arithmetic.
class Lines {
 public:
  Lines(session::Session& session, const Poll& poll) : session_(session), pace_(poll) {}
  void add(const std::string& text) {
    constexpr std::size_t kStepsOfALine = 1000;
    session_.log.line("OrdvaneScan.GetData " + text);
    pace_.step(kStepsOfALine);
  }

 private:
  session::Session& session_;
  Pace pace_;
};

void Retrieval::log_data(std::int32_t index, std::span<const double> results) const {
  Lines lines(session_, poll_);
  lines.add("DRL4_GetDoubleInputOrOutputData HVars: " + std::to_string(session_.hVars) + "    Index: " +
            std::to_string(index) + "   Start: 0   Stop: " + std::to_string(std::ssize(results) - 1));
  for (std::size_t k = 0; k < results.size(); ++k)
    lines.add("DRL4_GetDoubleInputOrOutputData Data(" + std::to_string(k + 1) + ")=" + log_text(results[k]));
}

void Retrieval::log_order(std::int32_t on, std::span<const double> results) const {
  const StepResults::Order order = results_->order(on, results);
  std::vector<std::int32_t> ranks(order.recalculations.size());
  for (std::size_t k = 0; k < ranks.size(); ++k)
    ranks[static_cast<std::size_t>(order.recalculations[k] - 1)] = static_cast<std::int32_t>(k) + 1;
  Lines lines(session_, poll_);
  for (std::size_t k = 0; k < ranks.size(); ++k)
    lines.add("Array(" + std::to_string(k + 1) + ")=" + log_text(order.changes[k]) + "   RArray(" +
              std::to_string(k + 1) + ")=" + std::to_string(order.recalculations[k]) + "   RArray2(" +
              std::to_string(k + 1) + ")=" + std::to_string(ranks[k]));
}

std::vector<Extremes> Retrieval::extremes_of(std::span<const double> results) const {
  std::vector<Extremes> extremes(static_cast<std::size_t>(inputs_.size()));
  Pace pace(poll_);
  std::size_t r = 0;
  for (auto of_input = extremes.begin(); const DralInputOutput& input : inputs_) {
    for (std::int32_t j = 1; j <= input.numSteps; ++j, ++r)
      if (rules_.is_usable(results[r]))
        of_input->take(results[r], j);
      else
        of_input->fail();
    pace.step(static_cast<std::size_t>(std::max(input.numSteps, 0)));
    ++of_input;
  }
  return extremes;
}

OneBased<std::int32_t> Retrieval::ranks_of(const std::vector<Extremes>& extremes) const {
  std::vector<double> swings;
  swings.reserve(extremes.size());
  for (const Extremes& of_input : extremes)
    swings.push_back(of_input.greatest(rules_) - of_input.least(rules_));
  return rank_descending(swings, poll_);
}

// By inputs, whose tables have the outputs side by side.
void Retrieval::put(std::span<const std::int32_t> positions, std::span<const Findings> findings,
                    std::size_t threads) {
  const auto inputs = static_cast<std::size_t>(inputs_.size());
  const auto put_input = [&](std::size_t i) {
    DralInputOutput& input = inputs_(static_cast<std::int32_t>(i) + 1);
    for (std::size_t k = 0; k < positions.size(); ++k) {
      findings[k].extremes[i].put(rules_, outputs_(positions[k]).BaseValue(), positions[k], input);
      input.outputRankPut(positions[k], findings[k].ranks(static_cast<std::int32_t>(i) + 1));
    }
  };
  host::each_side_by_side((inputs + kInputsAtOnce - 1) / kInputsAtOnce, threads, [&](std::size_t piece) {
    poll_();
    const std::size_t end = std::min((piece + 1) * kInputsAtOnce, inputs);
    for (std::size_t i = piece * kInputsAtOnce; i < end; ++i) put_input(i);
  });
}

}  // namespace

std::int32_t OrdvaneScan::getData(Records& inputs, Records& outputs,
                                  const OneBased<std::int32_t>& selectedOutputs, std::int32_t numIterations,
                                  std::int32_t runNumber) {
  make_tables(inputs, outputs.size());
  Retrieval retrieval(session_, rules_, inputs, outputs, numIterations, runNumber);
  retrieval.read_inputs();
  retrieval.read_outputs({selectedOutputs.begin(), selectedOutputs.end()});
  return 0;
}

}  // namespace ordvane::model
