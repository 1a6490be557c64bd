#include "model/engine_reader.h"

#include <algorithm>
#include <limits>

namespace ordvane::model {
namespace {

void require_success(std::int32_t status, const char* call, const std::string& item) {
  if (engine::succeeded(status)) return;
  throw host::Error(host::errc::kInvalidProcedureCall, std::string(call) + " refused " + item + " (status " +
                                                           std::to_string(static_cast<std::int16_t>(status)) +
                                                           ")");
}

std::string kind_name(std::int32_t kind) {
  return kind == engine::kInput ? "input " : "output ";
}

// How a refusal names an item that is known by its place in the list alone: counted from 1.
std::string listed_item(std::int32_t kind, std::int32_t index) {
  return kind_name(kind) + std::to_string(index + 1);
}

}  // namespace

ItemCounts EngineReader::counts() const {
  ItemCounts counts;
  engine::Engine& engine = *session_.engine;
  counts.status = engine.DRL4_GetNumInputsAndOutputs(session_.hVars, 0, counts.inputs, counts.outputs);
  counts.listed_inputs = counts.inputs;
  engine.DRL4_GetNumInputsWithSavedSamples(session_.hVars, counts.listed_inputs);
  return counts;
}

SimulationCounts EngineReader::simulations() const {
  SimulationCounts counts;
  session_.engine->DRL4_GetSimStats(session_.hVars, counts.simulations, counts.recalculations);
  return counts;
}

RecalculationCounts EngineReader::recalculations(std::int32_t inputs, RecalculationCounts counts) const {
  std::vector<std::int32_t> list(2 * static_cast<std::size_t>(inputs));
  session_.engine->DRL4_GetVaryMultis(session_.hVars, list, counts.varied_inputs, counts.standard,
                                      counts.multi_way);
  return counts;
}

std::vector<std::int16_t> EngineReader::steps(std::int32_t inputs) const {
  std::vector<std::int16_t> steps(static_cast<std::size_t>(inputs));
  if (inputs > 0)
    require_success(session_.engine->DRL4_GetVaryCountList(session_.hVars, steps, inputs),
                    "DRL4_GetVaryCountList", "the steps of " + std::to_string(inputs) + " inputs");
  return steps;
}

ItemInfo EngineReader::item(std::int32_t kind, std::int32_t index) const {
  engine::Engine& engine = *session_.engine;
  ItemInfo i;
  if (kind == engine::kInput) {
    require_success(engine.DRL7_GetOrderedInputInfoVB(
                        session_.hVars, session_.session_flag, index, i.name, i.alternative_name, i.formula,
                        i.function_start, i.function_stop, i.use_default_name, i.book_index, i.sheet_index,
                        i.cell_index, i.formula_index, i.in_cell_index, i.is_locked, i.is_multi, i.range_type,
                        i.min_change, i.max_change, i.dist_for_range),
                    "DRL7_GetOrderedInputInfoVB", listed_item(kind, index));
  } else {
    require_success(engine.DRL7_GetOrderedOutputInfoVB(
                        session_.hVars, session_.session_flag, index, i.name, i.alternative_name, i.formula,
                        i.function_start, i.function_stop, i.use_default_name, i.book_index, i.sheet_index,
                        i.cell_index, i.formula_index, i.in_cell_index, i.is_locked, i.date_flag,
                        i.output_range_name, i.output_range_index, i.output_index),
                    "DRL7_GetOrderedOutputInfoVB", listed_item(kind, index));
  }
  return i;
}

ItemLocation EngineReader::location(std::int32_t kind, std::int32_t index, const ItemInfo& item) const {
  engine::Engine& engine = *session_.engine;
  const std::int32_t variables = session_.hVars;
  const std::int16_t flag = session_.session_flag;
  const std::string name = listed_item(kind, index);
  std::int32_t sheets_in_book = 0, items_in_cell = 0;
  ItemLocation location;
  require_success(engine.DRL7_GetCellWithInputOrOutputVB(
                      variables, flag, kind, item.book_index, item.sheet_index, item.cell_index,
                      item.formula_index, item.in_cell_index, location.cell, location.range, items_in_cell),
                  "DRL7_GetCellWithInputOrOutputVB", name);
  require_success(engine.DRL7_GetWorkbookWithInputOrOutputVB(variables, flag, kind, item.book_index,
                                                             sheets_in_book, location.book),
                  "DRL7_GetWorkbookWithInputOrOutputVB", name);
  require_success(engine.DRL7_GetSheetWithInputOrOutputVB(variables, flag, kind, item.book_index,
                                                          item.sheet_index, location.sheet),
                  "DRL7_GetSheetWithInputOrOutputVB", name);
  return location;
}

void EngineReader::values(std::int32_t kind, const DralInputOutput& item, std::int32_t run,
                          std::int32_t first, std::span<double> values) const {
  if (values.empty()) return;
  std::ranges::fill(values, std::numeric_limits<double>::quiet_NaN());
  const std::int32_t last = first + static_cast<std::int32_t>(values.size()) - 1;
  const std::int32_t status = session_.engine->DRL4_GetDoubleInputOrOutputData(
      session_.hVars, kind, item.ioIndex, run - 1, first, last, values, 1);
  const std::string& name = item.QualifiedName();
  require_success(status, "DRL4_GetDoubleInputOrOutputData",
                  kind_name(kind) + "\"" + (name.empty() ? item.cellAddress : name) + "\"");
}

std::int32_t EngineReader::group_rows(std::int32_t first, std::int32_t count, std::int32_t most_members,
                                      GroupRows& rows) const {
  const auto cells = static_cast<std::size_t>(count) * static_cast<std::size_t>(most_members);
  rows.members.assign(cells, 0);
  rows.steps.assign(cells, 0);
  return session_.engine->DRL4_GetUsedVaryMultis(session_.hVars, first, count, rows.members, most_members,
                                                 most_members, rows.steps);
}

}  // namespace ordvane::model
