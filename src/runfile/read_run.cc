// Reads a run file: one table of fields per kind of object says what may stand there, how it is read and
// whether it may be left out.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <map>
#include <numeric>
#include <span>
#include <tuple>

#include "host/error.h"
#include "model/combinations.h"
#include "runfile/binary_table.h"
#include "runfile/break_evens.h"
#include "runfile/cell_address.h"
#include "runfile/description.h"
#include "runfile/json_file.h"
#include "runfile/json_tree.h"
#include "runfile/known_fields.h"
#include "runfile/other_file.h"
#include "runfile/recalculations.h"
#include "runfile/run.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/numbers.h"
#include "text/utf16.h"
#include "unicode/names.h"

namespace ordvane::runfile {
namespace {

constexpr std::int32_t kMostSteps = 32767;
constexpr std::int64_t kMostLong = 2147483647;
constexpr std::int32_t kLargestGroup = 32;
constexpr std::int32_t kMostGroups = 10'000'000;
constexpr std::int32_t kLongestSheetName = 31;
constexpr std::int32_t kLongestBookName = 255;
constexpr std::int32_t kLongestCellContent = 32767;
constexpr const char* kWhat = "a run file";
constexpr const char* kTableOrRows = "the name of a table or a list of rows";
constexpr const char* kAutomaticFunction = "DralAuto";

template <class T>
struct Field {
  std::string_view name;
  bool required;
  void (*read)(const JsonValue& value, T& into);
};

// --- names and addresses ------------------------------------------------------------------------

std::string text_of_length(const JsonValue& value, std::int32_t limit) {
  std::string text = value.text();
  const std::int32_t length = text::utf16_length(text);
  if (length > limit)
    value.fail("is " + value.shown() + ", " + std::to_string(length) + " characters long; at most " +
               std::to_string(limit) + " are possible");
  return text;
}

// What a cell can hold.
std::string cell_content(const JsonValue& value) {
  return text_of_length(value, kLongestCellContent);
}

std::string name_without(const JsonValue& value, std::string_view forbidden, std::int32_t limit) {
  std::string name = text_of_length(value, limit);
  if (name.empty()) value.fail("is empty; a name is expected");
  const auto bad = std::find_if(name.begin(), name.end(), [forbidden](char character) {
    return forbidden.find(character) != std::string_view::npos || static_cast<unsigned char>(character) < ' ';
  });
  if (bad != name.end())
    value.fail("is " + value.shown() + "; a name without " + text::one_line(std::string(1, *bad)) +
               " is expected");
  return name;
}

std::string book_name(const JsonValue& value) {
  return name_without(value, "\\/:*?\"<>|[]", kLongestBookName);
}

std::string sheet_name(const JsonValue& value) {
  std::string name = name_without(value, "\\/:*?[]", kLongestSheetName);
  if (name.starts_with('\'') || name.ends_with('\''))
    value.fail("is " + value.shown() + "; a name without ' at its ends is expected");
  return name;
}

std::string cell_text(const JsonValue& value) {
  const std::optional<Cell> cell = parse_cell(value.text());
  if (!cell) value.fail_expecting("a cell from A1 to XFD1048576");
  return to_text(*cell);
}

std::string range_text(const JsonValue& value) {
  const std::optional<CellRange> range = parse_range(value.text());
  if (!range) value.fail_expecting("a cell or a range of cells such as B2:D4");
  return to_text(*range);
}

// --- fields -------------------------------------------------------------------------------------

template <class T>
void read_object(const JsonValue& value, T& into);

template <class T>
void read_list(const JsonValue& value, const char* what, std::vector<T>& into) {
  value.expect_list(what);
  into.resize(value.data().size());
  for (std::size_t i = 0; i < into.size(); ++i) read_object(value.element(i), into[i]);
}

std::optional<double> number_or_null(const JsonValue& value) {
  if (value.is_null()) return std::nullopt;
  return value.number();
}

struct GroupEntry {
  std::vector<std::int64_t> members;  // positions of inputs, from 1
  std::vector<std::int32_t> steps;
};

struct AllGroups {
  std::int32_t size = 0, steps = 0;
};

std::vector<std::int64_t> positions(const JsonValue& value) {
  if (!value.data().is_array()) value.fail_expecting("a list of positions of inputs");
  const std::size_t count = value.data().size();
  if (count < 2 || count > static_cast<std::size_t>(kLargestGroup))
    value.fail("has " + std::to_string(count) + (count == 1 ? " element" : " elements") + "; 2 to " +
               std::to_string(kLargestGroup) + " are expected");
  std::vector<std::int64_t> list;
  for (std::size_t i = 0; i < count; ++i) list.push_back(value.element(i).integer(1, kMostLong));
  return list;
}

std::vector<std::int32_t> step_counts(const JsonValue& value) {
  const auto count = [](const JsonValue& v) { return static_cast<std::int32_t>(v.integer(1, kMostSteps)); };
  if (!value.data().is_array()) return {count(value)};
  std::vector<std::int32_t> list;
  for (std::size_t i = 0; i < value.data().size(); ++i) list.push_back(count(value.element(i)));
  return list;
}

constexpr auto kLabelFields = std::to_array<Field<LabelCell>>({
    {"cell", true, [](const JsonValue& v, LabelCell& label) { label.cell = cell_text(v); }},
    {"text", true, [](const JsonValue& v, LabelCell& label) { label.text = cell_content(v); }},
});

constexpr auto kItemFields = std::to_array<Field<Item>>({
    {"name", false, [](const JsonValue& v, Item& item) { item.name = v.text(); }},
    {"book", true, [](const JsonValue& v, Item& item) { item.book = book_name(v); }},
    {"sheet", true, [](const JsonValue& v, Item& item) { item.sheet = sheet_name(v); }},
    {"cell", true, [](const JsonValue& v, Item& item) { item.cell = cell_text(v); }},
    {"range", false, [](const JsonValue& v, Item& item) { item.range = range_text(v); }},
    {"base", true, [](const JsonValue& v, Item& item) { item.base = number_or_null(v); }},
    {"formula", false, [](const JsonValue& v, Item& item) { item.formula = cell_content(v); }},
    {"function", false, [](const JsonValue& v, Item& item) { item.function = v.text(); }},
    {"numberFormat", false,
     [](const JsonValue& v, Item& item) { item.number_format = text_of_length(v, kLongestNumberFormat); }},
    {"date", false, [](const JsonValue& v, Item& item) { item.date = v.boolean(); }},
    {"locked", false, [](const JsonValue& v, Item& item) { item.locked = v.boolean(); }},
    {"labels", false, [](const JsonValue& v, Item& item) { read_list(v, "labels", item.labels); }},
    {"defaultName", false, [](const JsonValue& v, Item& item) { item.default_name = cell_content(v); }},
});

constexpr auto kInputFields = std::to_array<Field<Input>>({
    {"steps", true,
     [](const JsonValue& v, Input& input) {
       input.steps = static_cast<std::int32_t>(v.integer(1, kMostSteps));
     }},
    {"savedSamples", false, [](const JsonValue& v, Input& input) { input.saved_samples = v.boolean(); }},
    {"automatic", false, [](const JsonValue& v, Input& input) { input.automatic = v.boolean(); }},
    {"low", false, [](const JsonValue& v, Input& input) { input.low = v.number(); }},
    {"high", false, [](const JsonValue& v, Input& input) { input.high = v.number(); }},
});

constexpr auto kBreakEvenFields = std::to_array<Field<BreakEven>>({
    {"input", true,
     [](const JsonValue& v, BreakEven& point) {
       point.input = static_cast<std::size_t>(v.integer(1, kMostLong) - 1);
     }},
    {"value", true, [](const JsonValue& v, BreakEven& point) { point.value = v.number(); }},
    {"result", true, [](const JsonValue& v, BreakEven& point) { point.result = number_or_null(v); }},
});

// None is a list, too.
void read_break_evens(const JsonValue& value, Output& output) {
  if (!value.data().is_array()) value.fail_expecting("a list");
  auto& points = output.break_even.emplace(value.data().size());
  for (std::size_t i = 0; i < points.size(); ++i) read_object(value.element(i), points[i]);
}

constexpr auto kOutputFields = std::to_array<Field<Output>>({
    {"rangeName", false, [](const JsonValue& v, Output& output) { output.range_name = v.text(); }},
    {"rangeIndex", false,
     [](const JsonValue& v, Output& output) {
       output.range_index = static_cast<std::int32_t>(v.integer(1, kMostLong));
     }},
    {"target", false, [](const JsonValue& v, Output& output) { output.target = v.number(); }},
    {"breakEven", false, read_break_evens},
});

// A group as the file writes it. One number of steps stands for all members.
constexpr auto kGroupFields = std::to_array<Field<GroupEntry>>({
    {"members", true, [](const JsonValue& v, GroupEntry& group) { group.members = positions(v); }},
    {"steps", true, [](const JsonValue& v, GroupEntry& group) { group.steps = step_counts(v); }},
});

// Every group of a size, in short.
constexpr auto kAllGroupsFields = std::to_array<Field<AllGroups>>({
    {"size", true,
     [](const JsonValue& v, AllGroups& all) {
       all.size = static_cast<std::int32_t>(v.integer(2, kLargestGroup));
     }},
    {"steps", true,
     [](const JsonValue& v, AllGroups& all) {
       all.steps = static_cast<std::int32_t>(v.integer(1, kMostSteps));
     }},
});

template <std::int64_t Calculation::*member>
void read_count(const JsonValue& value, Calculation& calculation) {
  calculation.*member = value.integer(0, kMostLong);
}

constexpr auto kCalculationFields = std::to_array<Field<Calculation>>({
    {"engine", true, [](const JsonValue& v, Calculation& c) { c.engine = v.text(); }},
    {"because", false, [](const JsonValue& v, Calculation& c) { c.because = v.text(); }},
    {"now", false, [](const JsonValue& v, Calculation& c) { c.now = v.text(); }},
    {"storedCompared", false, read_count<&Calculation::stored_compared>},
    {"storedDiffer", false, read_count<&Calculation::stored_differ>},
    {"storedFirst", false, [](const JsonValue& v, Calculation& c) { c.stored_first = v.text(); }},
    {"verifiedBy", false, [](const JsonValue& v, Calculation& c) { c.verified_by = v.text(); }},
    {"verified", false, read_count<&Calculation::verified>},
    {"verifiedDiffer", false, read_count<&Calculation::verified_differ>},
    {"verifiedFirst", false, [](const JsonValue& v, Calculation& c) { c.verified_first = v.text(); }},
});

void read_groups(const JsonValue& value, Run& run);
void read_recalculations(const JsonValue& value, Run& run);
void read_group_recalculations(const JsonValue& value, Run& run);
void check_places(const JsonValue& list, std::span<const Item* const> items);

template <class T>
void read_items(const JsonValue& value, const char* what, std::vector<T>& items) {
  read_list(value, what, items);
  std::vector<const Item*> pointers;
  pointers.reserve(items.size());
  for (const T& item : items) pointers.push_back(&item);
  check_places(value, pointers);
}

constexpr auto kRunFields = std::to_array<Field<Run>>({
    {"$schema", false, [](const JsonValue& v, Run&) { v.text(); }},
    {"format", true, [](const JsonValue&, Run&) {}},   // verified before any other field
    {"version", true, [](const JsonValue&, Run&) {}},  // likewise
    {"simulations", true,
     [](const JsonValue& v, Run& run) {
       run.simulations = static_cast<std::int32_t>(v.integer(1, kMostLong));
     }},
    {"samplingType", false,
     [](const JsonValue& v, Run& run) {
       run.sampling_type = static_cast<std::int32_t>(v.integer(0, kMostLong));
     }},
    {"inputs", true, [](const JsonValue& v, Run& run) { read_items(v, "inputs", run.inputs); }},
    {"outputs", true, [](const JsonValue& v, Run& run) { read_items(v, "outputs", run.outputs); }},
    {"groups", false, read_groups},
    {"calculation", false, [](const JsonValue& v, Run& run) { read_object(v, run.calculation.emplace()); }},
});

// Read last: they need all the others.
constexpr auto kRowFields = std::to_array<Field<Run>>({
    {"recalculations", true, read_recalculations},
    {"groupRecalculations", false, read_group_recalculations},
});

// A run whose recalculations are given otherwise.
struct Description : Run {};

// The tables of one kind of object, and what its fields have to fulfil together.
template <class T>
struct Rules;

// --- fields that depend on each other -----------------------------------------------------------

void complete(const JsonValue&, LabelCell&) {}
void complete(const JsonValue&, AllGroups&) {}
void complete(const JsonValue&, BreakEven&) {}
void complete(const JsonValue&, Calculation&) {}
void complete(const JsonValue&, Description&) {}

void complete(const JsonValue& value, Run& run) {
  if (!run.groups.empty() && !value.has("groupRecalculations"))
    value.fail("the field \"groupRecalculations\" is missing; the groups need it");
  check_break_evens(value, run);
}

void complete(const JsonValue& value, GroupEntry& group) {
  if (group.steps.size() == 1) group.steps.resize(group.members.size(), group.steps.front());
  if (group.steps.size() != group.members.size())
    value.member("steps").fail("has " + std::to_string(group.steps.size()) + " elements for " +
                               std::to_string(group.members.size()) +
                               " members; one each, or one number for all, is expected");
}

void complete_item(const JsonValue& value, Item& item) {
  const Cell cell = *parse_cell(item.cell);
  if (item.range.empty()) item.range = item.cell;
  if (!parse_range(item.range)->holds(cell))
    value.member("range").fail("is " + item.range + ", which does not hold the item's cell " + item.cell);
  for (std::size_t i = 0; i < item.labels.size(); ++i)
    if (item.labels[i].cell == item.cell)
      value.member("labels").element(i).member("cell").fail("is " + item.cell + ", the item's own cell");
  if (item.formula.find(item.function) == std::string::npos)
    value.member("function")
        .fail("is " + value.member("function").shown() + ", which is no part of the formula " +
              text::quoted_text(item.formula));
}

// As a cell with this constant shows it in its formula.
std::string constant_formula(const std::optional<double>& base) {
  return base ? text::shortest_number(*base) : "";
}

bool calls_automatic_function(const Input& input) {
  std::string_view function = input.function.empty() ? input.formula : input.function;
  if (function.starts_with('=')) function.remove_prefix(1);
  return function.starts_with(kAutomaticFunction);
}

void complete(const JsonValue& value, Input& input) {
  if (!value.has("formula")) {
    input.formula = constant_formula(input.base);
    if (input.automatic) input.formula = std::string("=") + kAutomaticFunction + "(" + input.formula + ")";
  }
  complete_item(value, input);
  const bool automatic = calls_automatic_function(input);
  if (value.has("automatic") && input.automatic != automatic)
    value.member("automatic")
        .fail(std::string(automatic ? "is false, but the input's function is "
                                    : "is true, but the input's function is not ") +
              kAutomaticFunction);
  input.automatic = automatic;
  if (input.low && input.high && *input.low > *input.high)
    value.member("low").fail("is " + value.member("low").shown() + ", above the field \"high\", which is " +
                             value.member("high").shown());
}

void complete(const JsonValue& value, Output& output) {
  if (!value.has("formula")) output.formula = constant_formula(output.base);
  complete_item(value, output);
  if (output.range_name.empty() != (output.range_index == 0))
    value.fail("the fields \"rangeName\" and \"rangeIndex\" are expected together");
  if (output.break_even && !output.target)
    value.member("breakEven").fail("is there without the field \"target\"");
}

template <>
struct Rules<LabelCell> {
  static constexpr auto tables = std::tie(kLabelFields);
};
template <>
struct Rules<Input> {
  static constexpr auto tables = std::tie(kItemFields, kInputFields);
};
template <>
struct Rules<Output> {
  static constexpr auto tables = std::tie(kItemFields, kOutputFields);
};
template <>
struct Rules<BreakEven> {
  static constexpr auto tables = std::tie(kBreakEvenFields);
};
template <>
struct Rules<GroupEntry> {
  static constexpr auto tables = std::tie(kGroupFields);
};
template <>
struct Rules<AllGroups> {
  static constexpr auto tables = std::tie(kAllGroupsFields);
};
template <>
struct Rules<Calculation> {
  static constexpr auto tables = std::tie(kCalculationFields);
};
template <>
struct Rules<Run> {
  static constexpr auto tables = std::tie(kRunFields, kRowFields);
};
template <>
struct Rules<Description> {
  static constexpr auto tables = std::tie(kRunFields);
};

template <class T>
std::vector<KnownField> fields_of() {
  std::vector<KnownField> known;
  std::apply(
      [&known](const auto&... tables) {
        const auto add = [&known](const auto& table) {
          for (const auto& field : table) known.push_back({field.name, field.required});
        };
        (add(tables), ...);
      },
      Rules<T>::tables);
  return known;
}

template <class T>
void read_object(const JsonValue& value, T& into) {
  value.expect_object();
  refuse_unknown_fields(value, fields_of<T>());
  const auto read_table = [&value, &into](const auto& table) {
    for (const auto& field : table) {
      if (value.has(field.name))
        field.read(value.member(field.name), into);
      else if (field.required)
        value.fail("the field \"" + std::string(field.name) + "\" is missing");
    }
  };
  std::apply([&read_table](const auto&... tables) { (read_table(tables), ...); }, Rules<T>::tables);
  complete(value, into);
}

// --- the run ------------------------------------------------------------------------------------

void check_places(const JsonValue& list, std::span<const Item* const> items) {
  std::map<std::tuple<std::string, std::string, std::string>, std::size_t> places;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Item& item = *items[i];
    const auto [place, added] =
        places.try_emplace({unicode::folded(item.book), unicode::folded(item.sheet), item.cell}, i);
    if (!added)
      list.element(i).member("cell").fail("is " + item.cell + " on " + text::quoted_text(item.sheet) +
                                          " of " + text::quoted_text(item.book) + ", like that of " +
                                          list.element(place->second).path());
  }
}

// Beside the run file or in a folder under it: a run cannot point at other files of the machine.
std::filesystem::path table_path(const JsonValue& value, Run& run) {
  const std::string name = value.text();
  const std::filesystem::path path(name);
  const bool plain = !name.empty() && path.is_relative() && path.has_filename() &&
                     name.find_first_of("\\:") == std::string::npos &&
                     std::find(path.begin(), path.end(), "..") == path.end();
  if (!plain) value.fail_expecting("the name of a table beside the run file, such as model.run.csv,");
  return run.tables.emplace_back(run.file.parent_path() / path);
}

// Multiplies the steps; more combinations than can be counted are refused.
Group make_group(const JsonValue& value, std::vector<std::size_t> members, std::vector<std::int32_t> steps) {
  Group group{std::move(members), std::move(steps)};
  group.combinations = 1;
  for (const std::int32_t count : group.steps) {
    group.combinations *= count;
    if (group.combinations > kMostLong)
      value.fail("has more combinations of steps than can be counted: at most 2147483647 are possible");
  }
  return group;
}

// The inputs that keep their values; the others cannot be shown in a report.
std::vector<std::size_t> kept_inputs(const Run& run) {
  std::vector<std::size_t> kept;
  for (std::size_t i = 0; i < run.inputs.size(); ++i)
    if (run.inputs[i].saved_samples) kept.push_back(i);
  return kept;
}

Group checked_group(const JsonValue& value, const GroupEntry& entry, const Run& run) {
  std::vector<std::size_t> members;
  for (std::size_t m = 0; m < entry.members.size(); ++m) {
    const JsonValue member = value.member("members").element(m);
    if (entry.members[m] > static_cast<std::int64_t>(run.inputs.size()))
      member.fail("is " + member.shown() + "; a position of an input, 1 to " +
                  std::to_string(run.inputs.size()) + ", is expected");
    const auto input = static_cast<std::size_t>(entry.members[m] - 1);
    if (std::find(members.begin(), members.end(), input) != members.end())
      member.fail("is " + member.shown() + ", which is a member already");
    if (!run.inputs[input].saved_samples)
      member.fail("is " + member.shown() + ", an input without saved samples");
    members.push_back(input);
  }
  return make_group(value, std::move(members), entry.steps);
}

// Every group of the size, in the order of the inputs.
void read_all_groups(const JsonValue& value, Run& run) {
  AllGroups all;
  read_object(value, all);
  const std::vector<std::size_t> kept = kept_inputs(run);
  const auto size = static_cast<std::size_t>(all.size);
  if (size > kept.size())
    value.member("size").fail("is " + std::to_string(size) + "; the run has " + std::to_string(kept.size()) +
                              " inputs with saved samples");
  const std::string groups =
      "groups of " + std::to_string(size) + " of " + std::to_string(kept.size()) + " inputs";
  std::int32_t count = 0;
  try {
    if (kept.size() > static_cast<std::size_t>(kMostSteps)) throw host::Error(host::errc::kOverflow, groups);
    count = model::Combinations(static_cast<std::int16_t>(kept.size()), static_cast<std::int16_t>(all.size));
  } catch (const host::Error&) {
    value.member("size").fail("gives more " + groups +
                              " than can be counted; a list of groups is expected instead");
  }
  if (count > kMostGroups)
    value.member("size").fail("gives " + std::to_string(count) + " " + groups + "; at most " +
                              std::to_string(kMostGroups) + " are possible");
  std::vector<std::size_t> chosen(size);
  std::iota(chosen.begin(), chosen.end(), std::size_t{0});
  for (std::int32_t made = 0; made < count; ++made) {
    std::vector<std::size_t> members;
    members.reserve(size);
    for (const std::size_t place : chosen) members.push_back(kept[place]);
    run.groups.push_back(make_group(value, std::move(members), std::vector<std::int32_t>(size, all.steps)));
    // The last place that can move on does, and those behind it follow.
    std::size_t moved = size;
    while (moved > 0 && chosen[moved - 1] == kept.size() - size + moved - 1) --moved;
    if (moved == 0) break;
    ++chosen[moved - 1];
    for (std::size_t place = moved; place < size; ++place) chosen[place] = chosen[place - 1] + 1;
  }
}

void read_groups(const JsonValue& value, Run& run) {
  if (value.data().is_object()) return read_all_groups(value, run);
  std::vector<GroupEntry> entries;
  read_list(value, "groups", entries);
  for (std::size_t g = 0; g < entries.size(); ++g) {
    // The engine tells one group from the next by its members.
    if (g > 0 && entries[g].members == entries[g - 1].members)
      value.element(g).member("members").fail(
          "are those of the group before; one group with all steps is expected");
    run.groups.push_back(checked_group(value.element(g), entries[g], run));
  }
}

void read_group_recalculations(const JsonValue& value, Run& run) {
  if (run.groups.empty()) value.fail("is there without the field \"groups\"");
  if (value.data().is_string()) {
    const std::filesystem::path table = table_path(value, run);
    return is_binary_table(table) ? read_binary_group_rows(table, run) : read_csv_group_rows(table, run);
  }
  if (!value.data().is_array()) value.fail_expecting(kTableOrRows);
  read_inline_group_rows(value, run);
}

void read_recalculations(const JsonValue& value, Run& run) {
  if (value.data().is_string()) {
    const std::filesystem::path table = table_path(value, run);
    return is_binary_table(table) ? read_binary_rows(table, run) : read_csv_rows(table, run);
  }
  if (!value.data().is_array()) value.fail_expecting(kTableOrRows);
  read_inline_rows(value, run);
}

void check_format(const JsonValue& root) {
  root.expect_object();
  const bool varies = root.has("inputs") && !root.has("simulations") && !root.has("recalculations");
  if (root.has("format") ? root.member("format").data() == kWhatIfFormat : varies)
    root.fail("is a what-if definition, not a recorded run; `ordvane sweep` with its workbook records one");
  for (const char* field : {"format", "version"})
    if (!root.has(field))
      root.fail("the field \"" + std::string(field) + "\" is missing; is this a run file?");
  const JsonValue format = root.member("format");
  if (format.data() != kFormat) format.fail_expecting('"' + std::string(kFormat) + '"');
  const JsonValue version = root.member("version");
  if (version.data() != kVersion) version.fail_expecting(std::to_string(kVersion));
}

}  // namespace

