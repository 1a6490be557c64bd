// In-memory workbooks as readable text, so that a test can say what a report looks like.
//
// One line a row of cells, then merges, notes and charts of each sheet. Looks (fonts, fills, rules) are left
// out: they are judged by eye.
#pragma once

#include <charconv>
#include <cstdio>
#include <string>
#include <vector>

#include "office/book.h"

namespace ordvane::test {

inline std::string number_text(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr};
}

inline std::string color_text(host::Color color) {
  char text[8];
  std::snprintf(text, sizeof text, "#%02X%02X%02X", color & 0xFF, color >> 8 & 0xFF, color >> 16 & 0xFF);
  return text;
}

inline std::string value_text(const host::CellValue& value) {
  switch (value.kind) {
    case host::CellKind::kBlank:
      return "";
    case host::CellKind::kNumber:
      return number_text(value.number);
    case host::CellKind::kText:
      return '"' + value.text + '"';
    case host::CellKind::kBoolean:
      return value.number != 0 ? "TRUE" : "FALSE";
    case host::CellKind::kError:
      return std::string(host::cell_error_text(value.error()));
  }
  return "?";
}

inline std::vector<std::string> sheet_names(const office::BookModel& book) {
  std::vector<std::string> names;
  for (const auto& sheet : book.sheets) names.push_back(sheet->name);
  return names;
}

// Looks cells of a workbook up.
class BookReader {
 public:
  explicit BookReader(const office::BookModel& book) : book_(book) {}

  const office::SheetModel* sheet(const std::string& name) const {
    for (const auto& sheet : book_.sheets)
      if (sheet->name == name) return sheet.get();
    return nullptr;
  }
  host::CellValue value(const office::SheetModel& sheet, std::int32_t row, std::int32_t column) const {
    const office::RowBand* band = band_of(sheet, row, column);
    return band ? value_in(*band, band->index(row, column)) : host::CellValue();
  }
  host::CellValue value_in(const office::RowBand& band, std::size_t at) const {
    return value_of(book_.texts, band.cells[at]);
  }
  // Cells of a series, or its constants: "(1, 2, 3)".
  std::string data(const office::SeriesData& data) const {
    std::string text;
    const auto add = [&](const host::CellValue& value) {
      text += (text.empty() ? "" : ", ") + value_text(value);
    };
    if (data.sheet.empty()) {
      for (const auto& value : data.constants) add(value);
      return "(" + text + ")";
    }
    const office::SheetModel* from = sheet(data.sheet);
    for (std::int32_t row = 0; from && row < data.area.rows; ++row)
      for (std::int32_t column = 0; column < data.area.columns; ++column)
        add(value(*from, data.area.row + row, data.area.column + column));
    return office::area_name(data.area) + " (" + text + ")";
  }

 private:
  static const office::RowBand* band_of(const office::SheetModel& sheet, std::int32_t row,
                                        std::int32_t column) {
    for (const auto& band : sheet.bands)
      if (row >= band.first_row && row < band.first_row + band.rows && column >= band.first_column &&
          column < band.first_column + band.columns)
        return &band;
    return nullptr;
  }

  const office::BookModel& book_;
};

inline std::string cells_text(const office::BookModel& book, const office::SheetModel& sheet) {
  const BookReader reader(book);
  std::string text;
  for (const auto& band : sheet.bands)
    for (std::int32_t row = band.first_row; row < band.first_row + band.rows; ++row) {
      std::string line;
      for (std::int32_t column = band.first_column; column < band.first_column + band.columns; ++column) {
        const std::size_t at = band.index(row, column);
        if (band.cells[at].kind() == host::CellKind::kBlank) continue;
        line += "  " + office::cell_name(row, column) + " " + value_text(reader.value_in(band, at));
        const std::string& format = book.styles.at(band.style(at)).number_format;
        if (band.cells[at].is_number() && format != "General") line += " {" + format + "}";
        const auto formula = sheet.formulas.find({row, column});
        if (formula != sheet.formulas.end()) line += " " + formula->second;
      }
      if (!line.empty()) text += line.substr(2) + "\n";
    }
  return text;
}

inline std::string series_text(const BookReader& reader, const office::SeriesModel& series) {
  std::string text = '"' + series.name + '"';
  if (series.kind == host::ChartKind::kXYScatter) text += " scatter";
  if (series.group == host::AxisGroup::kSecondary) text += " secondary";
  if (series.fill && series.fill->color) text += " " + color_text(*series.fill->color);
  if (series.fill && series.fill->none) text += " unseen";
  text += " " + reader.data(series.values);
  text += " over " + reader.data(series.x_values) + "\n";
  for (const auto& [index, point] : series.points) {
    if (point.marker && point.marker->style != host::kXlNone)
      text += "    point " + std::to_string(index) + " marked\n";
    if (point.label)
      text += "    point " + std::to_string(index) + " labelled \"" + point.label->text.value_or("") + "\"\n";
  }
  return text;
}

inline std::string axis_text(const office::AxisModel& axis) {
  std::string text;
  if (axis.minimum || axis.maximum)
    text += " from " + (axis.minimum ? number_text(*axis.minimum) : "auto") + " to " +
            (axis.maximum ? number_text(*axis.maximum) : "auto");
  if (axis.crosses_at) text += " crossed at " + number_text(*axis.crosses_at);
  if (axis.reversed) text += " reversed";
  if (!axis.title.empty()) text += " \"" + axis.title + "\"";
  if (axis.number_format) text += " {" + *axis.number_format + "}";
  return text;
}

inline std::string chart_text(const office::BookModel& book, const office::ChartModel& chart) {
  const BookReader reader(book);
  std::string text = "chart " + number_text(chart.width) + " x " + number_text(chart.height) + "\n";
  std::string title;
  for (const auto& run : chart.title) title += run.text;
  text += "  title \"" + title + "\"\n";
  for (const auto& series : chart.series) text += "  series " + series_text(reader, *series);
  if (!chart.plot_visible_only) text += "  draws hidden cells\n";
  const char* const names[2][2] = {{"category axis", "value axis"},
                                   {"second category axis", "second value axis"}};
  for (int group = 0; group < 2; ++group)
    for (int type = 0; type < 2; ++type) {
      const std::string axis = axis_text(chart.axes[group][type]);
      if (!axis.empty()) text += std::string("  ") + names[group][type] + axis + "\n";
    }
  for (const auto& box : chart.text_boxes) text += "  text \"" + box.text + "\"\n";
  return text;
}

inline std::string sheet_text(const office::BookModel& book, const office::SheetModel& sheet) {
  std::string text = "== " + sheet.name + "\n" + cells_text(book, sheet);
  for (const auto& area : sheet.merges) text += "merged " + office::area_name(area) + "\n";
  if (sheet.filter) text += "filter " + office::area_name(*sheet.filter) + "\n";
  for (const auto& scale : sheet.color_scales) {
    text += "colours of " + office::area_name(scale.area);
    for (const auto& [value, color] : scale.stops) text += " " + number_text(value) + " " + color_text(color);
    text += "\n";
  }
  for (const auto& [cell, note] : sheet.comments)
    text += "note at " + office::cell_name(cell.row, cell.column) + " \"" + note + "\"\n";
  for (const auto& chart : sheet.charts) text += chart_text(book, *chart);
  return text;
}

inline std::string snapshot(const office::BookModel& book) {
  std::string text;
  for (const auto& sheet : book.sheets) text += sheet_text(book, *sheet);
  return text;
}

}  // namespace ordvane::test
