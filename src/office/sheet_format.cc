// Formats, merges and geometry of a sheet.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <mutex>
#include <utility>

#include "host/side_by_side.h"
#include "office/column_fit.h"
#include "office/handles.h"
#include "office/refusal.h"
#include "office/sheet.h"
#include "office/state.h"

namespace ordvane::office {
namespace {

constexpr double kPointsOfPixel = 0.75;
constexpr double kWidestColumn = 255;
constexpr double kHighestRow = 409.5;
// Line height of the default font, in sizes.
constexpr double kLineHeight = 1.2207;

double fitted_row_height(double font_size) {
  const double line = font_size / kPointsOfPixel * kLineHeight;
  return (std::round(line) + 2) * kPointsOfPixel;
}

double shown_width(const ColumnProps& column) {
  return column.hidden ? 0 : column.width.value_or(kDefaultColumnWidth);
}

void apply(const host::BorderFormat& format, EdgeLine& line) {
  const auto color = chosen_color(format.color, format.color_index);
  if (format.line_style) {
    line.line_style = *format.line_style;
  } else if (line.line_style == host::kXlNone && (format.weight || color)) {
    line.line_style = static_cast<std::int32_t>(host::LineStyle::kContinuous);
  }
  if (line.line_style == host::kXlNone) {
    line = EdgeLine{};
    return;
  }
  if (format.weight) line.weight = *format.weight;
  if (color) line.color = color;
}

}  // namespace

const CellStyle& Sheet::style(std::int32_t row, std::int32_t column) {
  const CellStore::Slot place = cells_.find(row, column);
  return book->model->styles.at(place.band ? place.band->style(place.index) : StyleId{0});
}

void Sheet::restyle(const Area& area, const std::function<void(CellStyle&)>& change) {
  constexpr std::int32_t kUnmet = -1;
  cells_.ensure(area);
  StyleTable& styles = book->model->styles;
  std::vector<std::int32_t> changed(styles.size(), kUnmet);
  bool differs = false;
  const auto change_style = [&](StyleId id) {
    if (changed[id] != kUnmet) return;
    CellStyle style = styles.at(id);
    change(style);
    changed[id] = styles.intern(style);
    differs = differs || changed[id] != id;
  };
  // Everything that can fail first, so that a failure leaves no cell changed.
  cells_.for_each_part(area, [&](RowBand& band, const Area& part) {
    band.styles.for_each_look(
        static_cast<std::size_t>(part.row - band.first_row), static_cast<std::size_t>(part.rows),
        [&](std::size_t, std::size_t, const StyleId* row) {
          std::for_each_n(row + (part.column - band.first_column), part.columns, change_style);
        });
  });
  if (!differs) return;
  cells_.for_each_part(area, [&](RowBand& band, const Area& part) {
    band.styles.change(static_cast<std::size_t>(part.row - band.first_row),
                       static_cast<std::size_t>(part.rows), [&](StyleId* row) {
                         StyleId* const first = row + (part.column - band.first_column);
                         std::transform(first, first + part.columns, first,
                                        [&](StyleId id) { return static_cast<StyleId>(changed[id]); });
                       });
  });
}

void Sheet::set_border(const Area& area, host::Edge edge, const host::BorderFormat& format) {
  const Area top{area.row, area.column, 1, area.columns};
  const Area bottom{area.row + area.rows - 1, area.column, 1, area.columns};
  const Area left{area.row, area.column, area.rows, 1};
  const Area right{area.row, area.column + area.columns - 1, area.rows, 1};
  const auto set = [&](const Area& cells, EdgeLine CellStyle::*line) {
    if (!is_empty(cells)) restyle(cells, [&](CellStyle& style) { apply(format, style.*line); });
  };
  switch (edge) {
    case host::Edge::kLeft:
      return set(left, &CellStyle::left);
    case host::Edge::kTop:
      return set(top, &CellStyle::top);
    case host::Edge::kBottom:
      return set(bottom, &CellStyle::bottom);
    case host::Edge::kRight:
      return set(right, &CellStyle::right);
    case host::Edge::kInsideVertical:
      set({area.row, area.column, area.rows, area.columns - 1}, &CellStyle::right);
      return set({area.row, area.column + 1, area.rows, area.columns - 1}, &CellStyle::left);
    case host::Edge::kInsideHorizontal:
      set({area.row, area.column, area.rows - 1, area.columns}, &CellStyle::bottom);
      return set({area.row + 1, area.column, area.rows - 1, area.columns}, &CellStyle::top);
  }
  refuse("No such edge");
}

void Sheet::set_font(const Area& area, const host::FontFormat& font) {
  if (font.size && !(*font.size >= 1 && *font.size <= 409)) refuse("Font sizes are 1 to 409 points");
  restyle(area, [&](CellStyle& style) {
    style.font_name = font.name.value_or(style.font_name);
    style.font_size = font.size.value_or(style.font_size);
    style.bold = font.bold.value_or(style.bold);
    style.italic = font.italic.value_or(style.italic);
    if (font.color) style.font_color = font.color;
  });
  if (font.size) fit_rows_to_font(area, *font.size);
}

// Rows grow with their largest font, as long as nobody set their height.
void Sheet::fit_rows_to_font(const Area& area, double size) {
  const double height = fitted_row_height(size);
  if (height <= kDefaultRowHeight) return;
  for (std::int32_t row = area.row; row < area.row + area.rows; ++row)
    if (!rows_set_by_hand_.contains(row) && row_height(row) < height) model->row_heights[row] = height;
}

// The merged cell looks as its first cell did; the outer lines of the others stay.
void Sheet::merge(const Area& area) {
  for (const Area& other : merges_.touching(area))
    if (!contains(area, other)) refuse("A part of a merged cell cannot be merged with other cells");
  merges_.remove_touching(area);
  if (area.rows == 1 && area.columns == 1) return;
  const CellStyle first = style(area.row, area.column);
  if (area.columns > 1) set_value({area.row, area.column + 1, area.rows, area.columns - 1}, {});
  if (area.rows > 1) set_value({area.row + 1, area.column, area.rows - 1, 1}, {});
  restyle(area, [&](CellStyle& style) {
    CellStyle merged = first;
    merged.left = style.left;
    merged.top = style.top;
    merged.right = style.right;
    merged.bottom = style.bottom;
    style = merged;
  });
  merges_.add(area);
}

double Sheet::column_width(std::int32_t column) const {
  const auto found = model->columns.find(column);
  return found == model->columns.end() ? kDefaultColumnWidth : shown_width(found->second);
}

void Sheet::set_column_width(std::int32_t first, std::int32_t count, double characters) {
  if (!(characters >= 0 && characters <= kWidestColumn)) refuse("Column widths are 0 to 255 characters");
  const double rounded = column_characters(column_pixels(characters));
  for (std::int32_t column = first; column < first + count; ++column) {
    ColumnProps& props = model->columns[column];
    props.hidden = rounded == 0;
    if (rounded > 0) props.width = rounded;
  }
}

void Sheet::set_columns_hidden(std::int32_t first, std::int32_t count, bool hidden) {
  for (std::int32_t column = first; column < first + count; ++column) model->columns[column].hidden = hidden;
}

double Sheet::row_height(std::int32_t row) const {
  const auto found = model->row_heights.find(row);
  return found == model->row_heights.end() ? kDefaultRowHeight : found->second;
}

void Sheet::set_row_height(std::int32_t first, std::int32_t count, double points) {
  if (!(points >= 0 && points <= kHighestRow)) refuse("Row heights are 0 to 409.5 points");
  const double rounded = std::round(points / kPointsOfPixel) * kPointsOfPixel;
  for (std::int32_t row = first; row < first + count; ++row) {
    model->row_heights[row] = rounded;
    rows_set_by_hand_.insert(row);
  }
}

double Sheet::left_of(std::int32_t column) const {
  double pixels = (column - 1) * column_pixels(kDefaultColumnWidth);
  for (auto place = model->columns.begin(); place != model->columns.end() && place->first < column; ++place)
    pixels += column_pixels(shown_width(place->second)) - column_pixels(kDefaultColumnWidth);
  return pixels * kPointsOfPixel;
}

double Sheet::top_of(std::int32_t row) const {
  double points = (row - 1) * kDefaultRowHeight;
  for (auto place = model->row_heights.begin(); place != model->row_heights.end() && place->first < row;
       ++place)
    points += place->second - kDefaultRowHeight;
  return points;
}

namespace {

// Fits the columns of an area, its rows shared out among all processors: how wide a column must be does not
// depend on the order in which its cells are taken.
class FitWork {
 public:
  FitWork(const BookModel& book, const MergeIndex& merges, const Area& area)
      : book_(book), area_(area), result_(static_cast<std::size_t>(area.columns), ColumnFit(book)) {
    for (const Area& merge : merges.touching(area))
      for (std::int32_t row = std::max(merge.row, area.row);
           row < std::min(merge.row + merge.rows, area.row + area.rows); ++row)
        merged_rows_[row].push_back(merge);
  }

