#include "exchange/design.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "runfile/run.h"
#include "text/edit.h"
#include "text/numbers.h"

namespace ordvane::exchange {
namespace {

constexpr std::size_t kMostNamed = 4;     // inputs in a message
constexpr std::size_t kMostMembers = 32;  // of a group
constexpr std::size_t kFewMembers = 3;    // with as many, every choice of base levels is tried
constexpr const char* kPossible = "; one input at a time and full grids can be imported";

using Inputs = std::vector<std::size_t>;
using Values = std::vector<double>;

// The rows that vary the same inputs, by the values of these.
struct Unit {
  Inputs inputs;              // in the order in which the table names them
  std::size_t first_row = 0;  // of the table
  std::map<Values, std::size_t> rows;
};

class DesignFinder {
 public:
  explicit DesignFinder(const TableRows& rows) : rows_(rows) {}

  Design find(std::optional<std::int64_t> base_line) {
    design_.base = base_line ? row_at(*base_line) : found_base();
    for (std::size_t row = 0; row < rows_.count(); ++row)
      if (row != design_.base) place(row);
    for (const auto& [inputs, unit] : units_)
      if (inputs.size() == 1) add_single(unit);
    std::vector<const Unit*> groups;
    for (const auto& [inputs, unit] : units_)
      if (inputs.size() > 1) groups.push_back(&unit);
    // A grid of three holds those of two that go through the base case.
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Unit* a, const Unit* b) { return a->inputs.size() > b->inputs.size(); });
    for (const Unit* unit : groups) add_group(*unit);
    std::sort(design_.groups.begin(), design_.groups.end(), [&](const Grid& a, const Grid& b) {
      return first_row_.at(a.inputs) < first_row_.at(b.inputs);
    });
    complete_singles();
    return std::move(design_);
  }

 private:
  [[noreturn]] void fail(std::size_t row, const std::string& problem) const {
    throw runfile::BadRun(rows_.file, std::to_string(rows_.lines[row]), problem);
  }
  std::string line_of(std::size_t row) const { return "row " + std::to_string(rows_.lines[row]); }
  double base(std::size_t input) const { return rows_.value(design_.base, input); }
  bool says_what_varied() const { return !rows_.varied.empty(); }

  std::string named(const Inputs& inputs) const {
    std::string text;
    for (std::size_t i = 0; i < inputs.size() && i < kMostNamed; ++i)
      text += (i == 0                   ? ""
               : i + 1 == inputs.size() ? " and "
                                        : ", ") +
              text::quoted_text(rows_.inputs[inputs[i]]);
    if (inputs.size() > kMostNamed) text += " and " + std::to_string(inputs.size() - kMostNamed) + " more";
    return text;
  }

  std::string with_values(const Inputs& inputs, const Values& values) const {
    std::string text;
    for (std::size_t i = 0; i < inputs.size() && i < kMostNamed; ++i)
      text += (i == 0 ? "" : ", ") + text::cut_to(rows_.inputs[inputs[i]], 40) + " = " +
              text::shortest_number(values[i]);
    return text + (inputs.size() > kMostNamed ? ", ..." : "");
  }

  std::size_t row_at(std::int64_t line) const {
    const auto found = std::find(rows_.lines.begin(), rows_.lines.end(), line);
    if (found == rows_.lines.end())
      throw runfile::BadRun(rows_.file, "",
                            "has no row " + std::to_string(line) + " for --base; its rows are " +
                                std::to_string(rows_.lines.front()) + " to " +
                                std::to_string(rows_.lines.back()) +
                                ", that of the column names being row 1");
    return static_cast<std::size_t>(found - rows_.lines.begin());
  }

  std::size_t found_base() const {
    if (says_what_varied()) {
      for (std::size_t row = 0; row < rows_.count(); ++row)
        if (rows_.varied[row].empty()) return row;
      throw runfile::BadRun(rows_.file, "", "no row is the base case: every one has varied inputs");
    }
    Values base;
    for (std::size_t input = 0; input < rows_.inputs.size(); ++input) base.push_back(most_frequent(input));
    Inputs all;
    for (std::size_t input = 0; input < rows_.inputs.size(); ++input) all.push_back(input);
    for (std::size_t row = 0; row < rows_.count(); ++row)
      if (std::all_of(all.begin(), all.end(), [&](std::size_t i) { return rows_.value(row, i) == base[i]; }))
        return row;
    throw runfile::BadRun(
        rows_.file, "",
        "no row is the base case, where every input has the value that it has most often (" +
            with_values(all, base) + "); name one with --base");
  }

