#include "xlsx/chart_data.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "office/address.h"
#include "unicode/names.h"

namespace ordvane::xlsx {
namespace {

using host::CellKind;
using host::CellValue;
using office::BookModel;
using office::SeriesData;

struct Source {
  std::string formula;        // empty: constants
  std::string number_format;  // of the first number
  std::vector<CellValue> values;
};

// Copies the cells that a band shares with the area.
void take(const BookModel& book, const office::RowBand& band, const office::Area& area, Source& source) {
  const std::int32_t last_row = std::min(area.row + area.rows, band.first_row + band.rows);
  const std::int32_t last_column = std::min(area.column + area.columns, band.first_column + band.columns);
  for (std::int32_t row = std::max(area.row, band.first_row); row < last_row; ++row) {
    for (std::int32_t column = std::max(area.column, band.first_column); column < last_column; ++column) {
      const std::size_t cell = band.index(row, column);
      const auto position =
          static_cast<std::size_t>(row - area.row) * static_cast<std::size_t>(area.columns) +
          static_cast<std::size_t>(column - area.column);
      source.values[position] = value_of(book.texts, band.cells[cell]);
      if (band.cells[cell].is_number() && source.number_format.empty())
        source.number_format = book.styles.at(band.style(cell)).number_format;
    }
  }
}

Source source_of(const SheetsByName& sheets, const SeriesData& data) {
  if (data.sheet.empty()) return {"", "", data.constants};
  const office::SheetModel* sheet = sheets.find(data.sheet);
  if (sheet == nullptr) return {"#REF!", "", {}};
  const auto cells = static_cast<std::size_t>(data.area.rows) * static_cast<std::size_t>(data.area.columns);
  Source source{office::quoted_sheet_name(sheet->name) + "!" + office::area_name(data.area, true), "",
                std::vector<CellValue>(cells)};
  for (const office::RowBand& band : sheet->bands) take(sheets.book(), band, data.area, source);
  return source;
}

void numbers(Xml& xml, const char* tag, const Source& source) {
  xml.start(tag);
  xml.leaf("c:formatCode", source.number_format.empty() ? "General" : source.number_format);
  xml.val("c:ptCount", source.values.size());
  for (std::size_t i = 0; i < source.values.size(); ++i) {
    const CellValue& value = source.values[i];
    if (!value.is_number() || !std::isfinite(value.number)) continue;
    xml.start("c:pt").attr("idx", i).leaf("c:v", value.number).end();
  }
  xml.end();
}

std::string text_of(const CellValue& value) {
  switch (value.kind) {
    case CellKind::kText:
      return value.text;
    case CellKind::kNumber: {
      std::string text;
      append_number(text, value.number);
      return text;
    }
    case CellKind::kBoolean:
      return value.number != 0 ? "TRUE" : "FALSE";
    case CellKind::kError:
      return std::string(host::cell_error_text(value.error()));
    case CellKind::kBlank:
      break;
  }
  return "";
}

void texts(Xml& xml, const char* tag, const Source& source) {
  xml.start(tag);
  xml.val("c:ptCount", source.values.size());
  for (std::size_t i = 0; i < source.values.size(); ++i) {
    if (source.values[i].kind == CellKind::kBlank) continue;
    xml.start("c:pt")
        .attr("idx", i)
        .start("c:v")
        .text(text_of(source.values[i]), Escape::kXstring)
        .end()
        .end();
  }
  xml.end();
}

void number_elements(Xml& xml, const Source& source) {
  if (source.formula.empty()) return numbers(xml, "c:numLit", source);
  xml.start("c:numRef").leaf("c:f", source.formula);
  numbers(xml, "c:numCache", source);
  xml.end();
}

void text_elements(Xml& xml, const Source& source) {
  if (source.formula.empty()) return texts(xml, "c:strLit", source);
  xml.start("c:strRef").leaf("c:f", source.formula);
  texts(xml, "c:strCache", source);
  xml.end();
}

bool is_given(const SeriesData& data) {
  return !data.sheet.empty() || !data.constants.empty();
}

}  // namespace

void number_source(Xml& xml, const char* tag, const SheetsByName& sheets, const SeriesData& data) {
  if (!is_given(data)) return;
  xml.start(tag);
  number_elements(xml, source_of(sheets, data));
  xml.end();
}

void category_source(Xml& xml, const char* tag, const SheetsByName& sheets, const SeriesData& data) {
  if (!is_given(data)) return;
  const Source source = source_of(sheets, data);
  const bool has_text = std::any_of(source.values.begin(), source.values.end(),
                                    [](const CellValue& value) { return value.kind == CellKind::kText; });
  xml.start(tag);
  if (has_text) {
    text_elements(xml, source);
  } else {
    number_elements(xml, source);
  }
  xml.end();
}

}  // namespace ordvane::xlsx
