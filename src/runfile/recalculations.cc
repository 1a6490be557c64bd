#include "runfile/recalculations.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

#include "runfile/values.h"
#include "text/numbers.h"
#include "text/system_reasons.h"

namespace ordvane::runfile {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Values of one run: 8 TiB of them, far beyond any machine, and far below an overflow.
constexpr std::int64_t kMostValues = std::int64_t{1} << 40;
constexpr std::int64_t kMostRecalculations = std::numeric_limits<std::int32_t>::max();

template <class Places>
void put_inline_result(const JsonValue& row, std::size_t column, Places& places, std::size_t output) {
  const Json& field = row.data()[column];
  if (field.is_null()) return places.set_result(output, kNaN);
  if (field.is_string()) return put_text_result(places, output, row.element(column).text());
  if (!field.is_number()) row.element(column).fail_expecting("a number, a text or null");
  places.set_result(output, row.element(column).number());
}

double inline_value(const JsonValue& row, std::size_t column) {
  const Json& field = row.data()[column];
  if (field.is_null()) return kNaN;
  if (!field.is_number()) row.element(column).fail_expecting("a number or null");
  return row.element(column).number();
}

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

template <class Places>
void read_inline_row(const JsonValue& row, const RowColumns& columns, std::size_t outputs, Places& places) {
  const std::size_t count = columns.leading() + outputs;
  if (!row.data().is_array()) row.fail_expecting("a list [" + listed(columns.names) + ", results ...]");
  if (row.data().size() != count)
    row.fail("has " + std::to_string(row.data().size()) + " elements; " + std::to_string(count) +
             " are expected (" + listed(columns.names) + " and " +
             counted(static_cast<std::int64_t>(outputs), "result") + ")");
  for (std::size_t column = 0; column < kPositionColumns; ++column) {
    const JsonValue position = row.element(column);
    if (position.data() != places.expected(column))
      position.fail("the " + columns.names[column] + " is " + position.shown() + "; " +
                    std::to_string(places.expected(column)) + " is expected (rows go by " + columns.order +
                    ")");
  }
  for (std::size_t value = 0; value < columns.values(); ++value) {
    const std::size_t column = kPositionColumns + value;
    if (value >= places.values()) {
      if (!row.data()[column].is_null())
        row.element(column).fail_expecting("null (the group has fewer members)");
      continue;
    }
    if (const auto wanted = places.set_value(value, inline_value(row, column)))
      row.element(column).fail_expecting(as_at_this_step(*wanted));
  }
  for (std::size_t output = 0; output < outputs; ++output)
    put_inline_result(row, columns.leading() + output, places, output);
}

template <class Places>
void read_inline(const JsonValue& rows, Run& run, std::int64_t expected, std::int64_t recalculations) {
  if (static_cast<std::int64_t>(rows.data().size()) != expected)
    rows.fail("has " + counted(static_cast<std::int64_t>(rows.data().size()), "row") + "; " +
              rows_expected(run, recalculations));
  const RowColumns columns = Places::columns(run);
  Places places(run);
  for (std::size_t row = 0; row < rows.data().size(); ++row, places.next())
    read_inline_row(rows.element(row), columns, run.outputs.size(), places);
}

void make_room(const Run& run, StoredValues& values, std::size_t count) {
  try {
    values.make_room(count);
  } catch (const std::system_error& error) {
    std::error_code ignored;
    throw BadRun(run.file.string(), "",
                 std::to_string(count) + " values of the run need a file of " +
                     std::to_string((count * sizeof(double) >> 20) + 1) +
                     " MiB in the folder for temporary files, " +
                     std::filesystem::temp_directory_path(ignored).string() +
                     " (TMPDIR names another): " + text::system_reason(error.code()));
  } catch (const std::exception&) {
    throw BadRun(run.file.string(), "",
                 "the run is too large for this machine's memory: " + std::to_string(count) + " values");
  }
}

// Throws when so many recalculations of every simulation, with `values` numbers each, are more than a
// run can hold.
void check_room(const Run& run, const std::string& file, std::int64_t recalculations, std::int64_t values) {
  if (recalculations > kMostValues / run.simulations ||
      recalculations * run.simulations > kMostValues / values)
    throw BadRun(file, "simulations",
                 counted(run.simulations, "simulation") + " of " + counted(recalculations, "recalculation") +
                     " with " + counted(static_cast<std::int64_t>(run.outputs.size()), "output") +
                     " are more values than a run can hold");
}

}  // namespace

RowColumns StepWalk::columns(const Run& /*run*/) {
  return {{"simulation", "input", "step", "value"}, "simulation, input and step"};
}

StepPlaces::StepPlaces(Run& run) : StepWalk(run), run_(run) {
  const auto rows = static_cast<std::size_t>(run.simulations) * static_cast<std::size_t>(run.recalculations);
  make_room(run, run.input_values, rows);
  make_room(run, run.output_values, rows * run.outputs.size());
}

