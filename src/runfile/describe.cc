#include "runfile/describe.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <span>

#include "host/error.h"
#include "model/combinations.h"
#include "runfile/recalculations.h"
#include "runfile/values.h"
#include "text/calendar.h"
#include "text/edit.h"
#include "text/numbers.h"
#include "unicode/columns.h"

namespace ordvane::runfile {
namespace {

constexpr int kDigits = 10;
constexpr std::size_t kLongestName = 60;
constexpr const char* kNone = "-";

using unicode::Side;

// Rows of texts whose columns are as wide as their longest entry.
class TextTable {
 public:
  explicit TextTable(std::vector<Side> sides) : sides_(std::move(sides)), widths_(sides_.size()) {}

  void add(std::vector<std::string> row) {
    for (std::size_t c = 0; c < row.size(); ++c)
      widths_[c] = std::max(widths_[c], unicode::display_width(row[c]));
    rows_.push_back(std::move(row));
  }

  std::string text() const {
    std::string text;
    for (const auto& row : rows_) {
      std::string line;
      for (std::size_t c = 0; c < row.size(); ++c)
        line += "  " + unicode::padded(row[c], widths_[c], sides_[c]);
      text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
    return text;
  }

 private:
  std::vector<Side> sides_;
  std::vector<int> widths_;
  std::vector<std::vector<std::string>> rows_;
};

// What a set of values amounts to.
struct Extent {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
  std::int64_t numbers = 0;
  std::int64_t others = 0;  // empty fields, errors and texts

  void add(const StoredValues& values, std::size_t first, std::int64_t count) {
    values.take_pieces(first, static_cast<std::size_t>(count), [this](std::span<const double> piece) {
      for (const double value : piece) add(value);
    });
  }
  void add(double value) {
    if (std::isnan(value) || is_encoded_error(value)) {
      ++others;
      return;
    }
    ++numbers;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  bool moves(const std::optional<double>& base) const { return low < high || (base && *base != low); }
};

std::string number_text(double value) {
  return text::general_number(value, kDigits);
}

// A serial day number of the spreadsheet as a date; nothing outside its calendar.
std::string date_text(double value) {
  if (!(value >= 1 && value < text::kLastSerial + 1)) return number_text(value);
  return text::iso_date(text::spreadsheet_date(static_cast<std::int64_t>(value)));
}

std::string value_text(const Item& item, double value) {
  return item.date ? date_text(value) : number_text(value);
}

std::string base_text(const Item& item) {
  return item.base ? value_text(item, *item.base) : kNone;
}

std::string extent_text(const Item& item, const Extent& extent) {
  if (extent.numbers == 0) return kNone;
  const std::string low = value_text(item, extent.low);
  return extent.low == extent.high ? low : low + " to " + value_text(item, extent.high);
}

std::string name_text(const Item& item) {
  const bool named = item.name.find_first_not_of(' ') != std::string::npos;
  const std::string& name = named                  ? item.name
                            : !item.labels.empty() ? item.labels.front().text
                                                   : item.default_name;
  return text::one_line(text::cut_to(name, kLongestName));
}

class Description {
 public:
  explicit Description(const Run& run) : run_(run) {
    for (const Input& input : run.inputs) books_.insert(input.book);
    for (const Output& output : run.outputs) books_.insert(output.book);
  }

  std::string text() const {
    const std::string inputs = input_table();
    std::int64_t others = 0;
    const std::string outputs = output_table(others);
    return totals(others) + "\nInputs\n" + inputs + "\nOutputs\n" + outputs;
  }

 private:
  std::string totals(std::int64_t others) const {
    TextTable table({Side::kLeft, Side::kLeft});
    std::string books;
    for (const std::string& book : books_) books += (books.empty() ? "" : ", ") + text::one_line(book);
    const std::string each = std::to_string(run_.recalculations);
    const auto results =
        static_cast<std::int64_t>(run_.output_values.size() + run_.group_output_values.size());
    if (!run_.file.empty()) table.add({"File", text::one_line(run_.file.string())});
    table.add({books_.size() == 1 ? "Workbook" : "Workbooks", books});
    table.add({"Simulations", std::to_string(run_.simulations)});
    table.add({"Inputs", std::to_string(run_.inputs.size())});
    table.add({"Outputs", std::to_string(run_.outputs.size())});
    table.add({"Recalculations", run_.simulations == 1
                                     ? each
                                     : std::to_string(run_.simulations * run_.recalculations) + " (" + each +
                                           " per simulation)"});
    if (!run_.groups.empty()) {
      table.add({"Groups of inputs", groups_text()});
      table.add({"Multi-way", counted(run_.group_recalculations, "combination") + " of steps" +
                                  (run_.simulations == 1 ? "" : " per simulation")});
    }
    table.add({"Results", std::to_string(results) +
                              (others == 0 ? ", all of them numbers"
                                           : ", " + std::to_string(others) + " of them not numbers")});
    if (run_.calculation) add_calculation(*run_.calculation, table);
    return "Run file\n" + table.text();
  }

