// Workbooks for the tests of this folder: one with every feature in it, and what builds small ones.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "office/book.h"

namespace ordvane::xlsx {

using host::CellValue;

// A sheet of the book with one band of cells from `corner`; rows of equal length.
inline std::shared_ptr<office::SheetModel> add_sheet(office::BookModel& book, const std::string& name,
                                                     const std::vector<std::vector<CellValue>>& rows,
                                                     office::CellRef corner = {}) {
  auto sheet = std::make_shared<office::SheetModel>();
  sheet->name = name;
  book.sheets.push_back(sheet);
  if (rows.empty()) return sheet;
  office::RowBand band(corner.row, static_cast<std::int32_t>(rows.size()), corner.column,
                       static_cast<std::int32_t>(rows[0].size()));
  auto cell = band.cells.begin();
  for (const auto& row : rows) {
    for (const CellValue& value : row) {
      const bool text = value.kind == host::CellKind::kText;
      *cell++ = {value.kind, text ? book.texts.intern(value.text) : value.number};
    }
  }
  sheet->bands.push_back(band);
  return sheet;
}

inline void set_style(office::BookModel& book, office::SheetModel& sheet, std::int32_t row,
                      std::int32_t column, const office::CellStyle& style) {
  for (office::RowBand& band : sheet.bands)
    if (row >= band.first_row && row < band.first_row + band.rows && column >= band.first_column &&
        column < band.first_column + band.columns)
      band.styles.change(static_cast<std::size_t>(row - band.first_row), 1, [&](office::StyleId* styles) {
        styles[column - band.first_column] = book.styles.intern(style);
      });
}

inline std::shared_ptr<office::SeriesModel> add_series(office::ChartModel& chart, const std::string& name,
                                                       host::ChartKind kind, office::SeriesData x,
                                                       office::SeriesData y) {
  auto series = std::make_shared<office::SeriesModel>();
  series->name = name;
  series->kind = kind;
  series->x_values = std::move(x);
  series->values = std::move(y);
  chart.series.push_back(series);
  return series;
}

inline std::shared_ptr<office::ChartModel> add_chart(office::SheetModel& sheet, double left, double top,
                                                     double width, double height) {
  auto chart = std::make_shared<office::ChartModel>();
  chart->id = static_cast<std::int32_t>(sheet.charts.size()) + 1;
  chart->left = left;
  chart->top = top;
  chart->width = width;
  chart->height = height;
  sheet.charts.push_back(chart);
  return chart;
}

inline office::AxisModel& axis(office::ChartModel& chart, host::AxisGroup group, host::AxisType type) {
  return chart.axes[static_cast<int>(group) - 1][static_cast<int>(type) - 1];
}

// Bars around a base value of 100, with the base line as points on the secondary axes.
std::shared_ptr<office::ChartModel> add_tornado(office::BookModel& book);
// A workbook that uses everything a package can hold.
office::BookModel full_book();

}  // namespace ordvane::xlsx
