// The recalculated values of a run, from a list in the run file or from a CSV file beside it: one row per
// simulation, input and step, in this order; and one per simulation, group and combination.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runfile/json_tree.h"
#include "runfile/run.h"
#include "runfile/values.h"

namespace ordvane::runfile {

inline constexpr std::size_t kPositionColumns = 3;

// The columns before the results: three positions, then what inputs were set to.
struct RowColumns {
  std::vector<std::string> names;
  std::string order;  // what the rows go by, for messages

  std::size_t leading() const { return names.size(); }
  std::size_t values() const { return names.size() - kPositionColumns; }
};

// Walks through the rows of the inputs varied one at a time, in their order. The run's inputs and simulations
// are known, and its rows counted.
class StepWalk {
 public:
  explicit StepWalk(const Run& run) : walked_(run) {}
  static RowColumns columns(const Run& run);

  // The row that is next. Positions are counted from 1.
  bool done() const { return simulation_ >= walked_.simulations; }
  std::int32_t expected(std::size_t column) const {
    return column == 0 ? simulation_ + 1 : column == 1 ? static_cast<std::int32_t>(input_) + 1 : step_ + 1;
  }
  // How many value columns the row fills; the rest is empty.
  std::size_t values() const { return 1; }
  void next();
  // To a row of the whole run, from 0.
  void go_to(std::int64_t row);

 protected:
  std::int32_t simulation() const { return simulation_; }
  std::int64_t recalculation() const { return recalculation_; }

 private:
  const Run& walked_;
  std::int32_t simulation_ = 0;
  std::size_t input_ = 0;
  std::int32_t step_ = 0;
  std::int64_t recalculation_ = 0;
};

// The same for the groups, which are known.
class GroupWalk {
 public:
  explicit GroupWalk(const Run& run) : walked_(run) { enter_group(); }
  static RowColumns columns(const Run& run);

  bool done() const { return simulation_ >= walked_.simulations; }
  std::int32_t expected(std::size_t column) const {
    return column == 0   ? simulation_ + 1
           : column == 1 ? static_cast<std::int32_t>(group_) + 1
                         : static_cast<std::int32_t>(combination_) + 1;
  }
  std::size_t values() const { return group().members.size(); }
  void next();

 protected:
  std::int32_t simulation() const { return simulation_; }
  const Group& group() const { return walked_.groups[group_]; }
  std::int64_t combination() const { return combination_; }
  std::int64_t stride(std::size_t member) const { return strides_[member]; }

 private:
  void enter_group();

  const Run& walked_;
  std::int32_t simulation_ = 0;
  std::size_t group_ = 0;
  std::int64_t combination_ = 0;
  std::vector<std::int64_t> strides_;  // of the group's members
};

// Where the rows of the inputs varied one at a time go.
class StepPlaces : public StepWalk {
 public:
  // Makes room for the values of every row. The run's outputs are known.
  explicit StepPlaces(Run& run);

  // Stores a value; gives the one that has to stand there instead when it is another.
  std::optional<double> set_value(std::size_t /*column*/, double value) {
    run_.input_values.put(run_.input_value_index(simulation(), recalculation()), value);
    return std::nullopt;
  }
  void set_result(std::size_t output, double value) { run_.output_values.put(place_of(output), value); }
  void set_text(std::size_t output, std::string_view text) {
    if (run_.reading.keeps_texts) run_.texts.emplace(place_of(output), text);
  }
  // What is stored may leave memory.
  void let_go() const { run_.output_values.let_go(); }

 private:
  std::size_t place_of(std::size_t output) const {
    return run_.output_value_index(simulation(), output, recalculation());
  }

  Run& run_;
};

// The same for the groups. A member has one value at a step, whatever the others are at.
class GroupPlaces : public GroupWalk {
 public:
  explicit GroupPlaces(Run& run);

  std::optional<double> set_value(std::size_t member, double value);
  void set_result(std::size_t output, double value) { run_.group_output_values.put(place_of(output), value); }
  void set_text(std::size_t output, std::string_view text) {
    if (run_.reading.keeps_texts) run_.group_texts.emplace(place_of(output), text);
  }
  void let_go() const {
    run_.group_output_values.let_go();
    run_.group_input_values.let_go();
  }

 private:
  std::size_t place_of(std::size_t output) const {
    return run_.group_output_index(simulation(), output, group().first + combination());
  }

  Run& run_;
};

// Rows of the whole run: simulations times recalculations. Throws BadRun when they, or the values in them,
// are more than the engine can count.
std::int64_t count_rows(Run& run, const std::string& file);
std::int64_t count_group_rows(Run& run, const std::string& file);
// "34 rows are expected (1 simulation of 34 recalculations)"
std::string rows_expected(const Run& run, std::int64_t recalculations);
// "3 rows"
std::string counted(std::int64_t count, const char* what);
// "4.5, as in the rows before at this step": the value that has to stand there.
std::string as_at_this_step(double value);
std::string value_text(double value);
// What a text result stands for: a spreadsheet error, or any other text.
double encode_text_result(std::string_view text);

// Stores a result that is a spreadsheet error or any other text.
template <class Places>
void put_text_result(Places& places, std::size_t output, std::string_view text) {
  host::CellError error{};
  if (host::cell_error_from_text(text, error)) return places.set_result(output, encode_error(error));
  places.set_result(output, encode_text());
  places.set_text(output, text);
}

void read_inline_rows(const JsonValue& rows, Run& run);
void read_inline_group_rows(const JsonValue& rows, Run& run);
void read_csv_rows(const std::filesystem::path& csv, Run& run);
void read_csv_group_rows(const std::filesystem::path& csv, Run& run);

}  // namespace ordvane::runfile
