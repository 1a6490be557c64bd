// Cell notes: their texts (xl/commentsN.xml), and the boxes that show them, which the spreadsheet still keeps
// as VML.
#include <algorithm>
#include <cmath>

#include "office/office.h"
#include "xlsx/grid.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

constexpr const char* kFont = "Tahoma";
constexpr double kFontSize = 9;
constexpr double kLineHeight = 11.25;
constexpr double kMargin = 12;  // of a box: left and right, or top and bottom, together
constexpr double kNarrowest = 96, kWidest = 260, kTallest = 360;
constexpr double kPointsPerPixel = 0.75;
constexpr std::size_t kShapesPerSheet = 1024;  // ids are given to drawings in blocks of this size

struct Size {
  double width, height;
};

// As large as the text needs, within limits.
Size box_size(const std::string& text) {
  double widest = 0;
  std::vector<double> lines;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(office::text_width(std::string_view(text).substr(at, end - at), kFont, kFontSize, false));
    widest = std::max(widest, lines.back());
    at = end + 1;
  }
  const double width = std::clamp(widest * 1.05 + kMargin, kNarrowest, kWidest);
  double count = 0;  // a line broken at words fills about nine tenths of the width
  for (const double line : lines) count += std::max(1.0, std::ceil(line * 1.1 / (width - kMargin)));
  return {width, std::min(count * kLineHeight + kMargin, kTallest)};
}

void add_place(std::string& anchor, const GridPlace& place) {
  if (!anchor.empty()) anchor += ", ";
  append_number(anchor, std::int64_t{place.cell});
  anchor += ", ";
  append_number(anchor, static_cast<std::int64_t>(std::lround(place.offset / kPointsPerPixel)));
}

// Right of the cell, slightly above it: column, offset, row, offset, twice; offsets in pixels.
std::string anchor_of(const office::SheetModel& sheet, const office::CellRef& cell, const Size& size) {
  const double left = column_left(sheet, cell.column + 1) + 11.25;
  const double top = std::max(row_top(sheet, cell.row) - 7.5, 0.0);
  std::string anchor;
  add_place(anchor, column_at(sheet, left));
  add_place(anchor, row_at(sheet, top));
  add_place(anchor, column_at(sheet, left + size.width));
  add_place(anchor, row_at(sheet, top + size.height));
  return anchor;
}

std::string style_of(const Size& size) {
  std::string style = "position:absolute;width:";
  append_number(style, size.width);
  style += "pt;height:";
  append_number(style, size.height);
  return style + "pt;z-index:1;visibility:hidden";
}

void shape_type(Xml& xml) {
  xml.start("v:shapetype").attr("id", "_x0000_t202").attr("coordsize", "21600,21600").attr("o:spt", 202);
  xml.attr("path", "m,l,21600r21600,l21600,xe");
  xml.start("v:stroke").attr("joinstyle", "miter").end();
  xml.start("v:path").attr("gradientshapeok", "t").attr("o:connecttype", "rect").end();
  xml.end();
}

void client_data(Xml& xml, const office::SheetModel& sheet, const office::CellRef& cell, const Size& size) {
  xml.start("x:ClientData").attr("ObjectType", "Note");
  xml.empty("x:MoveWithCells").empty("x:SizeWithCells");
  xml.leaf("x:Anchor", anchor_of(sheet, cell, size));
  xml.leaf("x:AutoFill", "False");
  xml.leaf("x:Row", cell.row - 1).leaf("x:Column", cell.column - 1);
  xml.end();
}

void note(Xml& xml, const office::SheetModel& sheet, const office::CellRef& cell, const std::string& text,
          std::size_t id) {
  const Size size = box_size(text);
  xml.start("v:shape").attr("id", "_x0000_s" + std::to_string(id)).attr("type", "#_x0000_t202");
  xml.attr("style", style_of(size)).attr("fillcolor", "#ffffe1").attr("o:insetmode", "auto");
  xml.start("v:fill").attr("color2", "#ffffe1").end();
  xml.start("v:path").attr("o:connecttype", "none").end();
  xml.start("v:textbox").attr("style", "mso-direction-alt:auto");
  xml.start("div").attr("style", "text-align:left").end().end();
  client_data(xml, sheet, cell, size);
  xml.end();
}

void text_run(Xml& xml, const std::string& text) {
  xml.start("r").start("rPr").val("sz", kFontSize).start("color").attr("indexed", 81).end();
  xml.val("rFont", kFont).val("family", 2).end();
  text_element(xml, "t", text);
  xml.end();
}

}  // namespace

std::string comments_part(const office::SheetModel& sheet) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("comments").attr("xmlns", kMainSpace);
  xml.start("authors").leaf("author", "Ordvane").end();
  xml.start("commentList");
  for (const auto& [cell, text] : sheet.comments) {
    xml.start("comment")
        .attr("ref", office::cell_name(cell.row, cell.column))
        .attr("authorId", 0)
        .start("text");
    text_run(xml, text);
    xml.end().end();
  }
  xml.end().end();
  return part;
}

std::string notes_drawing_part(const office::SheetModel& sheet, std::size_t number) {
  std::string part;
  Xml xml(part);
  xml.start("xml").attr("xmlns:v", "urn:schemas-microsoft-com:vml");
  xml.attr("xmlns:o", "urn:schemas-microsoft-com:office:office");
  xml.attr("xmlns:x", "urn:schemas-microsoft-com:office:excel");
  xml.start("o:shapelayout").attr("v:ext", "edit");
  xml.start("o:idmap").attr("v:ext", "edit").attr("data", number).end().end();
  shape_type(xml);
  std::size_t id = number * kShapesPerSheet;
  for (const auto& [cell, text] : sheet.comments) note(xml, sheet, cell, text, ++id);
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
