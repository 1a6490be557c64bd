// Recorded what-if runs: the run file in memory.
//
// A run is a JSON file (format "ordvane-run", version 1) that describes the inputs and outputs, with the
// recalculated values inline or in a table beside it. docs/run-file.md describes every field.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "runfile/stored_values.h"

namespace ordvane::runfile {

// A run file that cannot be used. what(): "FILE:LINE or FIELD: what is wrong and what is expected", one line.
class BadRun : public std::runtime_error {
 public:
  // Control characters in any of the three are written as escapes.
  BadRun(const std::string& file, const std::string& where, const std::string& problem);
};

// A text beside a cell, for the default label of an item without a name.
struct LabelCell {
  std::string cell;  // address on the item's sheet
  std::string text;
};

struct Item {
  std::string name;  // empty: the item has no name of its own
  std::string book, sheet, cell;
  std::string range;  // the cells the item spans; defaults to `cell`
  std::string formula;
  std::optional<double> base;  // none: the base is not a number
  std::string number_format = "General";
  bool date = false;
  bool locked = true;
  std::vector<LabelCell> labels;
  std::string function;      // the item's function text inside `formula`; empty: the whole of it
  std::string default_name;  // stands in when the item has neither a name nor a label
};

struct Input : Item {
  std::int32_t steps = 0;  // 1 to 32,767
  bool saved_samples = true;
  bool automatic = false;  // varied by the add-in on its own
  std::optional<double> low, high;
};

// Where the model was asked for the value at which an output reaches its target, between two neighbouring
// steps of an input on opposite sides of it.
struct BreakEven {
  std::size_t input = 0;         // zero-based, in Run::inputs
  double value = 0;              // of the input, as near as the search came
  std::optional<double> result;  // of the output there; none: no number
};

struct Output : Item {
  std::string range_name;        // output range it belongs to
  std::int32_t range_index = 0;  // one-based place in it; 0 for none
  std::optional<double> target;  // the value that decides; none: 0, or what a report is asked for
  // By input and value, one for each such two steps; none: the model was not asked. With a target only.
  std::optional<std::vector<BreakEven>> break_even;
};

// Inputs that were varied together: every combination of the members' steps was recalculated once, the last
// member's step changing fastest.
struct Group {
  std::vector<std::size_t> members;  // zero-based positions in Run::inputs; 2 or more, none twice
  std::vector<std::int32_t> steps;   // number of steps of each member
  std::int64_t combinations = 0;     // product of the steps
  std::int64_t first = 0;            // its first recalculation, among the multi-way ones of a simulation
  std::size_t first_value = 0;  // where its first member value stands in a simulation's group_input_values

  // How many combinations one step of a member lasts.
  std::int64_t stride(std::size_t member) const {
    std::int64_t stride = 1;
    for (std::size_t m = member + 1; m < steps.size(); ++m) stride *= steps[m];
    return stride;
  }
};

// What calculated the run, and how far its results were compared with those of others.
struct Calculation {
  std::string engine;
  std::string because;  // what the usual engine could not calculate; empty for nothing
  std::string now;      // the moment that the model's clock stood at; empty: it reads none
  // Of cells that the workbook has stored values of, before anything was changed.
  std::int64_t stored_compared = 0, stored_differ = 0;
  std::string stored_first;  // the first that differs, for people
  // Of recalculations that another engine made, too. Every output of each was compared bit by bit.
  std::string verified_by;  // that engine; empty for none
  std::int64_t verified = 0, verified_differ = 0;
  std::string verified_first;  // the first result that differs; without an engine, why there is none

  void forget_stored() {
    stored_compared = stored_differ = 0;
    stored_first.clear();
  }
};

// Results that are texts and no numbers, by their places among the results.
using TextsOfResults = std::map<std::size_t, std::string>;

// How a run is read.
struct ReadOptions {
  bool keeps_texts = false;  // of results that are texts
  // Called now and then: of this table so many bytes are read. What it throws ends the reading.
  std::function<void(const std::filesystem::path& table, std::int64_t read, std::int64_t of)> progress = {};
};

// Values are kept as the engine hands them out: numbers; NaN for an empty field; encoded errors
// (runfile/values.h).
struct Run {
  std::filesystem::path file;
  std::vector<std::filesystem::path> tables;  // files that its recalculations are read from
  std::int32_t simulations = 1;
  std::int32_t sampling_type = 0;
  std::vector<Input> inputs;
  std::vector<Output> outputs;
  std::int64_t recalculations = 0;  // of one simulation: the sum of the inputs' steps
  // [simulation][recalculation], recalculations in the order input 1's steps, input 2's steps, …
  StoredValues input_values;
  // [simulation][output][recalculation]
  StoredValues output_values;

  // Multi-way recalculations, which follow the ones above: the groups in order, each one's combinations.
  std::vector<Group> groups;
  std::int64_t group_recalculations = 0;  // of one simulation
  std::size_t group_values = 0;           // member values of one simulation
  // [simulation][recalculation][member]: rows as long as the recalculation's group has members
  StoredValues group_input_values;
  // [simulation][output][recalculation]
  StoredValues group_output_values;

  std::optional<Calculation> calculation;

  // What the texts among the results say, for those who ask the reader for it: places in output_values and
  // group_output_values.
  TextsOfResults texts, group_texts;
  ReadOptions reading;  // while it is read

  std::size_t input_value_index(std::int32_t simulation, std::int64_t recalculation) const {
    return static_cast<std::size_t>(simulation * recalculations + recalculation);
  }
  std::size_t output_value_index(std::int32_t simulation, std::size_t output,
                                 std::int64_t recalculation) const {
    return (static_cast<std::size_t>(simulation) * outputs.size() + output) *
               static_cast<std::size_t>(recalculations) +
           static_cast<std::size_t>(recalculation);
  }
  std::size_t group_value_index(std::int32_t simulation, const Group& group, std::int64_t combination,
                                std::size_t member) const {
    return static_cast<std::size_t>(simulation) * group_values + group.first_value +
           static_cast<std::size_t>(combination) * group.members.size() + member;
  }
  std::size_t group_output_index(std::int32_t simulation, std::size_t output,
                                 std::int64_t recalculation) const {
    return (static_cast<std::size_t>(simulation) * outputs.size() + output) *
               static_cast<std::size_t>(group_recalculations) +
           static_cast<std::size_t>(recalculation);
  }
};

// Reads and verifies a run file and its tables. Throws BadRun.
Run read_run(const std::filesystem::path& file, const ReadOptions& options = {});

}  // namespace ordvane::runfile
