#include "office/sheet.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "host/side_by_side.h"
#include "office/refusal.h"
#include "office/state.h"
#include "text/utf16.h"

namespace ordvane::office {
namespace {

using host::CellKind;
using host::CellValue;

constexpr std::int32_t kLongestText = 32767;  // UTF-16 units

void check_text(std::string_view text) {
  if (text.size() > kLongestText && text::utf16_length(text) > kLongestText)
    refuse("A cell holds at most 32,767 characters");
}

// Cells hold no infinities.
CellContent storable(CellKind kind, double number) {
  if (kind == CellKind::kNumber && !std::isfinite(number))
    return {CellKind::kError, static_cast<double>(host::CellError::kNum)};
  return {kind, number};
}

bool is_formula(const std::string& text) {
  return text.size() > 1 && text[0] == '=';
}

std::string without_equals(const std::string& formula) {
  return !formula.empty() && formula[0] == '=' ? formula.substr(1) : formula;
}

}  // namespace

Sheet::Sheet(Book& owner, std::shared_ptr<SheetModel> data)
    : book(&owner), model(std::move(data)), cells_(model->bands), merges_(model->merges) {}

// ---- Values ----

CellValue Sheet::value_at(const RowBand& band, std::size_t index) const {
  return value_of(book->model->texts, band.cells[index]);
}

CellValue Sheet::stored_value(std::int32_t row, std::int32_t column) {
  const CellStore::Slot place = cells_.find(row, column);
  return place.band ? value_at(*place.band, place.index) : CellValue();
}

CellValue Sheet::value(std::int32_t row, std::int32_t column) {
  const CellRef cell{row, column};
  if (model->formulas.contains(cell)) {
    if (computation(cell).under_way) return host::CellError::kRef;  // it depends on itself
    compute(cell);
  }
  return stored_value(row, column);
}

void Sheet::each_value(const Area& area, const std::function<void(const CellValue&)>& visit) {
  compute_area(area);
  const auto is_under_way = [this](const CellRef& cell) {
    const auto known = computations_.find(cell);
    return known != computations_.end() && known->second.under_way;
  };
  cells_.for_each_run(
      area, [&](RowBand& band, std::size_t index, std::int32_t row, std::int32_t column, std::size_t count) {
        for (std::size_t i = index; i < index + count; ++i, ++column) {
          if (!computations_.empty() && is_under_way({row, column}))
            visit(host::CellError::kRef);  // it depends on itself
          else if (band.cells[i].kind() != CellKind::kBlank)
            visit(value_at(band, i));
        }
      });
}

host::CellBlock Sheet::values(const Area& area) {
  compute_area(area);
  host::CellBlock block(area.rows, area.columns);
  std::unordered_map<TextId, host::CellBlock::TextId> text_ids;
  cells_.for_each_run(
      area, [&](RowBand& band, std::size_t index, std::int32_t row, std::int32_t column, std::size_t count) {
        for (std::size_t i = index; i < index + count; ++i, ++column) {
          const std::int32_t block_row = row - area.row + 1, block_column = column - area.column + 1;
          const CellContent& cell = band.cells[i];
          if (cell.is_number()) {
            block.set_number(block_row, block_column, cell.number());
          } else if (cell.kind() == CellKind::kText) {
            const auto id = static_cast<TextId>(cell.value());
            const auto [known, added] = text_ids.try_emplace(id, 0);
            if (added) known->second = block.add_text(book->model->texts.at(id));
            block.set_text(block_row, block_column, known->second);
          } else if (cell.kind() != CellKind::kBlank) {
            block.set(block_row, block_column, value_at(band, i));
          }
        }
      });
  return block;
}

void Sheet::write(RowBand& band, std::size_t index, const CellValue& value) {
  band.cells[index] = value.kind == CellKind::kText
                          ? CellContent(CellKind::kText, book->model->texts.intern(value.text))
                          : storable(value.kind, value.number);
}

void Sheet::store(const CellRef& cell, const CellValue& value) {
  CellStore::Slot place = cells_.find(cell.row, cell.column);
  if (!place.band) {
    if (value.kind == CellKind::kBlank) return;
    cells_.ensure({cell.row, cell.column, 1, 1});
    place = cells_.find(cell.row, cell.column);
  }
  write(*place.band, place.index, value);
}

void Sheet::set_value(const Area& area, const CellValue& value) {
  check_text(value.text);
  if (value.kind != CellKind::kBlank) cells_.ensure(area);
  forget_formulas(area);
  cells_.for_each_run(area,
                      [&](RowBand& band, std::size_t index, std::int32_t, std::int32_t, std::size_t count) {
                        for (std::size_t i = index; i < index + count; ++i) write(band, i, value);
                      });
}

namespace {

// The cells of some rows of a block.
struct BlockRows {
  const host::CellBlock* block;
  const std::vector<TextId>* texts;  // what the block's are here
  std::int32_t top;                  // sheet row of the block's first
  Area area;
};

void write_row(const host::CellBlock& block, std::int32_t row, std::int32_t column,
               const std::vector<TextId>& texts, std::span<CellContent> cells) {
  for (CellContent& stored : cells) {
    const host::CellBlock::Cell& cell = block.at(row, column++);
    stored = cell.kind == CellKind::kText
                 ? CellContent(CellKind::kText, static_cast<double>(texts[cell.text]))
                 : storable(cell.kind, cell.number);
  }
}

}  // namespace

// Texts are numbered in the order of the blocks; then the cells are written on all processors.
void Sheet::put(const Area& area, std::span<const host::CellBlock* const> blocks) {
  constexpr std::int32_t kCellsAtOnce = 1 << 14;
  std::int32_t rows = 0;
  for (const host::CellBlock* block : blocks) {
    if (block->columns() != area.columns) refuse("The block and the range differ in size");
    rows += block->rows();
    for (host::CellBlock::TextId id = 0; id < block->text_count(); ++id) check_text(block->text(id));
  }
  if (rows != area.rows) refuse("The block and the range differ in size");
  std::vector<std::vector<TextId>> texts(blocks.size());
  std::vector<BlockRows> pieces;
  const std::int32_t at_once = std::max(kCellsAtOnce / area.columns, 1);
  std::int32_t top = area.row;
  for (std::size_t i = 0; i < blocks.size(); top += blocks[i++]->rows()) {
    texts[i] = text_ids(*blocks[i]);
    for (std::int32_t row = 0; row < blocks[i]->rows(); row += at_once)
      pieces.push_back({blocks[i],
                        &texts[i],
                        top,
                        {top + row, area.column, std::min(at_once, blocks[i]->rows() - row), area.columns}});
  }
  cells_.ensure_together(area);
  forget_formulas(area);
  host::each_side_by_side(pieces.size(), host::processors(), [&](std::size_t i) {
    const BlockRows& piece = pieces[i];
    cells_.for_each_run(piece.area, [&](RowBand& band, std::size_t index, std::int32_t row,
                                        std::int32_t column, std::size_t count) {
      write_row(*piece.block, row - piece.top + 1, column - area.column + 1, *piece.texts,
                std::span(band.cells).subspan(index, count));
    });
  });
}

// The numbers that a block's texts have here: new ones in the order of the cells.
std::vector<TextId> Sheet::text_ids(const host::CellBlock& block) {
  constexpr TextId kUnknown = static_cast<TextId>(-1);
  std::vector<TextId> ids(block.text_count(), kUnknown);
  std::size_t unknown = ids.size();
  for (std::int32_t row = 1; row <= block.rows() && unknown > 0; ++row)
    for (std::int32_t column = 1; column <= block.columns(); ++column) {
      const host::CellBlock::Cell& cell = block.at(row, column);
      if (cell.kind != CellKind::kText || ids[cell.text] != kUnknown) continue;
      ids[cell.text] = book->model->texts.intern(block.text(cell.text));
      --unknown;
    }
  return ids;
}

// ---- Formulas ----

template <class Visit>
void Sheet::for_each_formula(const Area& area, Visit&& visit) {
  const std::int32_t last_column = area.column + area.columns - 1;
  auto place = model->formulas.lower_bound({area.row, area.column});
  while (place != model->formulas.end() && place->first.row < area.row + area.rows) {
    const CellRef cell = place->first;
    if (cell.column < area.column) {
      place = model->formulas.lower_bound({cell.row, area.column});
    } else if (cell.column > last_column) {
      place = model->formulas.lower_bound({cell.row + 1, area.column});
    } else {
      ++place;  // before the visit, which may remove the formula
      visit(cell);
    }
  }
}

void Sheet::forget_formulas(const Area& area) {
  ++state_;
  for_each_formula(area, [&](const CellRef& cell) {
    model->formulas.erase(cell);
    computations_.erase(cell);
  });
}

std::string Sheet::formula(std::int32_t row, std::int32_t column) {
  const auto found = model->formulas.find({row, column});
  return found != model->formulas.end() ? found->second : edited_text(stored_value(row, column));
}

void Sheet::set_formula(const Area& area, const std::string& formula) {
  cells_.ensure(area);
  forget_formulas(area);
  const std::shared_ptr<const Formula> filled = filled_formula(area, formula);
  for (std::int32_t row = 0; row < area.rows; ++row) {
    for (std::int32_t column = 0; column < area.columns; ++column) {
      const CellRef cell{area.row + row, area.column + column};
      enter_formula(cell, row == 0 && column == 0 ? formula : moved_formula(formula, row, column));
      if (filled) computations_.try_emplace(cell, Computation{filled, {row, column}});
    }
  }
}

// Read once for all cells of an area; null where the cells have none in common.
std::shared_ptr<const Formula> Sheet::filled_formula(const Area& area, const std::string& formula) const {
  if (!is_formula(formula) || (area.rows == 1 && area.columns == 1)) return nullptr;
  auto filled = std::make_shared<const Formula>(without_equals(formula));
  const Shift farthest{area.rows - 1, area.columns - 1};
  const auto stays_inside = [&](const Reference& cells) { return inside_sheet(cells.moved(farthest)); };
  return std::ranges::all_of(filled->precedents(), stays_inside) ? filled : nullptr;
}

void Sheet::enter_formula(const CellRef& cell, const std::string& formula) {
  const CellValue* known = recorded(cell, formula);
  if (is_formula(formula)) {
    model->formulas[cell] = formula;
    if (known) computations_[cell] = Computation{};
  } else if (!known) {
    const CellValue typed = typed_value(formula);
    check_text(typed.text);
    store(cell, typed);
  }
  if (known) store(cell, *known);
}

void Sheet::record(const CellRef& cell, const std::string& formula, const CellValue& value) {
  recorded_[cell][without_equals(formula)] = value;
}

const CellValue* Sheet::recorded(const CellRef& cell, const std::string& formula) const {
  const auto known = recorded_.find(cell);
  if (known == recorded_.end()) return nullptr;
  const auto value = known->second.find(without_equals(formula));
  return value == known->second.end() ? nullptr : &value->second;
}

const NumberSymbols& Sheet::symbols() const {
  return application_of(book_of(*this)).symbols;
}

CellValue Sheet::evaluate(const std::string& formula) {
  const Formula parsed(without_equals(formula));
  for (const Reference& cells : parsed.precedents()) compute_area(cells.area);
  return parsed.compute(*this);
}

CellValue Sheet::evaluate(const CellRef& cell, const std::string& formula) {
  const CellValue* known = recorded(cell, formula);
  return known ? *known : evaluate(formula);
}

Sheet::Computation& Sheet::computation(const CellRef& cell) {
  const auto [place, added] = computations_.try_emplace(cell);
  if (added)
    place->second.formula = std::make_shared<const Formula>(without_equals(model->formulas.at(cell)));
  return place->second;
}

bool Sheet::is_current(const Computation& computation) const {
  return !computation.formula || computation.computed_at == state_;
}

std::vector<CellRef> Sheet::outdated_precedents(const Computation& computation) {
  std::vector<CellRef> found;
  for (const Reference& cells : computation.formula->precedents()) {
    for_each_formula(cells.moved(computation.shift), [&](const CellRef& cell) {
      const Computation& precedent = this->computation(cell);
      if (!precedent.under_way && !is_current(precedent)) found.push_back(cell);
    });
  }
  return found;
}

// Depth first with a list of its own: a formula may stand at the end of a chain as long as a sheet. A formula
// is computed when it is met the second time, its precedents having been computed in between.
void Sheet::compute(const CellRef& start) {
  std::vector<CellRef> open{start};
  while (!open.empty()) {
    const CellRef cell = open.back();
    Computation& current = computation(cell);
    if (is_current(current)) {
      open.pop_back();
    } else if (!current.under_way) {
      current.under_way = true;
      for (const CellRef& precedent : outdated_precedents(current)) open.push_back(precedent);
    } else {
      const CellValue result = current.formula->compute(*this, current.shift);
      store(cell, result);
      current.computed_at = state_;
      current.under_way = false;
    }
  }
}

void Sheet::compute_area(const Area& area) {
  for_each_formula(area, [&](const CellRef& cell) {
    if (!computation(cell).under_way) compute(cell);
  });
}

void Sheet::compute_all() {
  compute_area({1, 1, kSheetRows, kSheetColumns});
}

}  // namespace ordvane::office
