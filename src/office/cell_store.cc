#include "office/cell_store.h"

#include <algorithm>
#include <iterator>

namespace ordvane::office {
namespace {

// A band this large is not grown any more: moving it would cost more than another band.
constexpr std::size_t kLargeBand = std::size_t{1} << 20U;
// A band this small may be laid out anew to become wider.
constexpr std::size_t kSmallBand = 4096;
// A narrower piece below a band of at most this many columns takes a whole row of it.
constexpr std::int32_t kNarrowBand = 64;

std::size_t cell_count(const RowBand& band) {
  return band.cells.size();
}

bool same_columns(const RowBand& band, const Area& area) {
  return band.first_column == area.column && band.columns == area.columns;
}

RowBand blank_band(const Area& area) {
  return {area.row, area.rows, area.column, area.columns};
}

// Copies the cells of `from` in the rows of `part` to where they lie in `to`, which contains them.
void copy_cells(const RowBand& from, RowBand& to, const Area& part) {
  const std::int32_t first = std::max(from.first_row, part.row);
  const std::int32_t end = std::min(from.first_row + from.rows, part.row + part.rows);
  if (first >= end) return;
  const auto rows_into = [](const RowBand& band, std::int32_t row) {
    return static_cast<std::size_t>(row - band.first_row);
  };
  const std::size_t start = rows_into(to, first), above = rows_into(from, first);
  from.styles.for_each_look(above, static_cast<std::size_t>(end - first),
                            [&](std::size_t row, std::size_t count, const StyleId* looks) {
                              to.styles.change(row - above + start, count, [&](StyleId* styles) {
                                std::copy_n(looks, from.columns,
                                            styles + (from.first_column - to.first_column));
                              });
                            });
  for (std::int32_t row = first; row < end; ++row)
    std::copy_n(from.cells.data() + from.index(row, from.first_column), from.columns,
                to.cells.data() + to.index(row, from.first_column));
}

void copy_cells(const RowBand& from, RowBand& to) {
  copy_cells(from, to, CellStore::area_of(from));
}

// What is left of `area` without `hole`.
void cut(const Area& area, const Area& hole, std::vector<Area>& rest) {
  const Area common = intersection(area, hole);
  if (is_empty(common)) {
    rest.push_back(area);
    return;
  }
  const std::int32_t bottom = common.row + common.rows, right = common.column + common.columns;
  const Area parts[] = {
      {area.row, area.column, common.row - area.row, area.columns},
      {common.row, area.column, common.rows, common.column - area.column},
      {common.row, right, common.rows, area.column + area.columns - right},
      {bottom, area.column, area.row + area.rows - bottom, area.columns},
  };
  for (const Area& part : parts)
    if (!is_empty(part)) rest.push_back(part);
}

bool is_before(const RowBand& a, const RowBand& b) {
  return a.first_row != b.first_row ? a.first_row < b.first_row : a.first_column < b.first_column;
}

}  // namespace

std::size_t CellStore::first_candidate(std::int32_t row) const {
  const auto place = std::partition_point(
      bands_.begin(), bands_.end(), [&](const RowBand& band) { return band.first_row <= row - tallest_; });
  return static_cast<std::size_t>(place - bands_.begin());
}

std::size_t CellStore::find_band(std::int32_t row, std::int32_t column) {
  if (last_found_ < bands_.size() && contains(area_of(bands_[last_found_]), row, column)) return last_found_;
  for (std::size_t b = first_candidate(row); b < bands_.size() && bands_[b].first_row <= row; ++b)
    if (contains(area_of(bands_[b]), row, column)) return last_found_ = b;
  return kNone;
}

CellStore::Slot CellStore::find(std::int32_t row, std::int32_t column) {
  const std::size_t band = find_band(row, column);
  if (band == kNone) return {};
  return {&bands_[band], bands_[band].index(row, column)};
}

bool CellStore::is_free(const Area& area) {
  bool is_free = true;
  for (std::size_t b = first_candidate(area.row); is_free && b < bands_.size(); ++b) {
    if (bands_[b].first_row >= area.row + area.rows) break;
    is_free = is_empty(intersection(area, area_of(bands_[b])));
  }
  return is_free;
}

std::vector<Area> CellStore::missing_parts(const Area& area) {
  std::vector<Area> missing{area}, rest;
  for (std::size_t b = first_candidate(area.row); b < bands_.size() && !missing.empty(); ++b) {
    if (bands_[b].first_row >= area.row + area.rows) break;
    rest.clear();
    for (const Area& part : missing) cut(part, area_of(bands_[b]), rest);
    missing.swap(rest);
  }
  return missing;
}

void CellStore::ensure(const Area& area) {
  const std::size_t first = find_band(area.row, area.column);
  if (first != kNone && contains(area_of(bands_[first]), area)) return;
  const std::vector<Area> missing = missing_parts(area);
  std::int64_t cells = 0;
  for (const Area& part : missing) cells += std::int64_t{part.rows} * part.columns;
  if (cells > kMostNewCells) throw host::Error(host::errc::kOutOfMemory, "Too many cells in one step");
  for (const Area& part : missing) add(part);
}

void CellStore::ensure_together(const Area& area) {
  std::size_t touched = 0;
  bool all_inside = true;
  for (const RowBand& band : bands_) {
    if (is_empty(intersection(area, area_of(band)))) continue;
    ++touched;
    all_inside = all_inside && contains(area, area_of(band));
  }
  if (touched < 2 || !all_inside) {
    ensure(area);
    return;
  }
  // Some rows at a time, so that what is written stays in the processor's cache.
  constexpr std::int32_t kRowsAtATime = 32;
  RowBand together = blank_band(area);
  const auto inside = [&](const RowBand& band) { return contains(area, area_of(band)); };
  for (std::int32_t row = area.row; row < area.row + area.rows; row += kRowsAtATime)
    for (const RowBand& band : bands_)
      if (inside(band)) copy_cells(band, together, {row, 1, kRowsAtATime, kSheetColumns});
  std::erase_if(bands_, inside);
  insert(std::move(together));
}

void CellStore::add(const Area& area) {
  if (append_below(area) || widen_left_neighbour(area)) return;
  insert(blank_band(area));
}

bool CellStore::append_below(const Area& area) {
  const std::size_t above = find_band(area.row - 1, area.column);
  if (above == kNone) return false;
  RowBand& band = bands_[above];
  if (band.first_row + band.rows != area.row || cell_count(band) >= kLargeBand) return false;
  const Area whole_row{area.row, band.first_column, 1, band.columns};
  const bool takes_whole_row =
      area.rows == 1 && band.columns <= kNarrowBand && contains(whole_row, area) && is_free(whole_row);
  if (!same_columns(band, area) && !takes_whole_row) return false;
  add_rows(band, area.rows);
  return true;
}

bool CellStore::widen_left_neighbour(const Area& area) {
  const std::size_t left = find_band(area.row, area.column - 1);
  if (left == kNone) return false;
  RowBand& band = bands_[left];
  const std::int64_t cells = std::int64_t{area.rows} * area.columns;
  if (band.first_row != area.row || band.rows != area.rows ||
      static_cast<std::int64_t>(cell_count(band)) + cells > static_cast<std::int64_t>(kSmallBand))
    return false;
  RowBand wider = blank_band({band.first_row, band.first_column, band.rows, band.columns + area.columns});
  copy_cells(band, wider);
  band = std::move(wider);
  join_with_band_above(left);
  return true;
}

void CellStore::join_with_band_above(std::size_t lower) {
  const RowBand& band = bands_[lower];
  const std::size_t upper = find_band(band.first_row - 1, band.first_column);
  if (upper == kNone) return;
  RowBand& above = bands_[upper];
  if (!same_columns(above, area_of(band)) || above.first_row + above.rows != band.first_row ||
      cell_count(above) >= kLargeBand)
    return;
  add_rows(above, band.rows);
  copy_cells(band, above);
  bands_.erase(bands_.begin() + static_cast<std::ptrdiff_t>(lower));
}

void CellStore::add_rows(RowBand& band, std::int32_t rows) {
  band.add_rows(rows);
  note_height(band);
}

void CellStore::insert(RowBand band) {
  note_height(band);
  const auto place = std::upper_bound(bands_.begin(), bands_.end(), band, is_before);
  bands_.insert(place, std::move(band));
}

void CellStore::note_height(const RowBand& band) {
  tallest_ = std::max(tallest_, band.rows);
}

}  // namespace ordvane::office
