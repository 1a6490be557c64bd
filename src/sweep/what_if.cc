#include "sweep/what_if.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <span>

#include "runfile/cell_address.h"
#include "runfile/json_file.h"
#include "runfile/known_fields.h"
#include "runfile/run.h"
#include "runfile/values.h"
#include "text/calendar.h"
#include "text/edit.h"
#include "unicode/names.h"

namespace ordvane::sweep {
namespace {

using runfile::BadRun;
using runfile::Json;
using runfile::JsonValue;

constexpr const char* kWhat = "a what-if definition";
constexpr std::int32_t kMostSteps = 32767;
constexpr std::int32_t kLargestGroup = 32;
constexpr std::int64_t kVersion = 1;
constexpr const char* kInputForms = "CELL=LOW..HIGH, CELL=+-P% or CELL=VALUE,VALUE";

template <class T>
struct Field {
  std::string_view name;
  bool required;
  void (*read)(const JsonValue& value, T& into);
};

template <class T, std::size_t... sizes>
void read_fields(const JsonValue& value, T& into, const Field<T> (&... tables)[sizes]) {
  value.expect_object();
  std::vector<runfile::KnownField> known;
  const auto add = [&](std::span<const Field<T>> table) {
    for (const Field<T>& field : table) known.push_back({field.name, field.required});
  };
  (add(tables), ...);
  runfile::refuse_unknown_fields(value, known);
  const auto read = [&](std::span<const Field<T>> table) {
    for (const Field<T>& field : table) {
      if (value.has(field.name))
        field.read(value.member(field.name), into);
      else if (field.required)
        value.fail("the field \"" + std::string(field.name) + "\" is missing");
    }
  };
  (read(tables), ...);
}

// --- values ---------------------------------------------------------------------------------------------

template <class Number>
bool take_number(std::string_view& text, Number& number) {
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return false;
  text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
  return true;
}

// "2026-04-01" as a day of the calendar that begins in 1900.
std::optional<double> day_of(std::string_view text) {
  const std::optional<text::Date> date = text::date_of_iso(text);
  const std::int64_t day = date ? text::Calendar().day(*date) : 0;
  if (day < text::kFirstOfMarch1900) return std::nullopt;
  return static_cast<double>(day);
}

Bound bound_of(const JsonValue& value) {
  if (!value.data().is_string()) return {value.number(), false};
  const std::optional<double> day = day_of(value.text());
  if (!day) value.fail_expecting("a number or a date such as \"2026-04-01\"");
  return {*day, true};
}

std::int32_t steps_of(const JsonValue& value) {
  return static_cast<std::int32_t>(value.integer(1, kMostSteps));
}

std::vector<double> values_of(const JsonValue& value) {
  value.expect_list("values");
  if (value.data().size() > static_cast<std::size_t>(kMostSteps))
    value.fail("has " + std::to_string(value.data().size()) + " elements; at most " +
               std::to_string(kMostSteps) + " are possible");
  std::vector<double> values;
  for (std::size_t i = 0; i < value.data().size(); ++i) values.push_back(value.element(i).number());
  return values;
}

std::pair<double, double> percent_of(const JsonValue& value) {
  if (!value.data().is_array() || value.data().size() != 2)
    value.fail_expecting("a list of two percentages such as [-10, 10]");
  const std::pair<double, double> ends{value.element(0).number(), value.element(1).number()};
  if (ends.first > ends.second)
    value.element(0).fail("is " + value.element(0).shown() + ", above the second");
  return ends;
}

// What the cell of an item was when the definition was made. Only numbers can be compared with.
std::optional<double> base_of(const JsonValue& value) {
  if (value.is_null() || value.data().is_string() || value.data().is_boolean()) return std::nullopt;
  return value.number();
}

// --- fields -----------------------------------------------------------------------------------------------

template <class T>
constexpr Field<T> kItemFields[] = {
    {"sheet", false, [](const JsonValue& v, T& item) { item.sheet = v.text(); }},
    {"cell", false, [](const JsonValue& v, T& item) { item.cell = v.text(); }},
    {"name", false, [](const JsonValue& v, T& item) { item.name = v.text(); }},
    {"label", false,
     [](const JsonValue& v, T& item) {
       if (item.name.empty()) item.name = v.text();
     }},
    {"base", false, [](const JsonValue& v, T& item) { item.base = base_of(v); }},
};

constexpr Field<WantedOutput> kOutputFields[] = {
    {"target", false, [](const JsonValue& v, WantedOutput& item) { item.target = v.number(); }},
};

constexpr Field<WantedInput> kInputFields[] = {
    {"low", false, [](const JsonValue& v, WantedInput& item) { item.low = bound_of(v); }},
    {"high", false, [](const JsonValue& v, WantedInput& item) { item.high = bound_of(v); }},
    {"percent", false, [](const JsonValue& v, WantedInput& item) { item.percent = percent_of(v); }},
    {"values", false, [](const JsonValue& v, WantedInput& item) { item.values = values_of(v); }},
    {"steps", false, [](const JsonValue& v, WantedInput& item) { item.steps = steps_of(v); }},
};

// An address with its sheet: "Prices!C3", "'My sheet'!C3". False for what is none.
bool take_address(const std::string& text, Wanted& item) {
  const std::size_t mark = text.rfind('!');
  std::string sheet = mark == std::string::npos ? "" : text.substr(0, mark);
  const auto cell = runfile::parse_cell(mark == std::string::npos ? text : text.substr(mark + 1));
  if (!cell || mark == 0) return false;
  if (sheet.size() >= 2 && sheet.front() == '\'' && sheet.back() == '\'') {
    sheet = sheet.substr(1, sheet.size() - 2);
    for (std::size_t at = 0; (at = sheet.find("''", at)) != std::string::npos; ++at) sheet.erase(at, 1);
  }
  item.sheet = sheet;
  item.cell = runfile::to_text(*cell);
  return true;
}

// The place of an item, from its fields.
void complete_item(const JsonValue& value, Wanted& item) {
  item.file = value.file();
  item.path = value.path();
  if (item.cell.empty()) {
    if (value.has("cell")) value.member("cell").fail_expecting("a cell such as C5 or Prices!C5");
    if (!value.has("name")) value.fail("the field \"cell\" is missing, and a \"name\" in its place, too");
    if (value.has("sheet")) value.member("sheet").fail("is there without the field \"cell\"");
    item.defined_name = std::exchange(item.name, value.has("label") ? value.member("label").text() : "");
    if (item.defined_name.empty()) value.member("name").fail("is empty; a name of the workbook is expected");
    return;
  }
  Wanted place;
  if (!take_address(item.cell, place)) value.member("cell").fail_expecting("a cell such as C5 or Prices!C5");
  if (value.has("sheet")) {
    if (!place.sheet.empty())
      value.member("cell").fail("is " + value.member("cell").shown() +
                                ", and the field \"sheet\" is there too");
    if (item.sheet.empty()) value.member("sheet").fail("is empty; a sheet's name is expected");
    place.sheet = item.sheet;
  }
  item.sheet = place.sheet;
  item.cell = place.cell;
}

void complete_range(const JsonValue& value, const WantedInput& input) {
  if (value.has("low") != value.has("high"))
    value.fail("the fields \"low\" and \"high\" are expected together");
  const int ways =
      (value.has("low") ? 1 : 0) + (value.has("percent") ? 1 : 0) + (value.has("values") ? 1 : 0);
  if (ways != 1)
    value.fail(std::string(ways == 0 ? "has no values" : "has its values in more than one way") +
               "; \"low\" and \"high\", or \"percent\", or \"values\" are expected");
  if (value.has("values") && value.has("steps"))
    value.member("steps").fail("is there with the field \"values\", which says how many there are");
  if (input.low && input.low->value > input.high->value)
    value.member("low").fail("is " + value.member("low").shown() + ", above the field \"high\", which is " +
                             value.member("high").shown());
}

// --- groups -----------------------------------------------------------------------------------------------

std::size_t member_of(const JsonValue& value, const std::vector<WantedInput>& inputs) {
  if (!value.data().is_string())
    return static_cast<std::size_t>(value.integer(1, static_cast<std::int64_t>(inputs.size())) - 1);
  const std::string wanted = value.text();
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < inputs.size(); ++i)
    if (inputs[i].name == wanted || inputs[i].defined_name == wanted) found.push_back(i);
  if (found.size() != 1)
    value.fail("is " + value.shown() + "; " + (found.empty() ? "no input has" : "several inputs have") +
               " this name, one is expected");
  return found.front();
}

struct GroupFields {
  std::optional<JsonValue> inputs, steps;
};

constexpr Field<GroupFields> kGroupFields[] = {
    {"inputs", true, [](const JsonValue& v, GroupFields& group) { group.inputs = v; }},
    {"steps", false, [](const JsonValue& v, GroupFields& group) { group.steps = v; }},
};

std::vector<std::int32_t> group_steps(const JsonValue& value, std::size_t members) {
  if (!value.data().is_array()) return std::vector<std::int32_t>(members, steps_of(value));
  if (value.data().size() != members)
    value.fail("has " + std::to_string(value.data().size()) + " elements for " + std::to_string(members) +
               " inputs; one each, or one number for all, is expected");
  std::vector<std::int32_t> steps;
  for (std::size_t i = 0; i < members; ++i) steps.push_back(steps_of(value.element(i)));
  return steps;
}

WantedGroup group_of(const JsonValue& value, const std::vector<WantedInput>& inputs) {
  GroupFields fields;
  read_fields(value, fields, kGroupFields);
  const JsonValue& list = *fields.inputs;
  list.expect_list("inputs, by name or by position from 1");
  if (list.data().size() < 2 || list.data().size() > static_cast<std::size_t>(kLargestGroup))
    list.fail("has " + std::to_string(list.data().size()) + " elements; 2 to " +
              std::to_string(kLargestGroup) + " are expected");
  WantedGroup group{value.file(), value.path(), {}, {}};
  for (std::size_t i = 0; i < list.data().size(); ++i) {
    const std::size_t member = member_of(list.element(i), inputs);
    if (std::find(group.members.begin(), group.members.end(), member) != group.members.end())
      list.element(i).fail("is " + list.element(i).shown() + ", which is a member already");
    group.members.push_back(member);
  }
  if (fields.steps) group.steps = group_steps(*fields.steps, group.members.size());
  return group;
}

using AllGroups = std::pair<std::int32_t, std::int32_t>;
constexpr Field<AllGroups> kAllGroupsFields[] = {
    {"size", true,
     [](const JsonValue& v, AllGroups& all) {
       all.first = static_cast<std::int32_t>(v.integer(2, kLargestGroup));
     }},
    {"steps", true, [](const JsonValue& v, AllGroups& all) { all.second = steps_of(v); }},
};

void read_groups(const JsonValue& value, WhatIf& what_if) {
  if (value.data().is_object()) {
    read_fields(value, what_if.all_groups.emplace(), kAllGroupsFields);
    if (static_cast<std::size_t>(what_if.all_groups->first) > what_if.inputs.size())
      value.member("size").fail("is " + value.member("size").shown() + "; there are " +
                                std::to_string(what_if.inputs.size()) + " inputs");
    return;
  }
  value.expect_list("groups");
  for (std::size_t g = 0; g < value.data().size(); ++g) {
    what_if.groups.push_back(group_of(value.element(g), what_if.inputs));
    if (g > 0 && what_if.groups[g].members == what_if.groups[g - 1].members)
      value.element(g).member("inputs").fail(
          "are those of the group before; one group with all steps is expected");
  }
}

// --- the definition ---------------------------------------------------------------------------------------

void read_inputs(const JsonValue& value, WhatIf& what_if) {
  value.expect_list("inputs");
  for (std::size_t i = 0; i < value.data().size(); ++i) {
    const JsonValue element = value.element(i);
    WantedInput& input = what_if.inputs.emplace_back();
    read_fields(element, input, kItemFields<WantedInput>, kInputFields);
    complete_item(element, input);
    complete_range(element, input);
  }
}

void read_outputs(const JsonValue& value, WhatIf& what_if) {
  value.expect_list("outputs");
  for (std::size_t i = 0; i < value.data().size(); ++i) {
    const JsonValue element = value.element(i);
    WantedOutput& output = what_if.outputs.emplace_back();
    read_fields(element, output, kItemFields<WantedOutput>, kOutputFields);
    complete_item(element, output);
  }
}

constexpr Field<WhatIf> kFields[] = {
    {"$schema", false, [](const JsonValue& v, WhatIf&) { v.text(); }},
    {"format", false,
     [](const JsonValue& v, WhatIf&) {
       if (v.data() != kWhatIfFormat) v.fail_expecting('"' + std::string(kWhatIfFormat) + '"');
     }},
    {"version", false,
     [](const JsonValue& v, WhatIf&) {
       if (v.data() != kVersion) v.fail_expecting(std::to_string(kVersion));
     }},
    {"steps", false, [](const JsonValue& v, WhatIf& what_if) { what_if.steps = steps_of(v); }},
    {"inputs", true, read_inputs},
    {"outputs", true, read_outputs},
    {"groups", false, read_groups},
};

// --- options ----------------------------------------------------------------------------------------------

constexpr const char* kInputOption = "--input";
constexpr const char* kOutputOption = "--output";

[[noreturn]] void refuse_input(const std::string& text) {
  throw BadRun(kInputOption, "", "is " + text::quoted_text(text) + "; " + kInputForms + " is expected");
}

// A number or a date, the whole text.
std::optional<Bound> bound_text(std::string_view text) {
  if (const std::optional<double> day = day_of(text)) return Bound{*day, true};
  double number = 0;
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  if (!take_number(text, number) || !text.empty() || !(std::fabs(number) < runfile::kNumberLimit))
    return std::nullopt;
  return Bound{number, false};
}

std::optional<double> percent_text(std::string_view text) {
  if (!text.ends_with('%')) return std::nullopt;
  const std::optional<Bound> number = bound_text(text.substr(0, text.size() - 1));
  if (!number || number->is_date) return std::nullopt;
  return number->value;
}

bool take_range(std::string_view text, WantedInput& input) {
  const std::size_t dots = text.find("..");
  if (dots == std::string_view::npos) return false;
  const std::string_view first = text.substr(0, dots);
  const std::string_view last = text.substr(dots + 2);
  if (const auto low = percent_text(first), high = percent_text(last); low && high) {
    input.percent = {*low, *high};
    return *low <= *high;
  }
  input.low = bound_text(first);
  input.high = bound_text(last);
  return input.low && input.high && input.low->value <= input.high->value;
}

bool take_both_ways(std::string_view text, WantedInput& input) {
  for (const std::string_view sign : {"\u00B1", "+-", "+/-"}) {
    if (!text.starts_with(sign)) continue;
    const std::optional<double> percent = percent_text(text.substr(sign.size()));
    if (!percent || *percent < 0) return false;
    input.percent = {-*percent, *percent};
    return true;
  }
  return false;
}

bool take_list(std::string_view text, WantedInput& input) {
  for (;;) {
    const std::size_t comma = text.find(',');
    const std::optional<Bound> value = bound_text(text.substr(0, comma));
    if (!value || value->is_date) return false;
    input.values.push_back(value->value);
    if (comma == std::string_view::npos) return true;
    text.remove_prefix(comma + 1);
  }
}

bool is_recorded_run(const Json& tree) {
  if (!tree.is_object()) return false;
  if (const Json* const format = tree.find("format")) return *format == runfile::kFormat;
  return tree.contains("recalculations") || tree.contains("simulations");
}

}  // namespace

