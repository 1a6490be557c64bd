#include "sweep/suggest.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

#include "calc/address.h"
#include "office/number_format.h"
#include "runfile/json_file.h"
#include "runfile/write_run.h"
#include "sweep/find_inputs.h"
#include "sweep/find_outputs.h"
#include "sweep/labels.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

using runfile::BadRun;
using runfile::Json;

// --- cells ------------------------------------------------------------------------------------------------

std::map<calc::CellId, std::string> names_by_cell(const calc::Model& model) {
  std::map<calc::CellId, std::string> names;
  for (const calc::DefinedName& name : model.workbook().names)
    if (name.sheet < 0 && !name.name.starts_with("_xlnm."))
      if (const calc::CellId cell = model.named_cell(name.name); cell != calc::kNoCell)
        names.emplace(cell, name.name);
  return names;
}

class Writer {
 public:
  explicit Writer(const calc::Model& model) : model_(model), names_(names_by_cell(model)) {}

  Wanted wanted(calc::CellId id, const std::string& name) const {
    const calc::Cell& cell = cell_of(id);
    Wanted wanted;
    wanted.sheet = model_.workbook().sheets[static_cast<std::size_t>(cell.sheet)].name;
    wanted.cell = calc::cell_name(cell.row, cell.column);
    wanted.name = name;
    if (const auto defined = names_.find(id); defined != names_.end()) wanted.defined_name = defined->second;
    const calc::Value base = model_.base(id);
    if (base.is_number()) wanted.base = base.number();
    return wanted;
  }
  // The text beside; what several would have is made longer.
  std::vector<std::string> names(const std::vector<calc::CellId>& cells) const {
    std::vector<std::string> names;
    names.reserve(cells.size());
    for (const calc::CellId cell : cells) {
      const auto defined = names_.find(cell);
      names.push_back(label_of(model_, cell));
      if (names.back().empty() && defined != names_.end()) names.back() = defined->second;
    }
    lengthen(names, [&](std::size_t i) { return long_label_of(model_, cells[i]); });
    lengthen(names, [&](std::size_t i) { return names[i] + " (" + wanted(cells[i], "").cell + ")"; });
    lengthen(names, [&](std::size_t i) { return model_.workbook().address(cells[i]); });
    return names;
  }
  Suggestion::Item item(calc::CellId cell, const std::string& name) const {
    const Wanted place = wanted(cell, name);
    return {place.sheet + "!" + place.cell, place.defined_name, name, value_text(cell)};
  }

 private:
  const calc::Cell& cell_of(calc::CellId id) const {
    return model_.workbook().cells[static_cast<std::size_t>(id)];
  }

  static void lengthen(std::vector<std::string>& names, const auto& longer) {
    std::map<std::string, int> count;
    for (const std::string& name : names) ++count[name];
    std::vector<std::string> result = names;
    for (std::size_t i = 0; i < names.size(); ++i)
      if (count[names[i]] > 1 || names[i].empty()) result[i] = longer(i);
    names = std::move(result);
  }

  std::string value_text(calc::CellId id) const {
    const calc::Value value = model_.base(id);
    if (!value.is_number()) return shown({std::nan(""), value.is_text() ? value.text() : ""});
    const std::string& format = model_.workbook().formats[static_cast<std::size_t>(cell_of(id).format)];
    return std::string(text::trimmed(office::displayed_text(host::CellValue(value.number()), format)));
  }

  const calc::Model& model_;
  std::map<calc::CellId, std::string> names_;
};

// --- the suggestion ---------------------------------------------------------------------------------------

std::vector<calc::CellId> proposed_cells(const calc::Model& model, const Job& job) {
  const std::vector<calc::CellId> cells = find_outputs(model, kMostFoundOutputs);
  if (cells.empty())
    throw BadRun(job.workbook.string(), "",
                 "has no cell to look at: no formula shows a number with a text beside it that no other "
                 "formula reads; name one with --output");
  return cells;
}

std::vector<Suggestion::Item> items_of(const Writer& writer, const std::vector<calc::CellId>& cells) {
  std::vector<Suggestion::Item> items;
  const std::vector<std::string> names = writer.names(cells);
  for (std::size_t i = 0; i < cells.size(); ++i) items.push_back(writer.item(cells[i], names[i]));
  return items;
}

void set_outputs(const calc::Model& model, const std::vector<calc::CellId>& cells, Suggestion& suggestion) {
  const Writer writer(model);
  suggestion.outputs = items_of(writer, cells);
  std::vector<WantedOutput>& wanted = suggestion.what_if.outputs;
  wanted.resize(cells.size());
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (!wanted[i].name.empty()) suggestion.outputs[i].name = wanted[i].name;
    static_cast<Wanted&>(wanted[i]) = writer.wanted(cells[i], suggestion.outputs[i].name);
  }
}

// Those that the job names, or else those that are proposed.
Plan outputs_of(calc::Model& model, const Job& job, Suggestion& suggestion) {
  const std::string book = job.workbook.filename().string();
  WhatIf outputs;
  outputs.outputs = job.what_if.outputs;
  std::vector<calc::CellId> cells;
  if (outputs.outputs.empty())
    cells = proposed_cells(model, job);
  else
    cells = output_cells(make_plan(outputs, model, book));
  set_outputs(model, cells, suggestion);
  outputs.outputs = suggestion.what_if.outputs;
  return make_plan(outputs, model, book);
}

