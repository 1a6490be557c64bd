// The cells of one sheet in row-major bands.
//
// Bands are made where cells are first written and grow downwards; a block written below or beside others is
// one append. Far apart cells lie in bands of their own, so that no bounding box is ever held. Knows nothing
// of texts, styles and formulas: those are ids and kinds here.
#pragma once

#include <cstdint>
#include <vector>

#include "office/address.h"
#include "office/book.h"

namespace ordvane::office {

class CellStore {
 public:
  // New cells at a time; more are refused: it can only be the formatting of a whole sheet.
  static constexpr std::int64_t kMostNewCells = std::int64_t{1} << 26U;

  explicit CellStore(std::vector<RowBand>& bands) : bands_(bands) {}

  struct Slot {
    RowBand* band = nullptr;  // null: the cell was never written
    std::size_t index = 0;
  };
  Slot find(std::int32_t row, std::int32_t column);

  // Makes every cell of the area exist, new ones blank in the default style. Throws when they are too many.
  void ensure(const Area& area);
  // The same, and brings scattered bands that lie inside the area together, for a block about to be written.
  void ensure_together(const Area& area);

  // Calls visit(band, part) for each band that has cells inside the area, with the area that it has of it.
  // The visitor must not add cells.
  template <class Visit>
  void for_each_part(const Area& area, Visit&& visit) {
    for (std::size_t b = first_candidate(area.row); b < bands_.size(); ++b) {
      RowBand& band = bands_[b];
      if (band.first_row >= area.row + area.rows) break;
      const Area part = intersection(area, area_of(band));
      if (!is_empty(part)) visit(band, part);
    }
  }

  // Calls visit(band, index, row, column, count) for each stored run of cells of a row inside the area, band
  // by band. The visitor must not add cells.
  template <class Visit>
  void for_each_run(const Area& area, Visit&& visit) {
    for_each_part(area, [&](RowBand& band, const Area& part) {
      for (std::int32_t row = part.row; row < part.row + part.rows; ++row)
        visit(band, band.index(row, part.column), row, part.column, static_cast<std::size_t>(part.columns));
    });
  }

  static Area area_of(const RowBand& band) {
    return {band.first_row, band.first_column, band.rows, band.columns};
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::size_t first_candidate(std::int32_t row) const;
  std::size_t find_band(std::int32_t row, std::int32_t column);
  bool is_free(const Area& area);
  std::vector<Area> missing_parts(const Area& area);
  void add(const Area& area);
  bool append_below(const Area& area);
  bool widen_left_neighbour(const Area& area);
  void join_with_band_above(std::size_t band);
  void add_rows(RowBand& band, std::int32_t rows);
  void insert(RowBand band);
  void note_height(const RowBand& band);

  std::vector<RowBand>& bands_;
  std::int32_t tallest_ = 0;    // no band has more rows
  std::size_t last_found_ = 0;  // where the last look-up ended: the next one is often there too
};

}  // namespace ordvane::office