void StepWalk::next() {
  ++recalculation_;
  if (++step_ < walked_.inputs[input_].steps) return;
  step_ = 0;
  if (++input_ < walked_.inputs.size()) return;
  input_ = 0;
  recalculation_ = 0;
  ++simulation_;
}

void StepWalk::go_to(std::int64_t row) {
  simulation_ = static_cast<std::int32_t>(row / walked_.recalculations);
  recalculation_ = row % walked_.recalculations;
  std::int64_t step = recalculation_;
  for (input_ = 0; step >= walked_.inputs[input_].steps; ++input_) step -= walked_.inputs[input_].steps;
  step_ = static_cast<std::int32_t>(step);
}

RowColumns GroupWalk::columns(const Run& run) {
  RowColumns columns{{"simulation", "group", "combination"}, "simulation, group and combination"};
  std::size_t most = 0;
  for (const Group& group : run.groups) most = std::max(most, group.members.size());
  for (std::size_t member = 1; member <= most; ++member)
    columns.names.push_back("value" + std::to_string(member));
  return columns;
}

GroupPlaces::GroupPlaces(Run& run) : GroupWalk(run), run_(run) {
  const auto simulations = static_cast<std::size_t>(run.simulations);
  make_room(run, run.group_input_values, simulations * run.group_values);
  make_room(run, run.group_output_values,
            simulations * static_cast<std::size_t>(run.group_recalculations) * run.outputs.size());
}

void GroupWalk::enter_group() {
  strides_.clear();
  for (std::size_t member = 0; member < group().members.size(); ++member)
    strides_.push_back(group().stride(member));
}

// The combination at which the other members are at their first steps comes before all others of a step.
std::optional<double> GroupPlaces::set_value(std::size_t member, double value) {
  const auto place_at = [&](std::int64_t combination) {
    return run_.group_value_index(simulation(), group(), combination, member);
  };
  run_.group_input_values.put(place_at(combination()), value);
  const std::int64_t span = stride(member);
  const double first = run_.group_input_values[place_at(combination() / span % group().steps[member] * span)];
  if (value == first || (std::isnan(value) && std::isnan(first))) return std::nullopt;
  return first;
}

void GroupWalk::next() {
  if (++combination_ < group().combinations) return;
  combination_ = 0;
  if (++group_ == walked_.groups.size()) {
    group_ = 0;
    ++simulation_;
  }
  enter_group();
}

std::int64_t count_rows(Run& run, const std::string& file) {
  run.recalculations = 0;
  for (const Input& input : run.inputs) run.recalculations += input.steps;
  if (run.recalculations > kMostRecalculations)
    throw BadRun(
        file, "inputs",
        "have " + std::to_string(run.recalculations) + " steps together; at most 2147483647 are possible");
  check_room(run, file, run.recalculations, static_cast<std::int64_t>(run.outputs.size()) + 1);
  return run.recalculations * run.simulations;
}

std::int64_t count_group_rows(Run& run, const std::string& file) {
  run.group_recalculations = 0;
  run.group_values = 0;
  std::size_t most_members = 0;
  for (Group& group : run.groups) {
    group.first = run.group_recalculations;
    group.first_value = run.group_values;
    run.group_recalculations += group.combinations;
    if (run.group_recalculations > kMostRecalculations - run.recalculations)
      throw BadRun(file, "groups",
                   "have more combinations of steps together than can be counted: at most 2147483647 "
                   "recalculations are possible, " +
                       std::to_string(run.recalculations) + " of them of single inputs");
    run.group_values += static_cast<std::size_t>(group.combinations) * group.members.size();
    most_members = std::max(most_members, group.members.size());
  }
  check_room(run, file, run.group_recalculations,
             static_cast<std::int64_t>(run.outputs.size() + most_members));
  return run.group_recalculations * run.simulations;
}

std::string counted(std::int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string value_text(double value) {
  return std::isnan(value) ? "empty" : text::shortest_number(value);
}

std::string as_at_this_step(double value) {
  return value_text(value) + ", as in the rows before at this step,";
}

std::string rows_expected(const Run& run, std::int64_t recalculations) {
  const std::int64_t rows = recalculations * run.simulations;
  return counted(rows, "row") + (rows == 1 ? " is" : " are") + " expected (" +
         counted(run.simulations, "simulation") + " of " + counted(recalculations, "recalculation") + ")";
}

double encode_text_result(std::string_view text) {
  host::CellError error{};
  return host::cell_error_from_text(text, error) ? encode_error(error) : encode_text();
}

void read_inline_rows(const JsonValue& rows, Run& run) {
  const std::int64_t expected = count_rows(run, rows.file());
  read_inline<StepPlaces>(rows, run, expected, run.recalculations);
}

void read_inline_group_rows(const JsonValue& rows, Run& run) {
  const std::int64_t expected = count_group_rows(run, rows.file());
  read_inline<GroupPlaces>(rows, run, expected, run.group_recalculations);
}

}  // namespace ordvane::runfile
