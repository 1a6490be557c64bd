#include "exchange/import.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "exchange/design.h"
#include "exchange/steps.h"
#include "exchange/table_file.h"
#include "runfile/description.h"
#include "runfile/recalculations.h"
#include "runfile/write_run.h"
#include "text/edit.h"

namespace ordvane::exchange {
namespace {

constexpr const char* kBook = "Model";  // as in runs that come from arrays

using Columns = std::vector<std::size_t>;

std::string listed(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

Columns columns_named(const TableFile& table, const std::vector<std::string>& names, const char* option) {
  Columns columns;
  for (const std::string& name : names) {
    const auto column = table.column(name);
    if (!column)
      throw runfile::BadRun(table.name(), "1",
                            std::string(option) + ": there is no column " + text::quoted_text(name) +
                                "; there are " + listed(table.columns()));
    columns.push_back(*column);
  }
  return columns;
}

bool holds(const Columns& columns, std::size_t column) {
  return std::find(columns.begin(), columns.end(), column) != columns.end();
}

// Which columns are what.
struct Choice {
  Columns inputs, outputs;
  std::optional<std::size_t> varied;

  Choice(const TableFile& table, const ImportOptions& options) {
    if (options.inputs.empty() && options.outputs.empty())
      throw runfile::BadRun(
          table.name(), "1",
          "which columns are outputs? Name them with --outputs; there are " + listed(table.columns()));
    inputs = columns_named(table, options.inputs, "--inputs");
    outputs = columns_named(table, options.outputs, "--outputs");
    varied = table.column(kVariedColumn);
    if (varied && (holds(inputs, *varied) || holds(outputs, *varied))) varied.reset();
    for (const std::size_t input : inputs)
      if (holds(outputs, input))
        throw runfile::BadRun(
            table.name(), "1",
            "column " + text::quoted_text(table.columns()[input]) + ": is both input and output");
    Columns& others = inputs.empty() ? inputs : outputs;
    const Columns& named = inputs.empty() ? outputs : inputs;
    if (!options.inputs.empty() && !options.outputs.empty()) return;
    for (std::size_t column = 0; column < table.columns().size(); ++column)
      if (!holds(named, column) && varied != column) others.push_back(column);
    if (others.empty())
      throw runfile::BadRun(
          table.name(), "1",
          std::string("no column is left for the ") + (options.inputs.empty() ? "inputs" : "outputs"));
  }
};

// The results of all rows.
struct Results {
  std::size_t outputs = 0;
  std::vector<double> numbers;               // [row][output]
  std::map<std::size_t, std::string> texts;  // in the places of these numbers; "" for an empty field

  void add(TableFile& table, std::size_t column) {
    const auto number = table.number(column);
    if (!number) texts.emplace(numbers.size(), table.field(column));
    numbers.push_back(number.value_or(0));
  }
  const std::string* text(std::size_t at) const {
    const auto found = texts.find(at);
    return found == texts.end() ? nullptr : &found->second;
  }
  bool same(std::size_t row, std::size_t other) const {
    for (std::size_t output = 0; output < outputs; ++output) {
      const std::size_t a = row * outputs + output;
      const std::size_t b = other * outputs + output;
      const std::string* const text_a = text(a);
      const std::string* const text_b = text(b);
      if ((text_a == nullptr) != (text_b == nullptr)) return false;
      if (text_a ? *text_a != *text_b : numbers[a] != numbers[b]) return false;
    }
    return true;
  }
  // Where they go in the run.
  template <class Places>
  void put(std::size_t row, Places& places) const {
    for (std::size_t output = 0; output < outputs; ++output) {
      const std::size_t at = row * outputs + output;
      const std::string* const words = text(at);
      if (words == nullptr)
        places.set_result(output, numbers[at]);
      else if (words->empty())
        places.set_result(output, std::numeric_limits<double>::quiet_NaN());
      else
        runfile::put_text_result(places, output, *words);
    }
  }
};

// The inputs that a row says to have varied.
std::vector<std::size_t> varied_in(const TableFile& table, std::size_t column, const TableRows& rows) {
  std::vector<std::size_t> inputs;
  std::string text = table.field(column);
  while (!text.empty()) {
    // A name may have the separator in it: the longest that is one counts.
    std::size_t end = text.size();
    std::size_t input = rows.inputs.size();
    for (;;) {
      const auto found = std::find(rows.inputs.begin(), rows.inputs.end(), text.substr(0, end));
      input = static_cast<std::size_t>(found - rows.inputs.begin());
      if (input < rows.inputs.size() || end == 0) break;
      end = text.rfind(kBetweenVaried, end - 1);
      if (end == std::string::npos) end = 0;
    }
    if (input == rows.inputs.size())
      table.fail(column,
                 "is " + text::quoted_text(table.field(column)) +
                     "; names of inputs are expected, with ; between them, or nothing for the base case");
    inputs.push_back(input);
    text.erase(0, std::min(end + 1, text.size()));
  }
  return inputs;
}

void read_rows(TableFile& table, const Choice& choice, TableRows& rows, Results& results) {
  rows.file = table.name();
  for (const std::size_t column : choice.inputs) rows.inputs.push_back(table.columns()[column]);
  results.outputs = choice.outputs.size();
  while (table.next()) {
    for (const std::size_t column : choice.inputs) {
      const auto number = table.number(column);
      if (!number)
        table.fail(
            column,
            (table.field(column).empty() ? "is empty" : "is " + text::quoted_text(table.field(column))) +
                "; the number that the input was set to is expected (--inputs names the inputs)");
      rows.values.push_back(*number);
    }
    if (choice.varied) rows.varied.push_back(varied_in(table, *choice.varied, rows));
    for (const std::size_t column : choice.outputs) results.add(table, column);
    rows.lines.push_back(table.line());
  }
  if (rows.lines.empty())
    throw runfile::BadRun(table.name(), "",
                          "has column names and no rows; a row for each recalculation is expected");
  rows.same_results = [&results](std::size_t a, std::size_t b) { return results.same(a, b); };
}

template <class Item>
Item item_of(const std::string& name, const char* sheet, std::size_t position, std::optional<double> base) {
  Item item;
  item.name = name;
  item.book = kBook;
  item.sheet = sheet;
  item.cell = "A" + std::to_string(position + 1);
  item.base = base;
  return item;
}

// The value of a grid's input in one of its combinations.
double level_of(const Grid& grid, std::size_t member, std::size_t combination) {
  for (std::size_t m = grid.inputs.size(); m-- > member + 1;) combination /= grid.levels[m].size();
  return grid.levels[member][combination % grid.levels[member].size()];
}

class RunMaker {
 public:
  RunMaker(const TableRows& rows, const Results& results, const Design& design, const TableFile& table,
           const Choice& choice)
      : rows_(rows), results_(results), design_(design), table_(table), choice_(choice) {}

  ImportedRun make() {
    add_items();
    for (const Grid& grid : design_.groups) add_group(grid);
    imported_.base_line = rows_.lines[design_.base];
    for (const std::size_t input : design_.never_varied)
      imported_.never_varied.push_back(rows_.inputs[input]);
    // What no run can hold is refused before its values are put together.
    runfile::read_description(runfile::description_of(imported_.run), table_.name());
    add_values();
    return std::move(imported_);
  }

 private:
  void add_items() {
    for (const Grid& grid : design_.singles) {
      const std::size_t input = grid.inputs[0];
      position_[input] = imported_.run.inputs.size();
      auto item = item_of<runfile::Input>(rows_.inputs[input], "Inputs", imported_.run.inputs.size(),
                                          rows_.value(design_.base, input));
      item.steps = static_cast<std::int32_t>(grid.levels[0].size());
      imported_.run.inputs.push_back(std::move(item));
    }
    for (std::size_t o = 0; o < choice_.outputs.size(); ++o) {
      const std::size_t at = design_.base * results_.outputs + o;
      imported_.run.outputs.push_back(
          item_of<runfile::Output>(table_.columns()[choice_.outputs[o]], "Outputs", o,
                                   results_.text(at) ? std::nullopt : std::optional(results_.numbers[at])));
    }
  }

  void add_group(const Grid& grid) {
    runfile::Group group;
    for (std::size_t m = 0; m < grid.inputs.size(); ++m) {
      group.members.push_back(position_.at(grid.inputs[m]));
      group.steps.push_back(static_cast<std::int32_t>(grid.levels[m].size()));
    }
    group.combinations = static_cast<std::int64_t>(grid.rows.size());
    imported_.run.groups.push_back(std::move(group));
  }

  void add_values() {
    runfile::Run& run = imported_.run;
    run.reading.keeps_texts = true;
    runfile::count_rows(run, table_.name());
    runfile::StepPlaces places(run);
    for (const Grid& grid : design_.singles) put_rows(grid, places);
    if (run.groups.empty()) return;
    runfile::count_group_rows(run, table_.name());
    runfile::GroupPlaces group_places(run);
    for (const Grid& grid : design_.groups) put_rows(grid, group_places);
  }

  template <class Places>
  void put_rows(const Grid& grid, Places& places) const {
    for (std::size_t c = 0; c < grid.rows.size(); ++c, places.next()) {
      for (std::size_t m = 0; m < grid.inputs.size(); ++m) places.set_value(m, level_of(grid, m, c));
      results_.put(grid.rows[c], places);
    }
  }

  const TableRows& rows_;
  const Results& results_;
  const Design& design_;
  const TableFile& table_;
  const Choice& choice_;
  ImportedRun imported_;
  std::map<std::size_t, std::size_t> position_;  // in the run, of inputs of the table
};

}  // namespace

ImportedRun import_table(const std::filesystem::path& file, const ImportOptions& options) {
  TableFile table(file);
  const Choice choice(table, options);
  TableRows rows;
  Results results;
  read_rows(table, choice, rows, results);
  const Design design = find_design(rows, options.base_line);
  return RunMaker(rows, results, design, table, choice).make();
}

}  // namespace ordvane::exchange
