#include "sweep/candidates.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <span>
#include <string_view>

#include "calc/convert.h"
#include "office/number_format.h"
#include "sweep/labels.h"
#include "sweep/plan.h"
#include "text/edit.h"

namespace ordvane::sweep {
namespace {

constexpr std::size_t kMostChoices = 20;
constexpr double kFirstYear = 1900, kLastYear = 2100;
constexpr double kLargestCount = 100;
constexpr int kShortestSeries = 3;  // of whole numbers one apart; of others one more

bool is_whole(double number) {
  return std::floor(number) == number;
}

// `texts` in small letters.
bool holds_any(const std::string& text, std::span<const std::string_view> texts) {
  return std::any_of(texts.begin(), texts.end(),
                     [&](std::string_view one) { return text.find(one) != std::string::npos; });
}

// General or digits without separators: years stand in no other format.
bool is_plain(const std::string& format) {
  return format == "General" || format == "0" || format == "@";
}

// No percentage and no unit.
bool is_bare(const std::string& format) {
  return is_plain(format) || format.find_first_not_of("0#.,") == std::string::npos;
}

// What a format writes beside the digits.
std::string words_in(const std::string& format) {
  std::string words;
  bool quoted = false;
  for (const char c : format) {
    if (c == '"') quoted = !quoted;
    if (quoted) words += c;
  }
  return text::lower_ascii(words);
}

class Judge {
 public:
  Judge(const calc::Model& model, std::span<const calc::CellId> cone);
  // Nothing for cells that are no constants.
  void judge(calc::CellId cell, Candidates& into) const;

 private:
  enum class Use : std::uint8_t { kNone, kCounts, kPicks };

  const calc::Workbook& book() const { return model_.workbook(); }
  const calc::Cell& cell_of(calc::CellId id) const { return book().cells[static_cast<std::size_t>(id)]; }
  const std::string& format_of(calc::CellId id) const {
    return book().formats[static_cast<std::size_t>(cell_of(id).format)];
  }

  void mark_uses(calc::CellId cell);
  calc::CellId single_cell(const calc::Formula& formula, std::int32_t node, const calc::Cell& cell) const;
  void mark(calc::CellId cell, Use use) {
    if (cell != calc::kNoCell) uses_[cell] = std::max(uses_[cell], use);
  }
  void mark_comparison(const calc::Formula& formula, const calc::Node& node, const calc::Cell& cell);
  void mark_places(const calc::Formula& formula, const calc::Node& node, const calc::Cell& cell);

  bool is_constant(calc::CellId cell) const;
  std::optional<std::vector<calc::Value>> choices(calc::CellId cell, calc::Arena& arena) const;
  std::vector<calc::Value> choices_of(const calc::DropDown& list, const calc::Cell& cell,
                                      calc::Arena& arena) const;
  bool judge_choices(calc::CellId cell, Candidates& into) const;
  std::string why_not(calc::CellId cell, const std::string& label) const;
  bool is_year(calc::CellId cell, const std::string& label) const;
  bool is_in_series(calc::CellId cell) const;
  std::optional<double> constant_at(const calc::Cell& cell, int rows, int columns) const;
  bool is_count(calc::CellId cell, const std::string& label) const;

