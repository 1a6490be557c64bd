#include "calc/grid.h"

#include <algorithm>

namespace ordvane::calc {

void Grid::set(std::int32_t row, std::int32_t column, CellId cell) {
  const auto at = static_cast<std::size_t>(column);
  if (at >= columns_.size()) columns_.resize(at + 1);
  auto& pages = columns_[at];
  const auto page = static_cast<std::size_t>(row) / kPageRows;
  if (page >= pages.size()) pages.resize(page + 1);
  if (!pages[page]) {
    pages[page] = std::make_unique<Page>();
    pages[page]->fill(kNoCell);
  }
  (*pages[page])[static_cast<std::size_t>(row) % kPageRows] = cell;
  rows_ = std::max(rows_, row + 1);
}

}  // namespace ordvane::calc