BadRun::BadRun(const std::string& file, const std::string& where, const std::string& problem)
    : std::runtime_error(text::one_line(file + (where.empty() ? "" : ":" + where) + ": " + problem)) {}

std::vector<KnownField> known_fields(Section section) {
  switch (section) {
    case Section::kRun:
      return fields_of<Run>();
    case Section::kInput:
      return fields_of<Input>();
    case Section::kOutput:
      return fields_of<Output>();
    case Section::kLabel:
      return fields_of<LabelCell>();
    case Section::kGroup:
      return fields_of<GroupEntry>();
    case Section::kAllGroups:
      return fields_of<AllGroups>();
    case Section::kCalculation:
      return fields_of<Calculation>();
    case Section::kBreakEven:
      return fields_of<BreakEven>();
  }
  return {};
}

Run read_description(const Json& tree, const std::string& name) {
  const JsonValue root(tree, "", name);
  check_format(root);
  Description run;
  run.file = name;
  read_object(root, run);
  return run;
}

Run read_run(const std::filesystem::path& file, const ReadOptions& options) {
  const std::string name = file.string();
  const std::string text = read_text(file, kWhat);
  if (const std::string fault = other_file_fault(file, text); !fault.empty()) throw BadRun(name, "", fault);
  const Json tree = parse_json(checked_text(text, name, kWhat), name);
  const JsonValue root(tree, "", name);
  check_format(root);
  Run run;
  run.file = file;
  run.reading = options;
  read_object(root, run);
  run.reading = {};
  return run;
}

}  // namespace ordvane::runfile
