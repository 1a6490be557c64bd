#include "calc/workbook.h"

#include "calc/address.h"
#include "unicode/names.h"

namespace ordvane::calc {

Workbook::~Workbook() = default;

CellId Workbook::find(std::int32_t sheet, std::int32_t row, std::int32_t column) const {
  return sheets[static_cast<std::size_t>(sheet)].grid.at(row, column);
}

CellId Workbook::add(std::int32_t sheet, std::int32_t row, std::int32_t column) {
  const CellId found = find(sheet, row, column);
  if (found != kNoCell) return found;
  const auto id = static_cast<CellId>(cells.size());
  Cell& cell = cells.emplace_back();
  cell.sheet = sheet;
  cell.row = row;
  cell.column = column;
  sheets[static_cast<std::size_t>(sheet)].grid.set(row, column, id);
  return id;
}

std::string Workbook::address(CellId id) const {
  const Cell& cell = cells[static_cast<std::size_t>(id)];
  return quoted_sheet(sheets[static_cast<std::size_t>(cell.sheet)].name) + "!" +
         cell_name(cell.row, cell.column);
}

std::int32_t Workbook::sheet(std::string_view name) const {
  const auto found = sheets_by_name_.find(unicode::folded(name));
  return found == sheets_by_name_.end() ? -1 : found->second;
}

std::int32_t Workbook::name(std::string_view name, std::int32_t sheet) const {
  const std::string folded = unicode::folded(name);
  for (const std::int32_t where : {sheet, -1}) {
    const auto found = names_by_sheet_.find({where, folded});
    if (found != names_by_sheet_.end()) return found->second;
  }
  return -1;
}

const FormulaNames::Table* Workbook::table(std::string_view name, const Reference& cell) const {
  if (!name.empty()) {
    const auto found = tables_.find(unicode::folded(name));
    return found == tables_.end() ? nullptr : &found->second;
  }
  for (const auto& [key, table] : tables_) {
    const Reference& area = table.area;
    if (table.sheet == cell.sheet && cell.row >= area.row && cell.row <= area.last_row &&
        cell.column >= area.column && cell.column <= area.last_column)
      return &table;
  }
  return nullptr;
}

const Formula& Workbook::named(std::int32_t name) const {
  return names[static_cast<std::size_t>(name)].tree;
}

}  // namespace ordvane::calc
