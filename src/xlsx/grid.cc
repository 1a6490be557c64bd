#include "xlsx/grid.h"

#include <algorithm>
#include <cmath>

namespace ordvane::xlsx {
namespace {

constexpr double kPointsPerPixel = 0.75;

double size_of(const office::ColumnProps& column) {
  if (column.hidden) return 0;
  return kPointsPerPixel * office::column_pixels(column.width.value_or(office::kDefaultColumnWidth));
}

double size_of(double row_height) {
  return row_height;
}

constexpr double kColumnPoints = 48;  // of the default width

// Walks the few columns or rows that differ from the default. `sizes` counts from 1.
template <class Sizes>
GridPlace place(const Sizes& sizes, double usual, std::int32_t limit, double points) {
  points = std::max(points, 0.0);
  std::int32_t cell = 0;
  const auto skip_usual = [&](std::int32_t until) {
    const auto whole = static_cast<std::int32_t>(std::min<double>(until - cell, std::floor(points / usual)));
    cell += whole;
    points -= whole * usual;
    return cell < until;
  };
  for (const auto& [number, size] : sizes) {
    if (skip_usual(number - 1)) return {cell, points};
    if (points < size_of(size)) return {cell, points};
    points -= size_of(size);
    ++cell;
  }
  if (skip_usual(limit - 1)) return {cell, points};
  return {limit - 1, std::min(points, usual)};
}

template <class Sizes>
double edge(const Sizes& sizes, double usual, std::int32_t cell) {
  double points = usual * (cell - 1);
  for (const auto& [number, size] : sizes) {
    if (number >= cell) break;
    points += size_of(size) - usual;
  }
  return points;
}

}  // namespace

double column_file_width(double characters, double digit_pixels) {
  return std::trunc(office::column_pixels(characters) * 256.0 / digit_pixels) / 256.0;
}

GridPlace column_at(const office::SheetModel& sheet, double points) {
  return place(sheet.columns, kColumnPoints, office::kSheetColumns, points);
}

GridPlace row_at(const office::SheetModel& sheet, double points) {
  return place(sheet.row_heights, office::kDefaultRowHeight, office::kSheetRows, points);
}

double column_left(const office::SheetModel& sheet, std::int32_t column) {
  return edge(sheet.columns, kColumnPoints, column);
}

double row_top(const office::SheetModel& sheet, std::int32_t row) {
  return edge(sheet.row_heights, office::kDefaultRowHeight, row);
}

}  // namespace ordvane::xlsx
