// xl/drawings/drawingN.xml: where the charts of a sheet stand.
//
// A chart is fixed to the cell under its corner and keeps its size whatever the columns do.
#include <algorithm>
#include <cmath>

#include "xlsx/drawing_text.h"
#include "xlsx/grid.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using office::ChartModel;

void place(Xml& xml, const char* cell_tag, const char* offset_tag, const GridPlace& at) {
  xml.leaf(cell_tag, at.cell).leaf(offset_tag, emu(at.offset));
}

void corner(Xml& xml, const office::SheetModel& sheet, const ChartModel& chart) {
  xml.start("xdr:from");
  place(xml, "xdr:col", "xdr:colOff", column_at(sheet, chart.left));
  place(xml, "xdr:row", "xdr:rowOff", row_at(sheet, chart.top));
  xml.end();
}

void frame_properties(Xml& xml, const ChartModel& chart, std::size_t position) {
  const std::string name = chart.name.empty() ? "Chart " + std::to_string(position + 1) : chart.name;
  xml.start("xdr:nvGraphicFramePr").start("xdr:cNvPr").attr("id", position + 2).attr("name", name);
  if (!chart.alternative_text.empty()) xml.attr("descr", chart.alternative_text);
  xml.end().empty("xdr:cNvGraphicFramePr").end();
}

void no_transform(Xml& xml) {
  xml.start("xdr:xfrm").start("a:off").attr("x", 0).attr("y", 0).end();
  xml.start("a:ext").attr("cx", 0).attr("cy", 0).end().end();
}

void chart_reference(Xml& xml, std::size_t position) {
  xml.start("a:graphic").start("a:graphicData").attr("uri", kChartSpace);
  xml.start("c:chart").attr("xmlns:c", kChartSpace).attr("r:id", relationship_id(position)).end();
  xml.end().end();
}

void frame(Xml& xml, const office::SheetModel& sheet, std::size_t position) {
  const ChartModel& chart = *sheet.charts[position];
  xml.start("xdr:oneCellAnchor");
  corner(xml, sheet, chart);
  xml.start("xdr:ext")
      .attr("cx", emu(std::max(chart.width, 1.0)))
      .attr("cy", emu(std::max(chart.height, 1.0)))
      .end();
  xml.start("xdr:graphicFrame").attr("macro", chart.click_macro);
  frame_properties(xml, chart, position);
  no_transform(xml);
  chart_reference(xml, position);
  xml.end().empty("xdr:clientData").end();
}

}  // namespace

std::string drawing_part(const office::SheetModel& sheet) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("xdr:wsDr");
  xml.attr("xmlns:xdr", "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing");
  xml.attr("xmlns:a", kDrawingSpace).attr("xmlns:r", kReferenceSpace);
  for (std::size_t i = 0; i < sheet.charts.size(); ++i) frame(xml, sheet, i);
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
