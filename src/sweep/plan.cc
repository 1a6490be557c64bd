#include "sweep/plan.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

#include "calc/address.h"
#include "office/formula.h"
#include "office/number_format.h"
#include "runfile/cell_address.h"
#include "runfile/values.h"
#include "sweep/labels.h"
#include "text/edit.h"
#include "text/utf16.h"
#include "unicode/names.h"

namespace ordvane::sweep {
namespace {

using runfile::BadRun;

constexpr std::int64_t kMostRecalculations = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kMostGroups = 10'000'000;
constexpr double kDaysBetweenCalendars = 1462;  // from the day 0 of the calendar of 1900 to that of 1904
constexpr double kSameBase = 1e-9;              // relative

std::string cell_text(const calc::Cell& cell) {
  return calc::cell_name(cell.row, cell.column);
}

// --- cells ------------------------------------------------------------------------------------------------

std::string sheet_list(const calc::Workbook& book) {
  constexpr std::size_t kMostNamed = 12;
  std::string list;
  for (std::size_t i = 0; i < std::min(kMostNamed, book.sheets.size()); ++i)
    list += (i > 0 ? ", " : "") + text::quoted_text(book.sheets[i].name);
  return list + (book.sheets.size() > kMostNamed ? ", ..." : "");
}

[[noreturn]] void refuse(const Wanted& wanted, const std::string& field, const std::string& problem) {
  std::string where = wanted.path;
  if (!where.empty() && !field.empty()) where += "." + field;
  throw BadRun(wanted.file, where, problem);
}

}  // namespace

calc::CellId find_cell(const Wanted& wanted, calc::Model& model) {
  const calc::Workbook& book = model.workbook();
  if (!wanted.defined_name.empty()) {
    const calc::CellId cell = model.named_cell(wanted.defined_name);
    if (cell == calc::kNoCell)
      refuse(wanted, "name",
             "is " + text::quoted_text(wanted.defined_name) +
                 ", which is no name of a single cell in the workbook; a name or a cell such as Prices!C5 is "
                 "expected");
    return cell;
  }
  std::int32_t sheet = 0;
  if (!wanted.sheet.empty())
    sheet = book.sheet(wanted.sheet);
  else if (book.sheets.size() > 1)
    refuse(wanted, "cell", "is " + wanted.cell + " without a sheet; the workbook has " + sheet_list(book));
  if (sheet < 0)
    refuse(wanted, "sheet",
           "is " + text::quoted_text(wanted.sheet) + "; the workbook has " + sheet_list(book));
  const runfile::Cell place = *runfile::parse_cell(wanted.cell);
  return model.cell(sheet, place.row - 1, place.column - 1);
}

namespace {

// --- what a run file says of a cell -----------------------------------------------------------------------

std::string formula_of(const calc::Workbook& book, const calc::Cell& cell) {
  const calc::Cell& holder =
      cell.array == calc::kNoCell ? cell : book.cells[static_cast<std::size_t>(cell.array)];
  if (holder.formula < 0) return {};
  const calc::CellFormula& formula = book.formulas[static_cast<std::size_t>(holder.formula)];
  std::string text = "=" + formula.text;
  if (formula.is_array) return text;
  // A shared formula is kept as its first cell has it.
  const auto& cells = book.cells;
  const auto first = std::find_if(cells.begin(), cells.end(),
                                  [&](const calc::Cell& other) { return other.formula == holder.formula; });
  return office::moved_formula(text, holder.row - first->row, holder.column - first->column);
}

void describe(const Wanted& wanted, calc::Model& model, calc::CellId id, const std::string& book_name,
              runfile::Item& item) {
  const calc::Workbook& book = model.workbook();
  const calc::Cell& cell = book.cells[static_cast<std::size_t>(id)];
  item.name = wanted.name.empty() ? wanted.defined_name : wanted.name;
  item.book = book_name;
  item.sheet = book.sheets[static_cast<std::size_t>(cell.sheet)].name;
  item.cell = cell_text(cell);
  item.formula = formula_of(book, cell);
  const calc::Value base = model.base(id);
  if (base.is_number() && std::fabs(base.number()) < runfile::kNumberLimit) item.base = base.number();
  item.number_format = book.formats[static_cast<std::size_t>(cell.format)];
  if (text::utf16_length(item.number_format) > runfile::kLongestNumberFormat) item.number_format = "General";
  item.date = office::NumberFormat(item.number_format).shows_dates();
  for (const auto& [rows, columns] : {std::pair(0, -1), std::pair(-1, 0)})
    if (auto label = nearest_text(model, cell, rows, columns)) item.labels.push_back(*std::move(label));
}

// A definition that was made for another state of the model would be taken for results of this one.
void check_base(const Wanted& wanted, const runfile::Item& item) {
  if (!wanted.base || !item.base) return;
  const double difference = std::fabs(*wanted.base - *item.base);
  if (difference > kSameBase * std::max(std::fabs(*wanted.base), std::fabs(*item.base)))
    refuse(wanted, "base",
           "is " + shown({*wanted.base, ""}) + "; the workbook has " + shown({*item.base, ""}));
}

// --- values -----------------------------------------------------------------------------------------------

double number_of(const Bound& bound, const calc::Workbook& book) {
  return bound.is_date && book.counts_from_1904 ? bound.value - kDaysBetweenCalendars : bound.value;
}

// The ends of an input's range.
std::pair<double, double> range_of(const WantedInput& wanted, const runfile::Input& item,
                                   const calc::Workbook& book) {
  if (wanted.low) return {number_of(*wanted.low, book), number_of(*wanted.high, book)};
  if (!item.base)
    refuse(wanted, "percent",
           "has no base to be a percentage of: the cell " + item.cell + " on " +
               text::quoted_text(item.sheet) + " is no number");
  const double first = *item.base * (1 + wanted.percent->first / 100);
  const double last = *item.base * (1 + wanted.percent->second / 100);
  return {std::min(first, last), std::max(first, last)};
}

std::vector<double> values_of(const WantedInput& wanted, const PlannedInput& input,
                              const calc::Workbook& book, std::int32_t steps) {
  if (!wanted.values.empty()) return wanted.values;
  const auto [low, high] = range_of(wanted, input.item, book);
  return spaced(low, high, steps);
}

// What a member of a group takes.
std::vector<double> member_values(const WantedGroup& group, std::size_t member, std::int32_t steps,
                                  const WhatIf& what_if, const PlannedInput& input,
                                  const calc::Workbook& book) {
  const WantedInput& wanted = what_if.inputs[group.members[member]];
  if (wanted.values.empty()) return values_of(wanted, input, book, steps);
  if (static_cast<std::size_t>(steps) > wanted.values.size())
    throw BadRun(group.file, group.path + ".steps",
                 "is " + std::to_string(steps) + " for an input of " + std::to_string(wanted.values.size()) +
                     " values");
  std::vector<double> values;
  for (const std::size_t at : spread(wanted.values.size(), steps)) values.push_back(wanted.values[at]);
  return values;
}

PlannedGroup plan_group(const WantedGroup& wanted, const WhatIf& what_if, const Plan& plan,
                        const calc::Workbook& book) {
  PlannedGroup group{wanted.members, {}, 1};
  for (std::size_t m = 0; m < wanted.members.size(); ++m) {
    const PlannedInput& input = plan.inputs[wanted.members[m]];
    if (wanted.steps.empty())
      group.values.push_back(input.values);
    else
      group.values.push_back(member_values(wanted, m, wanted.steps[m], what_if, input, book));
    group.combinations *= static_cast<std::int64_t>(group.values.back().size());
    if (group.combinations > kMostRecalculations)
      throw BadRun(wanted.file, wanted.path, "has more combinations of steps than can be counted");
  }
  return group;
}

// Every group of the size, in the order of the inputs.
std::vector<WantedGroup> all_groups(std::int32_t group_size, std::int32_t steps, std::size_t inputs,
                                    const std::string& file) {
  const auto size = static_cast<std::size_t>(group_size);
  std::vector<WantedGroup> groups;
  std::vector<std::size_t> chosen(size);
  std::iota(chosen.begin(), chosen.end(), std::size_t{0});
  for (;;) {
    if (static_cast<std::int64_t>(groups.size()) >= kMostGroups)
      throw BadRun(file, "groups", "are more than " + std::to_string(kMostGroups));
    groups.push_back({file, "groups", chosen, std::vector<std::int32_t>(size, steps)});
    std::size_t moved = size;
    while (moved > 0 && chosen[moved - 1] == inputs - size + moved - 1) --moved;
    if (moved == 0) return groups;
    ++chosen[moved - 1];
    for (std::size_t place = moved; place < size; ++place) chosen[place] = chosen[place - 1] + 1;
  }
}

// --- the plan ---------------------------------------------------------------------------------------------

template <class Planned>
void check_places(const std::vector<Wanted>& wanted, const std::vector<Planned>& planned) {
  std::map<calc::CellId, std::size_t> places;
  for (std::size_t i = 0; i < planned.size(); ++i) {
    const auto [place, added] = places.try_emplace(planned[i].cell, i);
    if (!added)
      refuse(wanted[i], "cell",
             "is " + planned[i].item.cell + " on " + text::quoted_text(planned[i].item.sheet) +
                 ", which is there already");
  }
}

void plan_inputs(const WhatIf& what_if, calc::Model& model, const std::string& book, Plan& plan) {
  for (const WantedInput& wanted : what_if.inputs) {
    PlannedInput& input = plan.inputs.emplace_back();
    input.cell = find_cell(wanted, model);
    describe(wanted, model, input.cell, book, input.item);
    check_base(wanted, input.item);
    input.values = values_of(wanted, input, model.workbook(), wanted.steps.value_or(what_if.steps));
    input.item.steps = static_cast<std::int32_t>(input.values.size());
    plan.steps += input.item.steps;
  }
  check_places(std::vector<Wanted>(what_if.inputs.begin(), what_if.inputs.end()), plan.inputs);
}

void plan_outputs(const WhatIf& what_if, calc::Model& model, const std::string& book, Plan& plan) {
  for (const WantedOutput& wanted : what_if.outputs) {
    PlannedOutput& output = plan.outputs.emplace_back();
    output.item.target = wanted.target;
    output.cell = find_cell(wanted, model);
    describe(wanted, model, output.cell, book, output.item);
  }
  check_places(std::vector<Wanted>(what_if.outputs.begin(), what_if.outputs.end()), plan.outputs);
}

void plan_groups(const WhatIf& what_if, const calc::Workbook& book, Plan& plan) {
  std::vector<WantedGroup> wanted = what_if.groups;
  if (what_if.all_groups) {
    wanted = all_groups(what_if.all_groups->first, what_if.all_groups->second, plan.inputs.size(),
                        what_if.inputs.front().file);
    plan.all_groups = true;
  }
  for (const WantedGroup& group : wanted) {
    plan.groups.push_back(plan_group(group, what_if, plan, book));
    plan.combinations += plan.groups.back().combinations;
    if (plan.total() > kMostRecalculations)
      throw BadRun(group.file, group.path,
                   "makes more recalculations than a run can hold: at most " +
                       std::to_string(kMostRecalculations) + " are possible");
  }
}

}  // namespace

std::vector<calc::CellId> output_cells(const Plan& plan) {
  std::vector<calc::CellId> cells;
  cells.reserve(plan.outputs.size());
  for (const PlannedOutput& output : plan.outputs) cells.push_back(output.cell);
  return cells;
}

std::vector<double> spaced(double low, double high, std::int32_t steps) {
  std::vector<double> values;
  const std::int32_t last = steps - 1;
  for (std::int32_t step = 0; step < last; ++step)
    values.push_back(low + (high - low) * static_cast<double>(step) / static_cast<double>(last));
  values.push_back(last == 0 ? low : high);
  return values;
}

std::vector<std::size_t> spread(std::size_t count, std::int32_t steps) {
  std::vector<std::size_t> chosen;
  const auto last = static_cast<std::size_t>(steps) - 1;
  for (std::size_t step = 0; step <= last; ++step)
    chosen.push_back(last == 0 ? 0 : (2 * step * (count - 1) + last) / (2 * last));
  return chosen;
}

Plan make_plan(const WhatIf& what_if, calc::Model& model, const std::string& book) {
  Plan plan;
  if (what_if.outputs.empty()) throw BadRun("--output", "", "is missing; which cells are looked at?");
  plan_inputs(what_if, model, book, plan);
  plan_outputs(what_if, model, book, plan);
  plan_groups(what_if, model.workbook(), plan);
  return plan;
}

PlanRows::PlanRows(const Plan& plan, std::int64_t first) : plan_(plan) {
  row_.in_group = first >= plan.steps;
  std::int64_t position = row_.in_group ? first - plan.steps : first;
  const auto count = [&](std::int64_t of) {
    return row_.in_group ? plan.groups[static_cast<std::size_t>(of)].combinations
                         : static_cast<std::int64_t>(plan.inputs[static_cast<std::size_t>(of)].values.size());
  };
  const auto end = static_cast<std::int64_t>(row_.in_group ? plan.groups.size() : plan.inputs.size());
  while (row_.of < end && position >= count(row_.of)) position -= count(row_.of++);
  enter(position);
}

void PlanRows::enter(std::int64_t position) {
  const auto of = static_cast<std::size_t>(row_.of);
  row_.position = position;
  if (!row_.in_group && of >= plan_.inputs.size()) {
    row_.in_group = true;
    row_.of = 0;
    return enter(position);
  }
  if (row_.in_group)
    of_count_ = of < plan_.groups.size() ? plan_.groups[of].combinations : 0;
  else
    of_count_ = static_cast<std::int64_t>(plan_.inputs[of].values.size());
}

const PlannedRow& PlanRows::next() {
  if (!fresh_ && ++row_.position >= of_count_) {
    ++row_.of;
    enter(0);
  }
  fresh_ = false;
  fill();
  return row_;
}

void PlanRows::fill() {
  row_.changes.clear();
  const auto of = static_cast<std::size_t>(row_.of);
  if (!row_.in_group) {
    row_.changes.push_back({of, plan_.inputs[of].values[static_cast<std::size_t>(row_.position)]});
    return;
  }
  const PlannedGroup& group = plan_.groups[of];
  std::int64_t stride = group.combinations;
  for (std::size_t m = 0; m < group.members.size(); ++m) {
    const auto count = static_cast<std::int64_t>(group.values[m].size());
    stride /= count;
    row_.changes.push_back(
        {group.members[m], group.values[m][static_cast<std::size_t>(row_.position / stride % count)]});
  }
}

}  // namespace ordvane::sweep
