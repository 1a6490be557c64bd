#include "runfile/write_run.h"

#include <array>
#include <charconv>
#include <cmath>

#include "runfile/description.h"
#include "text/edit.h"

namespace ordvane::runfile {
namespace {

template <class Number>
void append_digits(std::string& out, const Number& number, auto... format) {
  std::array<char, 400> digits{};
  const auto written = std::to_chars(digits.data(), digits.data() + digits.size(), number, format...);
  out.append(digits.data(), written.ptr);
}

Json item_json(const Item& item) {
  Json json;
  if (!item.name.empty()) json["name"] = item.name;
  json["book"] = item.book;
  json["sheet"] = item.sheet;
  json["cell"] = item.cell;
  if (!item.range.empty() && item.range != item.cell) json["range"] = item.range;
  if (!item.formula.empty()) json["formula"] = item.formula;
  if (!item.function.empty()) json["function"] = item.function;
  json["base"] = item.base ? number_json(*item.base) : Json(nullptr);
  if (item.number_format != "General") json["numberFormat"] = item.number_format;
  if (item.date) json["date"] = true;
  if (!item.locked) json["locked"] = false;
  for (const LabelCell& label : item.labels)
    json["labels"].push_back(Json{{"cell", label.cell}, {"text", label.text}});
  if (!item.default_name.empty()) json["defaultName"] = item.default_name;
  return json;
}

Json groups_json(const Run& run, bool all_groups) {
  if (all_groups)
    return {{"size", run.groups.front().members.size()}, {"steps", run.groups.front().steps.front()}};
  Json groups = Json::array();
  for (const Group& group : run.groups) {
    Json& json = groups.emplace_back();
    for (const std::size_t member : group.members) json["members"].push_back(member + 1);
    json["steps"] = group.steps;
  }
  return groups;
}

// Lists of objects have one on each line.
std::string field_text(const Json& value) {
  const bool is_list =
      value.is_array() && !value.empty() && (value.front().is_array() || value.front().is_object());
  if (!is_list) return value.dump();
  std::string text = "[";
  for (const Json& element : value) text += (text.size() > 1 ? ",\n  " : "\n  ") + element.dump();
  return text + "\n ]";
}

std::string results_header(std::string header, std::size_t outputs) {
  for (std::size_t output = 1; output <= outputs; ++output) header += ",output" + std::to_string(output);
  return header + "\n";
}

bool reads_as_number(std::string_view text) {
  text = text::trimmed(text, " \t\r\n");
  if (text.starts_with('+')) text.remove_prefix(1);
  double number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return !text.empty() && error != std::errc::invalid_argument && stop == text.data() + text.size();
}

}  // namespace

Json number_json(double number) {
  constexpr double kExact = 9007199254740992.0;  // whole numbers up to here are themselves
  if (number == std::floor(number) && std::fabs(number) < kExact) return static_cast<std::int64_t>(number);
  return number;
}

Json calculation_json(const Calculation& calculation) {
  Json json{{"engine", calculation.engine}};
  const auto add_text = [&](const char* name, const std::string& text) {
    if (!text.empty()) json[name] = text;
  };
  add_text("because", calculation.because);
  add_text("now", calculation.now);
  json["storedCompared"] = calculation.stored_compared;
  json["storedDiffer"] = calculation.stored_differ;
  add_text("storedFirst", calculation.stored_first);
  add_text("verifiedBy", calculation.verified_by);
  json["verified"] = calculation.verified;
  json["verifiedDiffer"] = calculation.verified_differ;
  add_text("verifiedFirst", calculation.verified_first);
  return json;
}

Json break_evens_json(const std::vector<BreakEven>& points) {
  Json json = Json::array();
  for (const BreakEven& point : points)
    json.push_back({{"input", point.input + 1},
                    {"value", number_json(point.value)},
                    {"result", point.result ? number_json(*point.result) : Json(nullptr)}});
  return json;
}

Json description_of(const Run& run, bool all_groups) {
  Json json{{"format", kFormat}, {"version", kVersion}, {"simulations", run.simulations}};
  if (run.sampling_type != 0) json["samplingType"] = run.sampling_type;
  if (run.calculation) json["calculation"] = calculation_json(*run.calculation);
  for (const Input& input : run.inputs) {
    Json item = item_json(input);
    item["steps"] = input.steps;
    if (!input.saved_samples) item["savedSamples"] = false;
    if (input.low) item["low"] = number_json(*input.low);
    if (input.high) item["high"] = number_json(*input.high);
    json["inputs"].push_back(std::move(item));
  }
  for (const Output& output : run.outputs) {
    Json item = item_json(output);
    if (!output.range_name.empty()) {
      item["rangeName"] = output.range_name;
      item["rangeIndex"] = output.range_index;
    }
    if (output.target) item["target"] = number_json(*output.target);
    if (output.break_even) item["breakEven"] = break_evens_json(*output.break_even);
    json["outputs"].push_back(std::move(item));
  }
  if (!run.groups.empty()) json["groups"] = groups_json(run, all_groups);
  return json;
}

std::string run_text(Json description, const std::string& rows, const std::string& groups) {
  description["recalculations"] = rows;
  if (!groups.empty()) description["groupRecalculations"] = groups;
  std::string text = "{";
  for (const auto& [name, value] : description.items())
    text += (text.size() > 1 ? ",\n " : "\n ") + Json(name).dump() + ": " + field_text(value);
  return text + "\n}\n";
}

std::string rows_header(std::size_t outputs) {
  return results_header("simulation,input,step,value", outputs);
}

std::string group_rows_header(std::size_t members, std::size_t outputs) {
  std::string header = "simulation,group,combination";
  for (std::size_t member = 1; member <= members; ++member) header += ",value" + std::to_string(member);
  return results_header(header, outputs);
}

void append_field(std::string& row, std::int64_t position) {
  row += ',';
  append_digits(row, position);
}

void append_field(std::string& row, double number) {
  row += ',';
  const double size = std::fabs(number);
  if (size == 0)
    row += '0';
  else if (size >= 1e-5 && size < 1e16)
    append_digits(row, number, std::chars_format::fixed);
  else
    append_digits(row, number, std::chars_format::scientific);
}

void append_field(std::string& row, std::string_view text) {
  row += ',';
  const bool guarded = reads_as_number(text);
  const bool quoted = text.find_first_of(",\"\r\n") != std::string_view::npos ||
                      text::trimmed(text, " \t").size() != text.size();
  if (quoted) row += '"';
  if (guarded) row += '\'';
  for (const char character : text) {
    if (character == '"') row += '"';
    row += character;
  }
  if (quoted) row += '"';
}

}  // namespace ordvane::runfile
