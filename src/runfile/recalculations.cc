#include "runfile/recalculations.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "runfile/utf8.h"
#include "runfile/values.h"

namespace ordvane::runfile {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// Values of one run: 8 TiB of them, far beyond any machine, and far below an overflow.
constexpr std::int64_t kMostValues = std::int64_t{1} << 40;

std::string counted(std::int64_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

double inline_result(const JsonValue& row, std::size_t column) {
  const Json& field = row.data()[column];
  if (field.is_null()) return kNaN;
  if (field.is_string()) return encode_text_result(row.element(column).text());
  if (!field.is_number()) row.element(column).fail_expecting("a number, a text or null");
  return row.element(column).number();
}

double inline_value(const JsonValue& row, std::size_t column) {
  const Json& field = row.data()[column];
  if (field.is_null()) return kNaN;
  if (!field.is_number()) row.element(column).fail_expecting("a number or null");
  return row.element(column).number();
}

void read_inline_row(const JsonValue& row, std::size_t outputs, RowPlaces& places) {
  const std::size_t columns = kLeadingColumns + outputs;
  if (!row.data().is_array()) row.fail_expecting("a list [simulation, input, step, value, results ...]");
  if (row.data().size() != columns)
    row.fail("has " + std::to_string(row.data().size()) + " elements; " + std::to_string(columns) +
             " are expected (simulation, input, step, value and " +
             counted(static_cast<std::int64_t>(outputs), "result") + ")");
  for (std::size_t column = 0; column + 1 < kLeadingColumns; ++column) {
    const JsonValue position = row.element(column);
    if (position.data() != places.expected(column))
      position.fail(std::string("the ") + kRowColumns[column] + " is " + position.shown() + "; " +
                    std::to_string(places.expected(column)) +
                    " is expected (rows go by simulation, input and step)");
  }
  places.set_value(inline_value(row, kLeadingColumns - 1));
  for (std::size_t output = 0; output < outputs; ++output)
    places.set_result(output, inline_result(row, kLeadingColumns + output));
}

}  // namespace

RowPlaces::RowPlaces(Run& run) : run_(run) {
  const auto rows = static_cast<std::size_t>(run.simulations) * static_cast<std::size_t>(run.recalculations);
  try {
    run.input_values.resize(rows);
    run.output_values.resize(rows * run.outputs.size());
  } catch (const std::exception&) {
    throw BadRun(run.file.string(), "",
                 "the run is too large for this machine's memory: " +
                     std::to_string(rows * (1 + run.outputs.size())) + " values");
  }
}

void RowPlaces::next() {
  ++recalculation_;
  if (++step_ < run_.inputs[input_].steps) return;
  step_ = 0;
  if (++input_ < run_.inputs.size()) return;
  input_ = 0;
  recalculation_ = 0;
  ++simulation_;
}

std::int64_t count_rows(Run& run, const std::string& file) {
  run.recalculations = 0;
  for (const Input& input : run.inputs) run.recalculations += input.steps;
  if (run.recalculations > std::numeric_limits<std::int32_t>::max())
    throw BadRun(
        file, "inputs",
        "have " + std::to_string(run.recalculations) + " steps together; at most 2147483647 are possible");
  const auto columns = static_cast<std::int64_t>(run.outputs.size()) + 1;
  if (run.recalculations > kMostValues / run.simulations ||
      run.recalculations * run.simulations > kMostValues / columns)
    throw BadRun(file, "simulations",
                 counted(run.simulations, "simulation") + " of " +
                     counted(run.recalculations, "recalculation") + " with " +
                     counted(columns - 1, "output") + " are more values than a run can hold");
  return run.recalculations * run.simulations;
}

std::string rows_expected(const Run& run) {
  const std::int64_t rows = run.recalculations * run.simulations;
  return counted(rows, "row") + (rows == 1 ? " is" : " are") + " expected (" +
         counted(run.simulations, "simulation") + " of " + counted(run.recalculations, "recalculation") + ")";
}

double encode_text_result(std::string_view text) {
  host::CellError error{};
  return host::cell_error_from_text(text, error) ? encode_error(error) : encode_text();
}

void read_inline_rows(const JsonValue& rows, Run& run) {
  if (static_cast<std::int64_t>(rows.data().size()) != count_rows(run, rows.file()))
    rows.fail("has " + counted(static_cast<std::int64_t>(rows.data().size()), "row") + "; " +
              rows_expected(run));
  RowPlaces places(run);
  for (std::size_t row = 0; row < rows.data().size(); ++row, places.next())
    read_inline_row(rows.element(row), run.outputs.size(), places);
}

}  // namespace ordvane::runfile