WhatIf what_if_of(const Json& tree, const std::string& file) {
  WhatIf what_if;
  if (is_recorded_run(tree))
    throw BadRun(file, "",
                 "is a recorded run, not " + std::string(kWhat) + "; `ordvane report` makes its reports");
  read_fields(JsonValue(tree, "", file), what_if, kFields);
  return what_if;
}

WhatIf read_what_if(const std::filesystem::path& file) {
  const std::string name = file.string();
  const std::string text = runfile::read_text(file, kWhat);
  if (text.starts_with("PK"))
    throw BadRun(name, "", "is a workbook or another archive; " + std::string(kWhat) + " is expected");
  return what_if_of(runfile::parse_json(runfile::checked_text(text, name, kWhat), name), name);
}

Wanted wanted_place(const std::string& where, const std::string& text) {
  Wanted item{where, "", "", "", "", "", std::nullopt};
  if (!take_address(text, item)) item.defined_name = text;
  if (text.empty() || (item.cell.empty() && text.find('!') != std::string::npos))
    throw BadRun(where, "",
                 "is " + text::quoted_text(text) + "; a cell such as Prices!C5, or a name, is expected");
  return item;
}

WantedInput input_option(const std::string& text) {
  const std::size_t equals = text.rfind('=');
  if (equals == std::string::npos) refuse_input(text);
  WantedInput input{wanted_place(kInputOption, text.substr(0, equals)), {}, {}, {}, {}, {}};
  const std::string_view range = std::string_view(text).substr(equals + 1);
  WantedInput ranged = input;
  if (take_range(range, ranged) || take_both_ways(range, ranged = input) || take_list(range, ranged = input))
    return ranged;
  refuse_input(text);
}

WantedOutput output_option(const std::string& text) {
  return {wanted_place(kOutputOption, text), std::nullopt};
}

bool is_what_if_file(const std::filesystem::path& file) {
  if (file.string().ends_with(".whatif.json")) return true;
  try {
    const Json tree = runfile::parse_json(runfile::read_text(file, kWhat), "");
    if (!tree.is_object()) return false;
    if (const Json* const format = tree.find("format")) return *format == kWhatIfFormat;
    return tree.contains("inputs") && !is_recorded_run(tree);
  } catch (const BadRun&) {
    return false;
  }
}

}  // namespace ordvane::sweep