  void add(const RowBand& band, const Area& part) {
    const std::int32_t rows = std::max(kCellsAtOnce / part.columns, 1);
    for (std::int32_t row = 0; row < part.rows; row += rows)
      pieces_.push_back(
          {&band, {part.row + row, part.column, std::min(rows, part.rows - row), part.columns}});
  }

  std::vector<ColumnFit>& run() {
    host::side_by_side(std::min(host::processors(), pieces_.size()), [this] {
      try {
        take_pieces();
      } catch (...) {
        const std::lock_guard lock(mutex_);
        failure_ = std::current_exception();
      }
    });
    if (failure_) std::rethrow_exception(failure_);
    return result_;
  }

 private:
  static constexpr std::int32_t kCellsAtOnce = 1 << 13;

  struct Piece {
    const RowBand* band;
    Area area;
  };

  void take_pieces() {
    std::vector<ColumnFit> fits(result_.size(), ColumnFit(book_));
    for (std::size_t i = next_++; i < pieces_.size(); i = next_++)
      for (std::int32_t row = 0; row < pieces_[i].area.rows; ++row)
        take_row(*pieces_[i].band, pieces_[i].area, pieces_[i].area.row + row, fits);
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < fits.size(); ++i) result_[i].add(std::move(fits[i]));
  }