WantedInput wanted_input(const Wanted& wanted, const Candidate& candidate) {
  WantedInput input{wanted, {}, {}, {}, {}, {}};
  switch (candidate.kind) {
    case Candidate::Kind::kPercent:
      input.percent = {-kFoundPercent, kFoundPercent};
      break;
    case Candidate::Kind::kRange:
      input.low = Bound{candidate.values.front()};
      input.high = Bound{candidate.values.back()};
      break;
    case Candidate::Kind::kValues:
      input.values = candidate.values;
  }
  return input;
}

void sort_left_out(const calc::Model& model, const Writer& writer, const std::vector<LeftOut>& left_out,
                   Suggestion& suggestion) {
  for (const LeftOut& one : left_out) {
    auto& reasons = suggestion.left_out;
    auto reason = std::find_if(reasons.begin(), reasons.end(),
                               [&](const auto& known) { return known.first == one.why; });
    if (reason == reasons.end()) reason = reasons.insert(reasons.end(), {one.why, {}});
    reason->second.push_back(writer.item(one.cell, label_of(model, one.cell)));
  }
}

std::string place_of(const runfile::Item& item) {
  return item.sheet + "!" + item.cell;
}

void suggest_inputs(const calc::Model& model, const Plan& plan, const Job& job, Suggestion& suggestion) {
  for (const PlannedOutput& output : plan.outputs)
    if (!model.has_formula(output.cell))
      throw BadRun("--output", "", place_of(output.item) + " has no formula, so that nothing can move it");
  FoundInputs found = find_inputs(model, plan, job);
  const Writer writer(model);
  sort_left_out(model, writer, found.left_out, suggestion);
  suggestion.moving = static_cast<std::int64_t>(found.ranked.size());
  if (found.ranked.empty())
    throw BadRun("--output", "",
                 place_of(plan.outputs.front().item) +
                     " is moved by no number of the workbook that can be found; name inputs with --input");
  found.ranked.resize(std::min(found.ranked.size(), kMostFoundInputs));
  std::vector<calc::CellId> cells;
  for (const FoundInput& input : found.ranked) cells.push_back(input.candidate.cell);
  suggestion.inputs = items_of(writer, cells);
  for (std::size_t i = 0; i < cells.size(); ++i)
    suggestion.what_if.inputs.push_back(
        wanted_input(writer.wanted(cells[i], suggestion.inputs[i].name), found.ranked[i].candidate));
}

// --- the file ---------------------------------------------------------------------------------------------

std::string number_text(double number) {
  return runfile::number_json(number).dump();
}

std::string list_text(const std::vector<double>& numbers) {
  std::string list = "[";
  for (const double number : numbers) list += (list.size() > 1 ? ", " : "") + number_text(number);
  return list + "]";
}

std::string range_text(const WantedInput& input) {
  if (input.percent) return R"(, "percent": )" + list_text({input.percent->first, input.percent->second});
  if (input.low)
    return R"(, "low": )" + number_text(input.low->value) + R"(, "high": )" + number_text(input.high->value);
  return R"(, "values": )" + list_text(input.values);
}

void add_item(std::string& text, const Wanted& item, const std::string& values) {
  const auto quoted = [](const std::string& field) { return Json(field).dump(); };
  if (!text.empty()) text += ",\n";
  if (item.defined_name.empty())
    text += R"(  {"sheet": )" + quoted(item.sheet) + R"(, "cell": )" + quoted(item.cell) + R"(, "name": )" +
            quoted(item.name);
  else
    text += R"(  {"name": )" + quoted(item.defined_name) + R"(, "label": )" + quoted(item.name);
  if (item.base) text += ", \"base\": " + number_text(*item.base);
  text += values + "}";
}

}  // namespace

Suggestion suggest(const Job& job, calc::Model& model) {
  if (job.phase) job.phase("inputs are looked for");
  Suggestion suggestion;
  suggestion.what_if = job.what_if;
  const Plan plan = outputs_of(model, job, suggestion);
  if (suggestion.what_if.inputs.empty()) suggest_inputs(model, plan, job, suggestion);
  return suggestion;
}

std::vector<Suggestion::Item> propose_outputs(const Job& job, const calc::Model& model) {
  return items_of(Writer(model), proposed_cells(model, job));
}

std::string what_if_text(const WhatIf& what_if) {
  std::string inputs, outputs;
  for (const WantedInput& input : what_if.inputs) add_item(inputs, input, range_text(input));
  for (const WantedOutput& output : what_if.outputs)
    add_item(outputs, output, output.target ? R"(, "target": )" + number_text(*output.target) : "");
  return "{\n \"format\": " + Json(kWhatIfFormat).dump() +
         ",\n \"version\": 1,\n \"steps\": " + std::to_string(what_if.steps) + ",\n \"inputs\": [\n" +
         inputs + "\n ],\n \"outputs\": [\n" + outputs + "\n ]\n}\n";
}

}  // namespace ordvane::sweep
