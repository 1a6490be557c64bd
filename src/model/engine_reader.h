// The engine, asked for what the model needs of it: results instead of arguments by reference, and refusals
// that tell about one item as errors. What was said of one item never passes for another's.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::model {

// Of one simulation.
struct RecalculationCounts {
  std::int32_t varied_inputs = 0, standard = 0, multi_way = 0;
};

struct ItemCounts {
  std::int32_t inputs = 0, outputs = 0;
  std::int32_t listed_inputs = 0;  // of them, those whose values were kept: the length of the ordered list
  std::int32_t status = 0;         // the engine's word on inputs and outputs
};

struct SimulationCounts {
  std::int32_t simulations = 0, recalculations = 0;  // recalculations of all of one, multi-way ones too
};

// What the engine tells about one item of its ordered lists; the fields are those of engine/engine.h.
struct ItemInfo {
  std::string name, alternative_name, formula;
  std::int32_t function_start = 0, function_stop = 0;
  std::int16_t use_default_name = 0;
  std::int32_t book_index = 0, sheet_index = 0, cell_index = 0, formula_index = 0;
  std::int16_t in_cell_index = 0, is_locked = 0;
  // Inputs.
  std::int16_t is_multi = 0, range_type = 0, dist_for_range = 0;
  double min_change = 0, max_change = 0;
  // Outputs.
  std::int16_t date_flag = 0;
  std::string output_range_name;
  std::int32_t output_range_index = 0, output_index = 0;
};

// Where it is; addresses as the engine writes them, with "$".
struct ItemLocation {
  std::string book, sheet, cell, range;
};

// Members of multi-way recalculations and the steps that they were at: rows of `most_members` each.
struct GroupRows {
  std::vector<std::int32_t> members, steps;
};

// A refusal throws errc::kInvalidProcedureCall, 'CALL refused ITEM (status N)', where nothing else is said.
class EngineReader {
 public:
  explicit EngineReader(const session::Session& session) : session_(session) {}

  // Counts that the engine does not tell are 0, or what is `known`.
  ItemCounts counts() const;
  SimulationCounts simulations() const;
  RecalculationCounts recalculations(std::int32_t inputs, RecalculationCounts known = {}) const;
  // Of each input of the ordered list.
  std::vector<std::int16_t> steps(std::int32_t inputs) const;

  // `index`: zero-based place in the list of this kind (engine::kInput, engine::kOutput).
  ItemInfo item(std::int32_t kind, std::int32_t index) const;
  ItemLocation location(std::int32_t kind, std::int32_t index, const ItemInfo& item) const;

  // Fills `values` with what the engine stored of the item, one recalculation an element, from the zero-based
  // recalculation `first` of the one-based run on. What the engine does not write is NaN. A refusal names the
  // item: 'input "Price (B5)"'.
  void values(std::int32_t kind, const DralInputOutput& item, std::int32_t run, std::int32_t first,
              std::span<double> values) const;

  // Of `count` multi-way recalculations from the zero-based `first` among them on. Returns the status, which
  // says no where there are none or a group has more members than a row holds; `rows` is then of no use.
  std::int32_t group_rows(std::int32_t first, std::int32_t count, std::int32_t most_members,
                          GroupRows& rows) const;

 private:
  const session::Session& session_;
};

}  // namespace ordvane::model
