// Runs as programs see them, to and from the run file's own.
#include "ordvane/run.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "embedded/find_outputs.h"
#include "library/errors.h"
#include "library/run_data.h"
#include "runfile/arrays.h"
#include "runfile/describe.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane {
namespace {

using library::RunAccess;
using library::RunData;
using runfile::Json;

// --- into a description -------------------------------------------------------------------------

void add_text(Json& object, const char* field, const std::string& text) {
  if (!text.empty()) object[field] = text;
}

void add_number(Json& object, const char* field, const std::optional<double>& number) {
  if (number) object[field] = *number;
}

// Only what is not the field's default: what a field must not be next to another one then does not matter.
Json item_json(const Item& item) {
  Json json = Json::object();
  add_text(json, "name", item.name);
  add_text(json, "book", item.book);
  add_text(json, "sheet", item.sheet);
  add_text(json, "cell", item.cell);
  json["base"] = item.base && !std::isnan(*item.base) ? Json(*item.base) : Json(nullptr);
  add_text(json, "formula", item.formula);
  add_text(json, "function", item.function);
  add_text(json, "range", item.range);
  json["numberFormat"] = item.number_format;
  json["date"] = item.date;
  json["locked"] = item.locked;
  for (const Label& label : item.labels)
    json["labels"].push_back({{"cell", label.cell}, {"text", label.text}});
  add_text(json, "defaultName", item.default_name);
  return json;
}

Json input_json(const Input& input) {
  Json json = item_json(input);
  json["steps"] = input.steps;
  json["savedSamples"] = input.saved_samples;
  if (input.automatic) json["automatic"] = true;
  add_number(json, "low", input.low);
  add_number(json, "high", input.high);
  return json;
}

Json output_json(const Output& output) {
  Json json = item_json(output);
  add_text(json, "rangeName", output.range_name);
  if (output.range_index != 0) json["rangeIndex"] = output.range_index;
  return json;
}

Json group_json(const Group& group) {
  Json members = Json::array();
  for (const std::size_t member : group.members) members.push_back(member + 1);
  return {{"members", members}, {"steps", group.steps}};
}

template <class Items, class ToJson>
Json list_json(const Items& items, const ToJson& to_json) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(to_json(item));
  return list;
}

Json description_json(const RunDescription& description) {
  Json json{{"simulations", description.simulations},
            {"samplingType", description.sampling_type},
            {"inputs", list_json(description.inputs, input_json)},
            {"outputs", list_json(description.outputs, output_json)}};
  if (!description.groups.empty()) json["groups"] = list_json(description.groups, group_json);
  return json;
}

// --- out of a run -------------------------------------------------------------------------------

Item item_of(const runfile::Item& from) {
  Item item;
  item.name = from.name;
  item.book = from.book;
  item.sheet = from.sheet;
  item.cell = from.cell;
  item.base = from.base;
  item.formula = from.formula;
  item.function = from.function;
  item.range = from.range;
  item.number_format = from.number_format;
  item.date = from.date;
  item.locked = from.locked;
  for (const runfile::LabelCell& label : from.labels) item.labels.push_back({label.cell, label.text});
  item.default_name = from.default_name;
  return item;
}

Run run_of(runfile::Run read) {
  auto data = std::make_shared<RunData>();
  for (const runfile::Input& input : read.inputs)
    data->inputs.push_back(
        {item_of(input), input.steps, input.saved_samples, input.automatic, input.low, input.high});
  for (const runfile::Output& output : read.outputs)
    data->outputs.push_back({item_of(output), output.range_name, output.range_index});
  for (const runfile::Group& group : read.groups) data->groups.push_back({group.members, group.steps});
  data->run = std::make_shared<const runfile::Run>(std::move(read));
  return RunAccess::make(std::move(data));
}

// As TextResult is the same there, the spans are the only thing to carry over.
template <class Description>
Run made(const Description& description, const RunArrays& arrays) {
  std::vector<runfile::TextResult> texts, group_texts;
  for (const TextResult& text : arrays.texts) texts.push_back({text.at, text.text});
  for (const TextResult& text : arrays.group_texts) group_texts.push_back({text.at, text.text});
  return run_of(runfile::make_run(description, {arrays.values, arrays.results, arrays.group_values,
                                                arrays.group_results, texts, group_texts}));
}

// "Profit (Plan!C9), Tax (Plan!C10)"
std::string listed(const runfile::Run& run, const std::vector<std::int32_t>& positions) {
  constexpr std::size_t kMost = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(kMost, positions.size()); ++i)
    text += (text.empty() ? "" : ", ") +
            text::one_line(embedded::described(run.outputs[static_cast<std::size_t>(positions[i])]));
  if (positions.size() > kMost) text += " and " + std::to_string(positions.size() - kMost) + " more";
  return text;
}

}  // namespace

std::vector<std::int32_t> library::positions_of(const std::vector<std::size_t>& outputs,
                                                const runfile::Run& run) {
  std::vector<std::int32_t> positions;
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (outputs[i] >= run.outputs.size())
      throw Error(ErrorCode::kInvalidArgument, "outputs[" + std::to_string(i) + "]: is " +
                                                   std::to_string(outputs[i]) +
                                                   "; a position of an output, 0 to " +
                                                   std::to_string(run.outputs.size() - 1) + ", is expected");
    positions.push_back(static_cast<std::int32_t>(outputs[i]));
  }
  return positions;
}

Run Run::read(const std::filesystem::path& file) {
  return library::translating_errors([&] { return run_of(runfile::read_run(file)); });
}

Run Run::from_arrays(const RunDescription& description, const RunArrays& arrays) {
  return library::translating_errors([&] { return made(description_json(description), arrays); });
}

Run Run::from_arrays(std::string_view description, const RunArrays& arrays) {
  return library::translating_errors([&] { return made(description, arrays); });
}

std::int32_t Run::simulations() const noexcept {
  return data_->run->simulations;
}

const std::vector<Input>& Run::inputs() const noexcept {
  return data_->inputs;
}

const std::vector<Output>& Run::outputs() const noexcept {
  return data_->outputs;
}

const std::vector<Group>& Run::groups() const noexcept {
  return data_->groups;
}

std::size_t Run::recalculations() const noexcept {
  return static_cast<std::size_t>(data_->run->recalculations + data_->run->group_recalculations);
}

std::size_t Run::find_output(std::string_view name_or_cell) const {
  return library::translating_errors([&] {
    const runfile::Run& run = *data_->run;
    const std::string wanted(name_or_cell);
    std::vector<std::int32_t> found = embedded::outputs_named(run, wanted);
    if (found.size() == 1) return static_cast<std::size_t>(found.front());
    std::string problem = text::quoted_text(wanted);
    if (found.empty()) {
      found.resize(run.outputs.size());
      std::iota(found.begin(), found.end(), 0);
      problem += " is no output of the run; its outputs are ";
    } else {
      problem += " names more than one output; these are ";
    }
    throw Error(ErrorCode::kInvalidArgument, problem + listed(run, found));
  });
}

std::string Run::describe() const {
  return library::translating_errors([&] { return runfile::describe(*data_->run); });
}

}  // namespace ordvane