  double most_frequent(std::size_t input) const {
    std::map<double, std::size_t> counts;
    for (std::size_t row = 0; row < rows_.count(); ++row) ++counts[rows_.value(row, input)];
    std::vector<std::pair<std::size_t, double>> ordered;
    for (const auto& [value, count] : counts) ordered.emplace_back(count, value);
    std::sort(ordered.rbegin(), ordered.rend());
    if (ordered.size() > 1 && ordered[0].first == ordered[1].first)
      throw runfile::BadRun(rows_.file, "",
                            "the base case cannot be found: of the values of column " +
                                text::quoted_text(rows_.inputs[input]) +
                                " none stands more often than all others" + "; name its row with --base");
    return ordered[0].second;
  }

  // Inputs that are not at their base values.
  Inputs moved(std::size_t row) const {
    Inputs inputs;
    for (std::size_t input = 0; input < rows_.inputs.size(); ++input)
      if (rows_.value(row, input) != base(input)) inputs.push_back(input);
    return inputs;
  }

  void place(std::size_t row) {
    Inputs inputs = moved(row);
    if (says_what_varied()) {
      const Inputs& said = rows_.varied[row];
      for (const std::size_t input : inputs)
        if (std::find(said.begin(), said.end(), input) == said.end())
          fail(row, "column " + named({input}) + ": is " + text::shortest_number(rows_.value(row, input)) +
                        " and not at its base value " + text::shortest_number(base(input)) + " (" +
                        line_of(design_.base) + "), though the row does not say that it was varied");
      inputs = said;
    }
    if (inputs.empty()) return check_results(row, design_.base);
    if (inputs.size() > kMostMembers) fail(row, "varies " + named(inputs) + " together" + kPossible);
    Inputs key = inputs;
    std::sort(key.begin(), key.end());
    const auto [unit, is_new] = units_.try_emplace(key);
    if (is_new) {
      unit->second.inputs = inputs;
      unit->second.first_row = row;
    }
    Values values;
    for (const std::size_t input : unit->second.inputs) values.push_back(rows_.value(row, input));
    const auto [there, is_first] = unit->second.rows.emplace(std::move(values), row);
    if (!is_first) check_results(row, there->second);
  }

  void check_results(std::size_t row, std::size_t earlier) const {
    if (!rows_.same_results(row, earlier))
      fail(row, "has the inputs of " + line_of(earlier) +
                    (earlier == design_.base ? ", the base case," : "") + " and other results");
  }

  void add_single(const Unit& unit) {
    Grid grid{unit.inputs, {{}}, {}};
    std::map<Values, std::size_t> rows = unit.rows;
    if (!says_what_varied()) rows.emplace(Values{base(unit.inputs[0])}, design_.base);
    for (const auto& [values, row] : rows) {
      grid.levels[0].push_back(values[0]);
      grid.rows.push_back(row);
    }
    design_.singles.push_back(std::move(grid));
  }

  // The row at these values, where inputs at their base values need not be among the varied ones.
  std::optional<std::size_t> row_of(const Inputs& inputs, const Values& values) const {
    std::vector<std::pair<std::size_t, double>> off_base;
    for (std::size_t i = 0; i < inputs.size(); ++i)
      if (says_what_varied() || values[i] != base(inputs[i])) off_base.emplace_back(inputs[i], values[i]);
    if (off_base.empty()) return design_.base;
    Inputs key;
    for (const auto& [input, value] : off_base) key.push_back(input);
    std::sort(key.begin(), key.end());
    const auto unit = units_.find(key);
    if (unit == units_.end()) return std::nullopt;
    Values in_order;
    for (const std::size_t input : unit->second.inputs)
      for (const auto& [moved_input, value] : off_base)
        if (moved_input == input) in_order.push_back(value);
    const auto row = unit->second.rows.find(in_order);
    return row == unit->second.rows.end() ? std::nullopt : std::optional(row->second);
  }

