// Which recalculations of a table belong together: the steps of each input, and full grids of several.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ordvane::exchange {

// The recalculations of a table, as far as their inputs go.
struct TableRows {
  std::string file;                 // for messages
  std::vector<std::string> inputs;  // names of the columns
  std::vector<double> values;       // [row][input]
  std::vector<std::int64_t> lines;  // of each row in the file
  // Of each row, the inputs that it says to have varied; empty without such a column. The base case varied
  // none.
  std::vector<std::vector<std::size_t>> varied;
  // Whether two rows have the same results.
  std::function<bool(std::size_t, std::size_t)> same_results;

  double value(std::size_t row, std::size_t input) const { return values[row * inputs.size() + input]; }
  std::size_t count() const { return lines.size(); }
};

// Inputs varied together over every combination of their values; one input alone as well.
struct Grid {
  std::vector<std::size_t> inputs;
  std::vector<std::vector<double>> levels;  // of each input, ascending
  std::vector<std::size_t> rows;            // of the combinations; the last input changes fastest
};

struct Design {
  std::size_t base = 0;       // row of the base case
  std::vector<Grid> singles;  // of every input that is varied
  std::vector<Grid> groups;
  std::vector<std::size_t> never_varied;
};

// `base_line`: where the base case stands; none: the row that has of each input the value that stands most
// often. Without `varied`, an input is varied where it is not at its base value, and the base case is one of
// every input's steps. Throws runfile::BadRun for a table that is neither one input at a time nor full grids,
// with the row that breaks it.
Design find_design(const TableRows& rows, std::optional<std::int64_t> base_line);

}  // namespace ordvane::exchange
