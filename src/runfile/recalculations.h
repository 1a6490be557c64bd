// The recalculated values of a run: one row per simulation, input and step, in this order, from the list in
// the run file or from a CSV file beside it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "runfile/json_tree.h"
#include "runfile/run.h"

namespace ordvane::runfile {

inline constexpr const char* kRowColumns[] = {"simulation", "input", "step", "value"};
inline constexpr std::size_t kLeadingColumns = 4;

// Where the rows of a complete run go. Walks through them in order.
class RowPlaces {
 public:
  // Makes room for the values of every row. The run's inputs, outputs and simulations are known.
  explicit RowPlaces(Run& run);

  // The row to be stored next. The three are counted from 1.
  bool done() const { return simulation_ >= run_.simulations; }
  std::int32_t simulation() const { return simulation_ + 1; }
  std::int32_t input() const { return static_cast<std::int32_t>(input_) + 1; }
  std::int32_t step() const { return step_ + 1; }
  std::int32_t expected(std::size_t column) const {
    return column == 0 ? simulation() : column == 1 ? input() : step();
  }

  void set_value(double value) {
    run_.input_values[run_.input_value_index(simulation_, recalculation_)] = value;
  }
  void set_result(std::size_t output, double value) {
    run_.output_values[run_.output_value_index(simulation_, output, recalculation_)] = value;
  }
  void next();

 private:
  Run& run_;
  std::int32_t simulation_ = 0;
  std::size_t input_ = 0;
  std::int32_t step_ = 0;
  std::int64_t recalculation_ = 0;
};

// Rows of the whole run: simulations times recalculations. Throws BadRun when they, or the values in them,
// are more than the engine can count.
std::int64_t count_rows(Run& run, const std::string& file);
// "34 rows are expected (1 simulation of 34 recalculations)"
std::string rows_expected(const Run& run);
// What a text result stands for: a spreadsheet error, or any other text.
double encode_text_result(std::string_view text);

void read_inline_rows(const JsonValue& rows, Run& run);
void read_csv_rows(const std::filesystem::path& csv, Run& run);

}  // namespace ordvane::runfile
