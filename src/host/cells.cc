#include "host/cells.h"

#include <array>
#include <utility>

namespace ordvane::host {
namespace {

constexpr std::array<std::pair<CellError, std::string_view>, 7> kErrorTexts = {{
    {CellError::kNull, "#NULL!"},
    {CellError::kDiv0, "#DIV/0!"},
    {CellError::kValue, "#VALUE!"},
    {CellError::kRef, "#REF!"},
    {CellError::kName, "#NAME?"},
    {CellError::kNum, "#NUM!"},
    {CellError::kNA, "#N/A"},
}};

}  // namespace

std::string_view cell_error_text(CellError error) {
  for (const auto& [known, text] : kErrorTexts)
    if (known == error) return text;
  return "#VALUE!";
}

bool cell_error_from_text(std::string_view text, CellError& error) {
  for (const auto& [known, name] : kErrorTexts) {
    if (name == text) {
      error = known;
      return true;
    }
  }
  return false;
}

CellBlock::CellBlock(std::int32_t rows, std::int32_t columns) : rows_(rows), columns_(columns) {
  if (rows < 0 || columns < 0) raise_subscript_out_of_range("size of a cell block");
  cells_.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns));
}

void CellBlock::set(std::int32_t row, std::int32_t column, const CellValue& value) {
  Cell& cell = at_mutable(row, column);
  cell.kind = value.kind;
  cell.number = value.number;
  if (value.kind == CellKind::kText) cell.text = add_text(value.text);
}

CellBlock::TextId CellBlock::add_text(std::string_view text) {
  const auto [place, added] = text_ids_.try_emplace(std::string(text), static_cast<TextId>(texts_.size()));
  if (added) texts_.push_back(&place->first);
  return place->second;
}

CellValue CellBlock::value(std::int32_t row, std::int32_t column) const {
  const Cell& cell = at(row, column);
  CellValue result;
  result.kind = cell.kind;
  if (cell.kind == CellKind::kText)
    result.text = text(cell.text);
  else
    result.number = cell.number;
  return result;
}

void CellBlock::clear() {
  cells_.assign(cells_.size(), Cell{});
  text_ids_.clear();
  texts_.clear();
}

void CellBlock::truncate(std::int32_t rows) {
  if (rows < 0 || rows > rows_) raise_subscript_out_of_range("rows of a cell block");
  rows_ = rows;
  cells_.resize(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns_));
}

}  // namespace ordvane::host
