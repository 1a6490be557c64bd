// xl/worksheets/sheetN.xml without its rows: views, columns, merges, print set-up.
#include <algorithm>
#include <cmath>

#include "text/utf16.h"
#include "xlsx/grid.h"
#include "xlsx/parts.h"
#include "xlsx/style_elements.h"

namespace ordvane::xlsx {
namespace {

using office::SheetModel;

constexpr std::int32_t kCellsAtOnce = 65536;      // in one piece
constexpr std::int32_t kHeaderFooterLimit = 255;  // UTF-16 units

struct Extent {
  std::int32_t first_row = office::kSheetRows, last_row = 0;
  std::int32_t first_column = office::kSheetColumns, last_column = 0;
  void add(std::int32_t row, std::int32_t column) {
    first_row = std::min(first_row, row);
    last_row = std::max(last_row, row);
    first_column = std::min(first_column, column);
    last_column = std::max(last_column, column);
  }
};

[[noreturn]] void refuse_place(const SheetModel& sheet, std::int32_t row, std::int32_t column) {
  refuse("sheet '" + sheet.name + "': row " + std::to_string(row) + ", column " + std::to_string(column) +
         " is outside a worksheet");
}

void check_place(const SheetModel& sheet, std::int32_t row, std::int32_t column) {
  if (row < 1 || row > office::kSheetRows || column < 1 || column > office::kSheetColumns)
    refuse_place(sheet, row, column);
}

Extent extent_of(const SheetModel& sheet) {
  Extent extent;
  const auto add = [&](std::int32_t row, std::int32_t column) {
    check_place(sheet, row, column);
    extent.add(row, column);
  };
  for (const office::RowBand& band : sheet.bands) {
    if (band.rows < 1 || band.columns < 1) continue;
    add(band.first_row, band.first_column);
    add(band.first_row + band.rows - 1, band.first_column + band.columns - 1);
  }
  for (const auto& [cell, formula] : sheet.formulas) add(cell.row, cell.column);
  return extent;
}

void dimension(Xml& xml, const Extent& extent) {
  std::string area = "A1";
  if (extent.last_row > 0)
    area = office::area_name({extent.first_row, extent.first_column, extent.last_row - extent.first_row + 1,
                              extent.last_column - extent.first_column + 1});
  xml.start("dimension").attr("ref", area).end();
}

bool is_fitted(const host::PageSetup& page) {
  return page.fit_to_pages_wide > 0 || page.fit_to_pages_tall > 0;
}

void sheet_properties(Xml& xml, const host::PageSetup& page, const std::string& code_name) {
  if (!is_fitted(page) && code_name.empty()) return;
  xml.start("sheetPr");
  if (!code_name.empty()) xml.attr("codeName", code_name);
  if (is_fitted(page)) xml.start("pageSetUpPr").attr("fitToPage", true).end();
  xml.end();
}

bool contains(const office::Area& area, const office::CellRef& cell) {
  return cell.row >= area.row && cell.row < area.row + area.rows && cell.column >= area.column &&
         cell.column < area.column + area.columns;
}

void selection(Xml& xml, const SheetModel& sheet, const char* pane) {
  const office::Area& area = sheet.selection;
  const office::CellRef active =
      contains(area, sheet.active_cell) ? sheet.active_cell : office::CellRef{area.row, area.column};
  xml.start("selection");
  if (*pane != '\0') xml.attr("pane", pane);
  xml.attr("activeCell", office::cell_name(active.row, active.column))
      .attr("sqref", office::area_name(area))
      .end();
}

void frozen_panes(Xml& xml, const SheetModel& sheet) {
  const bool rows = sheet.frozen_rows > 0, columns = sheet.frozen_columns > 0;
  const char* active = rows && columns ? "bottomRight" : rows ? "bottomLeft" : "topRight";
  xml.start("pane");
  if (columns) xml.attr("xSplit", sheet.frozen_columns);
  if (rows) xml.attr("ySplit", sheet.frozen_rows);
  xml.attr("topLeftCell", office::cell_name(sheet.frozen_rows + 1, sheet.frozen_columns + 1));
  xml.attr("activePane", active).attr("state", "frozen").end();
  if (rows && columns) {
    xml.start("selection").attr("pane", "topRight").end();
    xml.start("selection").attr("pane", "bottomLeft").end();
  }
  selection(xml, sheet, active);
}

void view(Xml& xml, const SheetModel& sheet, bool active) {
  xml.start("sheetViews").start("sheetView");
  if (!sheet.gridlines) xml.attr("showGridLines", false);
  if (active) xml.attr("tabSelected", true);
  xml.attr("workbookViewId", 0);
  if (sheet.frozen_rows > 0 || sheet.frozen_columns > 0) {
    frozen_panes(xml, sheet);
  } else {
    selection(xml, sheet, "");
  }
  xml.end().end();
}

bool same(const office::ColumnProps& a, const office::ColumnProps& b) {
  return a.width == b.width && a.hidden == b.hidden;
}

void columns(Xml& xml, const SheetModel& sheet, double digit_pixels) {
  if (sheet.columns.empty()) return;
  xml.start("cols");
  for (auto first = sheet.columns.begin(); first != sheet.columns.end();) {
    auto last = first;
    for (auto next = std::next(last);
         next != sheet.columns.end() && next->first == last->first + 1 && same(next->second, first->second);
         ++next)
      last = next;
    xml.start("col").attr("min", first->first).attr("max", last->first);
    xml.attr("width",
             column_file_width(first->second.width.value_or(office::kDefaultColumnWidth), digit_pixels));
    if (first->second.hidden) xml.attr("hidden", true);
    if (first->second.width) xml.attr("customWidth", true);
    xml.end();
    first = std::next(last);
  }
  xml.end();
}

std::int32_t last_row(const SheetModel& sheet, const Extent& extent) {
  return sheet.row_heights.empty() ? extent.last_row
                                   : std::max(extent.last_row, sheet.row_heights.rbegin()->first);
}

void check_area(const SheetModel& sheet, const office::Area& area) {
  check_place(sheet, area.row, area.column);
  check_place(sheet, area.row + area.rows - 1, area.column + area.columns - 1);
}

void filter(Xml& xml, const SheetModel& sheet) {
  if (!sheet.filter) return;
  check_area(sheet, *sheet.filter);
  xml.start("autoFilter").attr("ref", office::area_name(*sheet.filter)).end();
}

void merges(Xml& xml, const SheetModel& sheet) {
  if (sheet.merges.empty()) return;
  xml.start("mergeCells").attr("count", sheet.merges.size());
  for (const office::Area& area : sheet.merges) {
    check_area(sheet, area);
    xml.start("mergeCell").attr("ref", office::area_name(area)).end();
  }
  xml.end();
}

void color_scales(Xml& xml, const SheetModel& sheet) {
  for (std::size_t number = 1; const office::ColorScale& scale : sheet.color_scales) {
    check_area(sheet, scale.area);
    xml.start("conditionalFormatting").attr("sqref", office::area_name(scale.area));
    xml.start("cfRule").attr("type", "colorScale").attr("priority", number++).start("colorScale");
    for (const host::ColorStop& stop : scale.stops)
      xml.start("cfvo").attr("type", "num").attr("val", stop.value).end();
    for (const host::ColorStop& stop : scale.stops) color_element(xml, "color", stop.color);
    xml.end().end().end();
  }
}

void page_setup(Xml& xml, const host::PageSetup& page) {
  xml.start("pageMargins").attr("left", 0.7).attr("right", 0.7).attr("top", 0.75).attr("bottom", 0.75);
  xml.attr("header", 0.3).attr("footer", 0.3).end();
  const bool scaled = !is_fitted(page) && page.scale != 100;
  if (!page.landscape && !is_fitted(page) && !scaled) return;
  xml.start("pageSetup").attr("orientation", page.landscape ? "landscape" : "portrait");
  if (scaled) xml.attr("scale", page.scale);
  if (is_fitted(page))
    xml.attr("fitToWidth", page.fit_to_pages_wide).attr("fitToHeight", page.fit_to_pages_tall);
  xml.end();
}

// The three sections as one text, cut to what the spreadsheet takes: longer ones make it refuse the file.
std::string sections(const std::string& left, const std::string& center, const std::string& right) {
  std::string text;
  if (!left.empty()) text += "&L" + left;
  if (!center.empty()) text += "&C" + center;
  if (!right.empty()) text += "&R" + right;
  return std::string(text::left(text, kHeaderFooterLimit));
}

void header_footer(Xml& xml, const host::PageSetup& page) {
  const std::string header = sections(page.left_header, page.center_header, page.right_header);
  const std::string footer = sections(page.left_footer, page.center_footer, page.right_footer);
  if (header.empty() && footer.empty()) return;
  xml.start("headerFooter");
  if (!header.empty()) text_element(xml, "oddHeader", header);
  if (!footer.empty()) text_element(xml, "oddFooter", footer);
  xml.end();
}

// Each names the row above it or the column before it, and reaches over the whole sheet.
void breaks(Xml& xml, const char* name, const std::vector<std::int32_t>& firsts, std::int32_t across) {
  if (firsts.empty()) return;
  xml.start(name).attr("count", firsts.size()).attr("manualBreakCount", firsts.size());
  for (const std::int32_t first : firsts)
    xml.start("brk").attr("id", first - 1).attr("max", across - 1).attr("man", true).end();
  xml.end();
}

void page_breaks(Xml& xml, const SheetModel& sheet) {
  for (const std::int32_t row : sheet.page.row_breaks) check_place(sheet, row - 1, 1);
  for (const std::int32_t column : sheet.page.column_breaks) check_place(sheet, 1, column - 1);
  breaks(xml, "rowBreaks", sheet.page.row_breaks, office::kSheetColumns);
  breaks(xml, "colBreaks", sheet.page.column_breaks, office::kSheetRows);
}

// In a workbook of another default font, rows and columns that nothing was set for keep the size
// they have here.
void usual_sizes(Xml& xml, double digit_pixels) {
  xml.start("sheetFormatPr");
  if (digit_pixels != kDigitPixels)
    xml.attr("defaultColWidth", column_file_width(office::kDefaultColumnWidth, digit_pixels));
  xml.attr("defaultRowHeight", office::kDefaultRowHeight);
  if (digit_pixels != kDigitPixels) xml.attr("customHeight", true);
  xml.end();
}

// Up to the first row.
void head(std::string& out, const SheetModel& sheet, const SheetFrame& frame, const Extent& extent) {
  Xml xml(out);
  xml.declaration().start("worksheet").attr("xmlns", kMainSpace).attr("xmlns:r", kReferenceSpace);
  sheet_properties(xml, sheet.page, frame.code_name);
  dimension(xml, extent);
  view(xml, sheet, frame.selected);
  usual_sizes(xml, frame.digit_pixels);
  columns(xml, sheet, frame.digit_pixels);
  xml.start("sheetData").raw();
}

// From behind the last row.
void tail(std::string& out, const SheetModel& sheet, const SheetFrame& frame) {
  out += "</sheetData>";
  Xml xml(out);
  filter(xml, sheet);
  merges(xml, sheet);
  color_scales(xml, sheet);
  page_setup(xml, sheet.page);
  header_footer(xml, sheet.page);
  page_breaks(xml, sheet);
  if (!frame.drawing.empty()) xml.start("drawing").attr("r:id", frame.drawing).end();
  if (!frame.legacy_drawing.empty()) xml.start("legacyDrawing").attr("r:id", frame.legacy_drawing).end();
  out += "</worksheet>";
}

std::int32_t rows_at_once(const Extent& extent) {
  return std::max(kCellsAtOnce / std::max(extent.last_column - extent.first_column + 1, 1), 1);
}

}  // namespace

std::vector<Piece> sheet_pieces(const office::BookModel& book, std::size_t position,
                                const SheetFrame& frame) {
  const SheetModel& sheet = *book.sheets[position];
  const Extent extent = extent_of(sheet);
  const std::int32_t end = std::max(last_row(sheet, extent), 1);
  const CellNames names = cell_names(sheet);
  std::vector<Piece> pieces;
  // One piece is looked through for what repeats; of more, the cells tell.
  const std::int32_t rows = names == CellNames::kAll ? end : rows_at_once(extent);
  for (std::int32_t first = 1; first <= end; first += rows) {
    const std::int32_t last = std::min(end, first + rows - 1);
    pieces.push_back([=, &book, &sheet] {
      MarkedText piece;
      if (first == 1) head(piece.text, sheet, frame, extent);
      encode_rows(sheet, frame, book.texts, names, first, last, piece);
      if (last == end) tail(piece.text, sheet, frame);
      return piece;
    });
  }
  return pieces;
}

}  // namespace ordvane::xlsx
