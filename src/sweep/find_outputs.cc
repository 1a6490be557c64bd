#include "sweep/find_outputs.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <tuple>

#include "office/number_format.h"
#include "sweep/labels.h"
#include "xlsx/parts.h"

namespace ordvane::sweep {
namespace {

constexpr std::size_t kMostMeasured = 200;  // cones, one by one
constexpr std::size_t kFew = 3;

// In the order of their proposal.
enum class Kind : std::uint8_t { kNumber, kDate, kOneOfMany, kZero };

bool same_corner(const calc::Corner& a, const calc::Corner& b) {
  return a.row == b.row && a.column == b.column && a.row_moves == b.row_moves &&
         a.column_moves == b.column_moves;
}

// The same but for the place, as of formulas that were copied.
bool alike(const calc::Formula& a, const calc::Formula& b) {
  return std::equal(a.nodes.begin(), a.nodes.end(), b.nodes.begin(), b.nodes.end(),
                    [](const calc::Node& one, const calc::Node& other) {
                      return one.type == other.type && one.function == other.function &&
                             one.name == other.name && one.sheet == other.sheet &&
                             one.children == other.children &&
                             calc::identical(one.constant, other.constant) &&
                             same_corner(one.first, other.first) && same_corner(one.last, other.last);
                    });
}

class Finals {
 public:
  explicit Finals(const calc::Model& model) : model_(model) {}

  // The best kinds first.
  std::vector<std::pair<Kind, calc::CellId>> all() const {
    std::vector<std::pair<Kind, calc::CellId>> found;
    for (const calc::CellId cell : unread())
      if (!sheet_of(cell).hidden && !is_report(cell_of(cell).sheet) && !shows_constant(cell) &&
          model_.obstacle(cell).empty() && !label_of(model_, cell).empty())
        found.emplace_back(kind_of(cell), cell);
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    const auto others = std::find_if(found.begin(), found.end(),
                                     [](const auto& one) { return one.first >= Kind::kOneOfMany; });
    if (static_cast<std::size_t>(others - found.begin()) >= kFew) found.erase(others, found.end());
    return found;
  }

 private:
  const calc::Cell& cell_of(calc::CellId id) const {
    return model_.workbook().cells[static_cast<std::size_t>(id)];
  }
  const calc::Sheet& sheet_of(calc::CellId id) const {
    return model_.workbook().sheets[static_cast<std::size_t>(cell_of(id).sheet)];
  }
  const calc::Formula* formula_of(calc::CellId id) const {
    const std::int32_t formula = id == calc::kNoCell ? -1 : cell_of(id).formula;
    return formula < 0 ? nullptr : &model_.workbook().formulas[static_cast<std::size_t>(formula)].tree;
  }

  // Made by this program, with formulas of its own.
  bool is_report(std::int32_t sheet) const {
    const auto& names = model_.workbook().names;
    return std::any_of(names.begin(), names.end(), [&](const calc::DefinedName& name) {
      return name.sheet == sheet && name.name == xlsx::kReportMark;
    });
  }

  // Texts made of a number and checks of it, true or 0 as they are, do not take it from the results.
  std::vector<calc::CellId> unread() const {
    std::vector<calc::CellId> numbers;
    for (const calc::CellId cell : model_.formula_cells())
      if (model_.base(cell).kind() == calc::Kind::kNumber) numbers.push_back(cell);
    const std::vector<calc::CellId> last = unread_by(numbers, numbers);
    std::vector<calc::CellId> readers = numbers;
    std::erase_if(readers, [&](calc::CellId cell) {
      return model_.base(cell).number() == 0 && std::binary_search(last.begin(), last.end(), cell);
    });
    return unread_by(readers, numbers);
  }

  std::vector<calc::CellId> unread_by(const std::vector<calc::CellId>& readers,
                                      std::vector<calc::CellId> cells) const {
    std::vector<bool> is_read(model_.workbook().cells.size());
    for (const calc::CellId cell : readers)
      model_.each_precedent(
          cell, [&](calc::CellId precedent) { is_read[static_cast<std::size_t>(precedent)] = true; });
    std::erase_if(cells, [&](calc::CellId cell) { return is_read[static_cast<std::size_t>(cell)]; });
    return cells;
  }

  // =Prices!C3, where that is an input.
  bool shows_constant(calc::CellId cell) const {
    const calc::Formula* formula = formula_of(cell);
    if (formula == nullptr || formula->nodes.size() != 1) return false;
    bool found = false;
    model_.each_precedent(cell, [&](calc::CellId precedent) { found = model_.has_formula(precedent); });
    return !found;
  }

  Kind kind_of(calc::CellId cell) const {
    const std::string& format = model_.workbook().formats[static_cast<std::size_t>(cell_of(cell).format)];
    if (model_.base(cell).number() == 0) return Kind::kZero;
    if (is_one_of_many(cell)) return Kind::kOneOfMany;
    return office::NumberFormat(format).shows_dates() ? Kind::kDate : Kind::kNumber;
  }

  bool is_one_of_many(calc::CellId id) const {
    const calc::Cell& cell = cell_of(id);
    const calc::Formula* formula = formula_of(id);
    if (formula == nullptr) return true;  // of an array
    for (const auto& [rows, columns] : {std::pair(-1, 0), {1, 0}, {0, -1}, {0, 1}}) {
      if (cell.row + rows < 0 || cell.column + columns < 0) continue;
      const calc::Formula* other =
          formula_of(model_.workbook().find(cell.sheet, cell.row + rows, cell.column + columns));
      if (other != nullptr && alike(*formula, *other)) return true;
    }
    return false;
  }

  const calc::Model& model_;
};

}  // namespace

std::vector<calc::CellId> find_outputs(const calc::Model& model, std::size_t most) {
  struct Measured {
    Kind kind = Kind::kNumber;
    std::size_t size = 0;
    calc::CellId cell = calc::kNoCell;
  };
  std::vector<Measured> measured;
  for (const auto& [kind, cell] : Finals(model).all()) {
    if (measured.size() >= kMostMeasured) break;
    measured.push_back({kind, model.all_precedents(std::span(&cell, 1)).size(), cell});
  }
  std::stable_sort(measured.begin(), measured.end(), [](const Measured& a, const Measured& b) {
    return std::tuple(a.kind, b.size) < std::tuple(b.kind, a.size);
  });
  std::vector<calc::CellId> cells;
  for (std::size_t i = 0; i < std::min(most, measured.size()); ++i) cells.push_back(measured[i].cell);
  return cells;
}

}  // namespace ordvane::sweep