  const calc::Model& model_;
  std::map<calc::CellId, Use> uses_;
};

Judge::Judge(const calc::Model& model, std::span<const calc::CellId> cone) : model_(model) {
  for (const calc::CellId cell : cone)
    if (cell_of(cell).formula >= 0) mark_uses(cell);
}

// --- how formulas use a cell ------------------------------------------------------------------------------

calc::CellId Judge::single_cell(const calc::Formula& formula, std::int32_t position,
                                const calc::Cell& cell) const {
  const calc::Node& node = formula.nodes[static_cast<std::size_t>(position)];
  if (node.type == calc::NodeType::kName) {
    const calc::Formula& named = book().named(node.name);
    return named.nodes.size() == 1 && named.nodes[0].type == calc::NodeType::kReference
               ? single_cell(named, 0, cell)
               : calc::kNoCell;
  }
  if (node.type != calc::NodeType::kReference) return calc::kNoCell;
  const calc::Reference block = calc::resolved(node, cell.row, cell.column);
  return block.is_cell() ? book().find(block.sheet, block.row, block.column) : calc::kNoCell;
}

// A cell that is compared with a written number stands for a case; one compared with another cell counts.
void Judge::mark_comparison(const calc::Formula& formula, const calc::Node& node, const calc::Cell& cell) {
  for (const auto& [one, other] :
       {std::pair(node.children[0], node.children[1]), std::pair(node.children[1], node.children[0])}) {
    const bool written = formula.nodes[static_cast<std::size_t>(other)].type == calc::NodeType::kConstant;
    mark(single_cell(formula, one, cell), written ? Use::kPicks : Use::kCounts);
  }
}

void Judge::mark_places(const calc::Formula& formula, const calc::Node& node, const calc::Cell& cell) {
  const std::string_view name = node.function->name;
  const auto child = [&](std::size_t i) { return single_cell(formula, node.children[i], cell); };
  if ((name == "CHOOSE" || name == "SWITCH") && !node.children.empty()) mark(child(0), Use::kPicks);
  if (name == "INDEX")
    for (std::size_t i = 1; i < node.children.size(); ++i) mark(child(i), Use::kPicks);
  if (name == "OFFSET")
    for (std::size_t i = 1; i < node.children.size(); ++i) mark(child(i), Use::kCounts);
}

void Judge::mark_uses(calc::CellId id) {
  const calc::Cell& cell = cell_of(id);
  const calc::Formula& formula = book().formulas[static_cast<std::size_t>(cell.formula)].tree;
  for (const calc::Node& node : formula.nodes) {
    if (node.type == calc::NodeType::kEqual || node.type == calc::NodeType::kUnequal)
      mark_comparison(formula, node, cell);
    if (node.type == calc::NodeType::kFunction) mark_places(formula, node, cell);
  }
}

// --- what a constant is -----------------------------------------------------------------------------------

// Also of a formula that is made of numbers alone, =12*45.
bool Judge::is_constant(calc::CellId id) const {
  if (!model_.has_formula(id)) return true;
  const std::int32_t position = cell_of(id).formula;
  if (position < 0) return false;
  const calc::Formula& formula = book().formulas[static_cast<std::size_t>(position)].tree;
  using calc::NodeType;
  return formula.unsupported.empty() &&
         std::all_of(formula.nodes.begin(), formula.nodes.end(), [](const calc::Node& node) {
           return node.type == NodeType::kConstant ||
                  (node.type >= NodeType::kNegate && node.type <= NodeType::kPower);
         });
}

std::vector<calc::Value> Judge::choices_of(const calc::DropDown& list, const calc::Cell& cell,
                                           calc::Arena& arena) const {
  std::vector<calc::Value> values;
  if (!list.tree.unsupported.empty() || list.tree.nodes.size() != 1) return values;
  const calc::Node* node = list.tree.nodes.data();
  if (node->type == calc::NodeType::kName && book().named(node->name).nodes.size() == 1)
    node = book().named(node->name).nodes.data();
  if (node->type == calc::NodeType::kConstant && node->constant.is_text()) {
    for (std::string_view rest = node->constant.text(); !rest.empty();) {
      const std::size_t end = std::min(rest.find(','), rest.size());
      const std::string item(text::trimmed(rest.substr(0, end)));
      const std::optional<double> number = calc::number_of_text(item, book().counts_from_1904);
      values.push_back(number ? calc::Value(*number) : arena.text(item));
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
  } else if (node->type == calc::NodeType::kReference) {
    const calc::Reference block = calc::resolved(*node, cell.row, cell.column);
    book().sheets[static_cast<std::size_t>(block.sheet)].grid.each(
        block, [&](calc::CellId id, std::int32_t, std::int32_t) {
          if (!model_.base(id).is_blank()) values.push_back(model_.base(id));
        });
  }
  return values;
}

std::optional<std::vector<calc::Value>> Judge::choices(calc::CellId id, calc::Arena& arena) const {
  const calc::Cell& cell = cell_of(id);
  for (const calc::DropDown& list : book().drop_downs)
    for (const calc::Reference& block : list.cells)
      if (block.sheet == cell.sheet && block.row <= cell.row && cell.row <= block.last_row &&
          block.column <= cell.column && cell.column <= block.last_column)
        return choices_of(list, cell, arena);
  return std::nullopt;
}

// Whether the cell has a drop-down list that settles what becomes of it.
bool Judge::judge_choices(calc::CellId cell, Candidates& into) const {
  calc::Arena arena;
  const auto values = choices(cell, arena);
  if (!values || values->empty()) return false;
  std::vector<double> numbers;
  for (const calc::Value& value : *values)
    if (value.kind() == calc::Kind::kNumber) numbers.push_back(value.number());
  if (numbers.size() < values->size() || !model_.base(cell).is_number()) {
    into.left_out.push_back({cell, "a choice of texts"});
    return true;
  }
  std::sort(numbers.begin(), numbers.end());
  numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  if (numbers.size() < 2 || numbers.size() > kMostChoices) return false;
  into.varied.push_back({cell, Candidate::Kind::kValues, std::move(numbers)});
  return true;
}

std::optional<double> Judge::constant_at(const calc::Cell& cell, int rows, int columns) const {
  const std::int32_t row = cell.row + rows;
  const std::int32_t column = cell.column + columns;
  if (row < 0 || column < 0) return std::nullopt;
  const calc::CellId id = book().find(cell.sheet, row, column);
  if (id == calc::kNoCell || model_.has_formula(id) || model_.base(id).kind() != calc::Kind::kNumber)
    return std::nullopt;
  return model_.base(id).number();
}

// Whole numbers at even distances, in a row or column: the heads of a table, not its content.
bool Judge::is_in_series(calc::CellId id) const {
  const calc::Cell& cell = cell_of(id);
  const double base = model_.base(id).number();
  for (const auto& [rows, columns] : {std::pair(1, 0), std::pair(0, 1)}) {
    const auto after = constant_at(cell, rows, columns);
    const auto before = constant_at(cell, -rows, -columns);
    if (!after && !before) continue;
    const double step = after ? *after - base : base - *before;
    if (step == 0 || !is_whole(step)) continue;
    int length = 1;
    for (const int direction : {-1, 1})
      for (int at = 1; length <= kShortestSeries; ++at, ++length)
        if (constant_at(cell, direction * at * rows, direction * at * columns) !=
            base + step * direction * at)
          break;
    if (length >= kShortestSeries + (step == 1 ? 0 : 1)) return true;
  }
  return false;
}

// Round hundreds are amounts, unless the label says otherwise.
bool Judge::is_year(calc::CellId cell, const std::string& label) const {
  constexpr auto kYear =
      std::to_array<std::string_view>({"year", "jahr", "ann\u00E9e", "a\u00F1o", "anno", "ano ", "\u5E74"});
  const double base = model_.base(cell).number();
  if (!is_whole(base) || base < kFirstYear || base > kLastYear || !is_plain(format_of(cell))) return false;
  return std::fmod(base, 100) != 0 || holds_any(label, kYear);
}

// "Days per year": the size of a unit, which no project changes.
bool is_conversion(double base, const std::string& label) {
  constexpr auto kUnits = std::to_array<std::string_view>(
      {"second", "minute", "hour", "day", "week", "month", "quarter", "year"});
  constexpr auto kSizes = std::to_array({4.0, 7.0, 12.0, 24.0, 30.0, 52.0, 60.0, 360.0, 365.0, 365.25, 366.0,
                                         1440.0, 3600.0, 8760.0, 8766.0, 8784.0, 86400.0});
  const auto named = std::count_if(kUnits.begin(), kUnits.end(), [&](std::string_view unit) {
    return label.find(unit) != std::string::npos;
  });
  return named >= 2 && std::find(kSizes.begin(), kSizes.end(), base) != kSizes.end();
}

// Why a number is not varied; empty: it is.
std::string Judge::why_not(calc::CellId cell, const std::string& label) const {
  const double base = model_.base(cell).number();
  if (office::NumberFormat(format_of(cell)).shows_dates()) return "a date";
  if (base == 0) return "0, of which a percentage is nothing";
  if (is_year(cell, label)) return "a year";
  if (is_whole(base) && is_in_series(cell)) return "one of a series of numbers";
  const auto use = uses_.find(cell);
  if (is_whole(base) && use != uses_.end() && use->second == Use::kPicks)
    return "a case that formulas tell apart";
  if (base == 1 && is_bare(format_of(cell))) return "1, a switch or no factor";
  if (is_conversion(base, label)) return "the size of a unit";
  return {};
}

// Half a year of a loan's term is not what its formulas are made for.
bool Judge::is_count(calc::CellId cell, const std::string& label) const {
  constexpr auto kWords = std::to_array<std::string_view>(
      {"year", "month", "week", "period", "number", "count", "#", "life", "jahr", "monat", "anzahl"});
  constexpr auto kRates = std::to_array<std::string_view>({"/", " per ", " pro ", "%", "$", "\u20AC"});
  const double base = std::fabs(model_.base(cell).number());
  if (!is_whole(base) || base < 2 || base > kLargestCount) return false;
  if (const auto use = uses_.find(cell); use != uses_.end() && use->second == Use::kCounts) return true;
  const std::string said = label + words_in(format_of(cell));
  return holds_any(said, kWords) && !holds_any(said, kRates);
}

void Judge::judge(calc::CellId cell, Candidates& into) const {
  const calc::Value value = model_.base(cell);
  if (value.is_blank() || value.is_error() || !is_constant(cell) || judge_choices(cell, into)) return;
  if (value.kind() == calc::Kind::kBoolean) into.left_out.push_back({cell, "a switch"});
  if (value.kind() != calc::Kind::kNumber) return;
  const std::string label = text::lower_ascii(label_of(model_, cell) + " " + unit_of(model_, cell));
  if (std::string why = why_not(cell, label); !why.empty()) {
    into.left_out.push_back({cell, std::move(why)});
    return;
  }
  const double base = value.number();
  const double one = base * (1 - kFoundPercent / 100);
  const double other = base * (1 + kFoundPercent / 100);
  Candidate candidate{cell, Candidate::Kind::kPercent, {std::min(one, other), std::max(one, other)}};
  if (is_count(cell, label)) {
    candidate.kind = Candidate::Kind::kValues;
    const double low = std::floor(candidate.values[0]);
    const double high = std::ceil(candidate.values[1]);
    candidate.values = spaced(low, high, static_cast<std::int32_t>(high - low) + 1);
  }
  // A share such as an availability ends at all of it.
  if (base < 1 && candidate.values[1] > 1 && format_of(cell).find('%') != std::string::npos) {
    candidate.kind = Candidate::Kind::kRange;
    candidate.values[1] = 1;
  }
  into.varied.push_back(std::move(candidate));
}

}  // namespace

Candidates find_candidates(const calc::Model& model, std::span<const calc::CellId> outputs) {
  const std::vector<calc::CellId> cone = model.all_precedents(outputs);
  const Judge judge(model, cone);
  Candidates candidates;
  for (const calc::CellId cell : cone)
    if (std::find(outputs.begin(), outputs.end(), cell) == outputs.end()) judge.judge(cell, candidates);
  return candidates;
}

}  // namespace ordvane::sweep
