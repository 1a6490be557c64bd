// xl/drawings/drawingN.xml of a chart: the text boxes over it, placed as fractions of its size.
#include <algorithm>

#include "xlsx/drawing_text.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using office::ChartModel;
using office::TextBoxModel;

void corner(Xml& xml, const char* tag, double x, double y) {
  xml.start(tag).leaf("cdr:x", x).leaf("cdr:y", y).end();
}

void shape(Xml& xml, const TextBoxModel& box) {
  xml.start("a:xfrm").start("a:off").attr("x", emu(box.left)).attr("y", emu(box.top)).end();
  xml.start("a:ext")
      .attr("cx", emu(std::max(box.width, 0.0)))
      .attr("cy", emu(std::max(box.height, 0.0)))
      .end()
      .end();
  xml.start("a:prstGeom").attr("prst", "rect").empty("a:avLst").end();
  xml.empty("a:noFill").start("a:ln").empty("a:noFill").end();
}

void text(Xml& xml, const TextBoxModel& box) {
  xml.start("cdr:txBody")
      .start("a:bodyPr")
      .attr("vertOverflow", "clip")
      .attr("wrap", "square")
      .attr("rtlCol", false)
      .end();
  xml.empty("a:lstStyle");
  paragraphs(xml, {{box.text, {}}}, box.font);
  xml.end();
}

void text_box(Xml& xml, const ChartModel& chart, std::size_t position) {
  const TextBoxModel& box = chart.text_boxes[position];
  xml.start("cdr:relSizeAnchor");
  corner(xml, "cdr:from", fraction(box.left, chart.width), fraction(box.top, chart.height));
  corner(xml, "cdr:to", fraction(box.left + box.width, chart.width),
         fraction(box.top + box.height, chart.height));
  xml.start("cdr:sp").attr("macro", "").attr("textlink", "");
  xml.start("cdr:nvSpPr")
      .start("cdr:cNvPr")
      .attr("id", position + 2)
      .attr("name", "Text " + std::to_string(position + 1))
      .end();
  xml.start("cdr:cNvSpPr").attr("txBox", true).end().end();
  xml.start("cdr:spPr");
  shape(xml, box);
  xml.end();
  text(xml, box);
  xml.end().end();
}

}  // namespace

std::string user_shapes_part(const ChartModel& chart) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("c:userShapes").attr("xmlns:c", kChartSpace).attr("xmlns:a", kDrawingSpace);
  xml.attr("xmlns:cdr", "http://schemas.openxmlformats.org/drawingml/2006/chartDrawing");
  for (std::size_t i = 0; i < chart.text_boxes.size(); ++i) text_box(xml, chart, i);
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