  // The rows of every combination; the first combination that is not there instead.
  std::optional<Values> fill(Grid& grid) const {
    grid.rows.clear();
    std::vector<std::size_t> at(grid.inputs.size(), 0);
    for (;;) {
      Values values;
      for (std::size_t i = 0; i < at.size(); ++i) values.push_back(grid.levels[i][at[i]]);
      const auto row = row_of(grid.inputs, values);
      if (!row) return values;
      grid.rows.push_back(*row);
      std::size_t member = at.size();
      while (member > 0 && ++at[member - 1] == grid.levels[member - 1].size()) at[--member] = 0;
      if (member == 0) return std::nullopt;
    }
  }

  void add_group(const Unit& unit) {
    if (std::all_of(unit.rows.begin(), unit.rows.end(),
                    [&](const auto& entry) { return covered_.contains(entry.second); }))
      return;
    std::vector<std::set<double>> levels(unit.inputs.size());
    for (const auto& [values, row] : unit.rows)
      for (std::size_t i = 0; i < values.size(); ++i) levels[i].insert(values[i]);
    Grid grid{unit.inputs, {}, {}};
    std::optional<Values> missing;
    for (const std::vector<bool>& with_base : base_choices(unit.inputs.size())) {
      grid.levels.clear();
      for (std::size_t i = 0; i < levels.size(); ++i) {
        std::set<double> all = levels[i];
        if (with_base[i]) all.insert(base(unit.inputs[i]));
        grid.levels.emplace_back(all.begin(), all.end());
      }
      // One value of each is no grid, but a row that moves them together.
      const bool is_grid =
          says_what_varied() || std::all_of(grid.levels.begin(), grid.levels.end(),
                                            [](const Values& values) { return values.size() > 1; });
      if (missing && !is_grid) continue;
      missing = fill(grid);
      if (!missing) break;
    }
    if (missing)
      fail(unit.first_row, "varies " + named(unit.inputs) +
                               " together, and is no part of a full grid of them: no row has " +
                               with_values(unit.inputs, *missing) + kPossible);
    covered_.insert(grid.rows.begin(), grid.rows.end());
    first_row_[grid.inputs] = unit.first_row;
    design_.groups.push_back(std::move(grid));
  }

  // Which members have their base values among their levels, the most first. Where rows say what they varied,
  // these are all levels there are.
  std::vector<std::vector<bool>> base_choices(std::size_t members) const {
    if (says_what_varied()) return {std::vector<bool>(members, false)};
    std::vector<std::vector<bool>> choices;
    if (members > kFewMembers) return {std::vector<bool>(members, true), std::vector<bool>(members, false)};
    for (unsigned mask = 0; mask < 1U << members; ++mask) {
      std::vector<bool>& choice = choices.emplace_back();
      for (std::size_t i = 0; i < members; ++i) choice.push_back((mask >> i & 1U) != 0);
    }
    std::stable_sort(choices.begin(), choices.end(), [](const auto& a, const auto& b) {
      return std::count(a.begin(), a.end(), true) > std::count(b.begin(), b.end(), true);
    });
    return choices;
  }

  // Inputs that are varied together only have the base case as their step.
  void complete_singles() {
    std::set<std::size_t> alone, together;
    for (const Grid& grid : design_.singles) alone.insert(grid.inputs[0]);
    for (const Grid& grid : design_.groups) together.insert(grid.inputs.begin(), grid.inputs.end());
    for (std::size_t input = 0; input < rows_.inputs.size(); ++input) {
      if (alone.contains(input)) continue;
      if (together.contains(input))
        design_.singles.push_back({{input}, {{base(input)}}, {design_.base}});
      else
        design_.never_varied.push_back(input);
    }
    std::sort(design_.singles.begin(), design_.singles.end(),
              [](const Grid& a, const Grid& b) { return a.inputs[0] < b.inputs[0]; });
    if (design_.singles.empty())
      throw runfile::BadRun(rows_.file, "",
                            "no input is varied: every row has the values of " + line_of(design_.base));
  }

  const TableRows& rows_;
  Design design_;
  std::map<Inputs, Unit> units_;
  std::set<std::size_t> covered_;            // rows of groups
  std::map<Inputs, std::size_t> first_row_;  // of each group
};

}  // namespace

Design find_design(const TableRows& rows, std::optional<std::int64_t> base_line) {
  return DesignFinder(rows).find(base_line);
}

}  // namespace ordvane::exchange