  static void add_calculation(const Calculation& calculation, TextTable& table) {
    const auto first = [](const std::string& text) {
      return text.empty() ? "" : "; first " + text::one_line(text);
    };
    const auto agreement = [&](std::int64_t compared, std::int64_t differ, const std::string& which) {
      return std::to_string(compared - differ) + " of " + std::to_string(compared) + " agree" +
             (differ == 0 ? "" : first(which));
    };
    table.add({"Calculated by", text::one_line(calculation.engine)});
    if (!calculation.because.empty()) table.add({"", "because of " + text::one_line(calculation.because)});
    if (!calculation.now.empty()) table.add({"Clock of the model", text::one_line(calculation.now)});
    if (calculation.stored_compared > 0)
      table.add({"Stored values", agreement(calculation.stored_compared, calculation.stored_differ,
                                            calculation.stored_first)});
    if (!calculation.verified_by.empty())
      table.add({"Verified",
                 agreement(calculation.verified, calculation.verified_differ, calculation.verified_first) +
                     " bit by bit with " + text::one_line(calculation.verified_by)});
    else
      table.add({"Verified", "no" + (calculation.verified_first.empty()
                                         ? std::string()
                                         : ": " + text::one_line(calculation.verified_first))});
  }

  // "12: 10 of 2 inputs (10 possible), 2 of 3 inputs (10 possible)"
  std::string groups_text() const {
    std::map<std::size_t, std::int64_t> by_size;
    for (const Group& group : run_.groups) ++by_size[group.members.size()];
    std::size_t kept = 0;
    for (const Input& input : run_.inputs) kept += input.saved_samples ? 1 : 0;
    std::string text = std::to_string(run_.groups.size()) + ": ";
    for (const auto& [size, count] : by_size)
      text += (size == by_size.begin()->first ? "" : ", ") + std::to_string(count) + " of " +
              std::to_string(size) + " inputs (" + possible_groups(kept, size) + " possible)";
    return text;
  }

  static std::string possible_groups(std::size_t inputs, std::size_t size) {
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max());
    constexpr const char* kTooMany = "more than can be counted are";
    if (inputs > kMost) return kTooMany;
    try {
      return std::to_string(
          model::Combinations(static_cast<std::int16_t>(inputs), static_cast<std::int16_t>(size)));
    } catch (const host::Error&) {
      return kTooMany;
    }
  }

  // The book is said only where there are several.
  std::string cell_text(const Item& item) const {
    const std::string book = books_.size() > 1 ? "[" + item.book + "]" : "";
    return text::one_line(book + item.sheet + "!" + item.cell);
  }

  // Position, name, cell, base, extent of the values, a count, a remark.
  static TextTable item_table() {
    using enum Side;
    return TextTable({kRight, kLeft, kLeft, kRight, kRight, kRight, kLeft});
  }

  std::string input_table() const {
    TextTable table = item_table();
    table.add({"#", "Name", "Cell", "Base", "Values used", "Steps", ""});
    std::int64_t first = 0;
    for (std::size_t i = 0; i < run_.inputs.size(); ++i) {
      const Input& input = run_.inputs[i];
      const Extent used = values_used(input, first);
      first += input.steps;
      table.add({std::to_string(i + 1), name_text(input), cell_text(input), base_text(input),
                 extent_text(input, used), std::to_string(input.steps), remark(input, used)});
    }
    return table.text();
  }

  std::string output_table(std::int64_t& others) const {
    TextTable table = item_table();
    table.add({"#", "Name", "Cell", "Base", "Results", "Not numbers", ""});
    for (std::size_t i = 0; i < run_.outputs.size(); ++i) {
      const Output& output = run_.outputs[i];
      Extent results;
      for (std::int32_t simulation = 0; simulation < run_.simulations; ++simulation) {
        results.add(run_.output_values, run_.output_value_index(simulation, i, 0), run_.recalculations);
        results.add(run_.group_output_values, run_.group_output_index(simulation, i, 0),
                    run_.group_recalculations);
      }
      others += results.others;
      table.add({std::to_string(i + 1), name_text(output), cell_text(output), base_text(output),
                 extent_text(output, results), std::to_string(results.others), remark(output, results)});
    }
    return table.text();
  }

  Extent values_used(const Input& input, std::int64_t first) const {
    Extent used;
    for (std::int32_t simulation = 0; simulation < run_.simulations; ++simulation)
      used.add(run_.input_values, run_.input_value_index(simulation, first), input.steps);
    return used;
  }

  static std::string remark(const Input& input, const Extent& used) {
    if (!input.saved_samples) return "no saved samples: left out of the reports";
    if (used.numbers == 0) return "no value used is a number";
    if (used.others > 0) return std::to_string(used.others) + " values used are unknown";
    return used.moves(input.base) ? "" : "never moves";
  }

  static std::string remark(const Output& output, const Extent& results) {
    if (results.numbers == 0) return "no result is a number";
    if (!results.moves(output.base)) return "never moves";
    if (!output.base) return "its base is not a number";
    return output.target ? "target " + text::shortest_number(*output.target) : "";
  }

  const Run& run_;
  std::set<std::string> books_;
};

}  // namespace

std::string describe(const Run& run) {
  return Description(run).text();
}

}  // namespace ordvane::runfile
