// Where the cells of a sheet are in the workbook's list: by row and column, in memory that grows with the
// number of cells and not with the area they are spread over.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "calc/value.h"

namespace ordvane::calc {

using CellId = std::int32_t;
inline constexpr CellId kNoCell = -1;

class Grid {
 public:
  // kNoCell where there is none. Any row and column may be asked for.
  CellId at(std::int32_t row, std::int32_t column) const {
    if (static_cast<std::size_t>(column) >= columns_.size()) return kNoCell;
    const auto& pages = columns_[static_cast<std::size_t>(column)];
    const auto page = static_cast<std::size_t>(row) / kPageRows;
    if (page >= pages.size() || !pages[page]) return kNoCell;
    return (*pages[page])[static_cast<std::size_t>(row) % kPageRows];
  }
  void set(std::int32_t row, std::int32_t column, CellId cell);

  // Number of rows and columns up to the last cell.
  std::int32_t rows() const { return rows_; }
  std::int32_t columns() const { return static_cast<std::int32_t>(columns_.size()); }

  // Every cell in these rows and columns, the last included: `visit(CellId, row, column)`, column by column.
  template <class Visit>
  void each(const Reference& block, const Visit& visit) const {
    const std::int32_t last_column = block.last_column < columns() ? block.last_column : columns() - 1;
    for (std::int32_t column = block.column; column <= last_column; ++column) {
      const auto& pages = columns_[static_cast<std::size_t>(column)];
      const auto used = static_cast<std::int32_t>(pages.size() * kPageRows) - 1;
      const std::int32_t last_row = block.last_row < used ? block.last_row : used;
      for (std::int32_t row = block.row; row <= last_row; ++row) {
        const auto& page = pages[static_cast<std::size_t>(row) / kPageRows];
        if (!page) {
          row |= static_cast<std::int32_t>(kPageRows) - 1;
          continue;
        }
        const CellId cell = (*page)[static_cast<std::size_t>(row) % kPageRows];
        if (cell != kNoCell) visit(cell, row, column);
      }
    }
  }

 private:
  static constexpr std::size_t kPageRows = 64;
  using Page = std::array<CellId, kPageRows>;

  std::vector<std::vector<std::unique_ptr<Page>>> columns_;
  std::int32_t rows_ = 0;
};

}  // namespace ordvane::calc
