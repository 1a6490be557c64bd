/// @file
/// Recorded what-if runs: the inputs of a model were stepped through values, one at a time or in groups, and
/// the outputs were recorded at every step.
///
/// A Run is read from a run file or made from a program's arrays; either way it is verified whole. The fields
/// are those of a run file and mean the same: docs/run-file.md. Positions count from 0; simulations, which
/// people see by number, count from 1. Texts are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ordvane/error.h"
#include "ordvane/export.h"

namespace ordvane {

/// A text in a cell beside an item.
struct Label {
  std::string cell;  ///< on the sheet of the item
  std::string text;  ///< what stands there
};

/// What inputs and outputs have in common. Only `base` has to be thought of: a run from arrays makes up what
/// is empty.
struct Item {
  std::string name;                       ///< of its own; empty: it goes by labels, default_name or its cell
  std::string book;                       ///< workbook that it stands in; made up: "Model"
  std::string sheet;                      ///< its sheet; made up: "Inputs" or "Outputs"
  std::string cell;                       ///< its cell; made up: A1, A2 ... by its position
  std::optional<double> base;             ///< the value before the run; none when it is no number
  std::string formula;                    ///< what the cell holds; made up: the base
  std::string function;                   ///< the part of the formula that is its own; empty: all of it
  std::string range;                      ///< the cells that it spans; made up: its cell
  std::string number_format = "General";  ///< of the cell
  bool date = false;                      ///< the cell shows a date
  bool locked = true;                     ///< the cell is locked
  std::vector<Label> labels;              ///< an item without a name goes by these
  std::string default_name;               ///< and one without labels by this
};

/// A cell that was stepped through values.
struct Input : Item {
  std::int32_t steps = 0;      ///< how many values it took
  bool saved_samples = true;   ///< false: the values were not kept; reports leave the input out
  bool automatic = false;      ///< varied by the add-in on its own initiative
  std::optional<double> low;   ///< where its range of variation begins; none: at its lowest value
  std::optional<double> high;  ///< where its range of variation ends; none: at its highest value
};

/// A cell that was recorded.
struct Output : Item {
  std::string range_name;        ///< the range of outputs that it belongs to
  std::int32_t range_index = 0;  ///< its place there, from 1; 0 for none
};

/// Inputs varied together: every combination of the members' steps was recalculated, the last member's step
/// changing fastest.
struct Group {
  std::vector<std::size_t> members;  ///< positions of inputs
  std::vector<std::int32_t> steps;   ///< how many values each of them took
};

/// A run without its values.
struct RunDescription {
  std::int32_t simulations = 1;    ///< how often all recalculations were made
  std::int32_t sampling_type = 0;  ///< as the engine numbers them
  std::vector<Input> inputs;       ///< at least one
  std::vector<Output> outputs;     ///< at least one
  std::vector<Group> groups;       ///< of inputs varied together
};

/// A result that is no number: a text, or a spreadsheet error such as "#N/A". It stands in the place of the
/// number.
struct TextResult {
  std::size_t at = 0;  ///< position in the array of results
  std::string text;    ///< what stands there
};

/// The values of a run, which are copied. The index on the right runs fastest. NaN stands for no value.
struct RunArrays {
  std::span<const double> values;           ///< what inputs were set to: [simulation][input][step]
  std::span<const double> results;          ///< what outputs showed: [simulation][input][step][output]
  std::span<const TextResult> texts;        ///< among the results
  std::span<const double> group_values;     ///< what members were set to: [simulation][group][member][step]
  std::span<const double> group_results;    ///< [simulation][group][combination][output]
  std::span<const TextResult> group_texts;  ///< among the results of the groups
};

namespace library {
struct RunData;
struct RunAccess;
}  // namespace library

/// A what-if run. It never changes and may be used by any number of threads at once; a copy is as cheap as a
/// pointer.
class ORDVANE_API Run {
 public:
  /// From a run file and what it refers to. Throws Error: kBadRun, kOutOfMemory.
  static Run read(const std::filesystem::path& file);

  /// From a program's arrays. Throws Error: kBadRun, with the name of the field or array as a run file calls
  /// it and "run" for the file's name; kOutOfMemory. Positions in such a message count as in a run file:
  /// elements of lists from 0, members of groups from 1.
  static Run from_arrays(const RunDescription& description, const RunArrays& arrays);
  /// The same, with the description as JSON: a run file without `recalculations` and `groupRecalculations`.
  /// `format`, `version`, `simulations` and the places of items may be left out too.
  static Run from_arrays(std::string_view description, const RunArrays& arrays);

  /// How often all recalculations were made.
  std::int32_t simulations() const noexcept;
  /// As given, with everything made up that was left out.
  const std::vector<Input>& inputs() const noexcept;
  /// As given, with everything made up that was left out.
  const std::vector<Output>& outputs() const noexcept;
  /// Of inputs varied together.
  const std::vector<Group>& groups() const noexcept;
  /// Of one simulation, with those of groups.
  std::size_t recalculations() const noexcept;

  /// Position of the output with this name or cell: "Profit", "C14", "Plan!C14", "[book.xlsx]Plan!C14".
  /// Throws Error kInvalidArgument, with what there is, unless it is exactly one.
  std::size_t find_output(std::string_view name_or_cell) const;

  /// What is in the run, in plain text for people.
  std::string describe() const;

 private:
  friend struct library::RunAccess;
  explicit Run(std::shared_ptr<const library::RunData> data) : data_(std::move(data)) {}

  std::shared_ptr<const library::RunData> data_;  ///< of one moved from: none; it can only be assigned to
};

}  // namespace ordvane