  // Merged and wrapped cells have no say, and columns without contents stay as they are.
  void take_row(const RowBand& band, const Area& area, std::int32_t row, std::vector<ColumnFit>& fits) const {
    const auto merged = merged_rows_.find(row);
    const auto is_merged = [&](std::int32_t column) {
      return merged != merged_rows_.end() &&
             std::any_of(merged->second.begin(), merged->second.end(),
                         [&](const Area& merge) { return contains(merge, row, column); });
    };
    const StyleId* style = band.styles_of(row) + (area.column - band.first_column);
    const CellContent* cell = band.cells.data() + band.index(row, area.column);
    for (std::int32_t column = area.column; column < area.column + area.columns; ++column, ++style, ++cell)
      if (!is_merged(column)) fits[static_cast<std::size_t>(column - area_.column)].add(*style, *cell);
  }

  const BookModel& book_;
  const Area area_;
  std::map<std::int32_t, std::vector<Area>> merged_rows_;
  std::vector<Piece> pieces_;
  std::atomic<std::size_t> next_ = 0;
  std::mutex mutex_;  // of what follows
  std::vector<ColumnFit> result_;
  std::exception_ptr failure_;
};

}  // namespace

void Sheet::fit_columns(const Area& area) {
  compute_area(area);
  FitWork work(*book->model, merges_, area);
  cells_.for_each_part(area, [&](const RowBand& band, const Area& part) { work.add(band, part); });
  for (std::int32_t column = area.column; ColumnFit & fit : work.run()) {
    const auto pixels = fit.pixels();
    if (pixels && !model->columns[column].hidden)
      set_column_width(column, 1, std::min(column_characters(*pixels), kWidestColumn));
    ++column;
  }
}

}  // namespace ordvane::office
