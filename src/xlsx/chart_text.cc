#include "xlsx/chart_text.h"

#include <algorithm>

#include "office/office.h"
#include "xlsx/drawing_text.h"

namespace ordvane::xlsx {
namespace {

constexpr double kTitleShare = 0.8;  // of the chart's width, the most that a line of a title takes
constexpr double kTitlePadding = 10;

void title(Xml& xml, const std::vector<office::TextRun>& runs, const office::FontProps& base,
           std::int32_t turn) {
  xml.start("c:tx").start("c:rich").start("a:bodyPr");
  if (turn != 0) xml.attr("rot", turn).attr("vert", "horz");
  xml.end().empty("a:lstStyle");
  paragraphs(xml, runs, base);
  xml.end().end();
}

const office::FontProps& title_font() {
  static const office::FontProps font{{}, kChartTitleSize, true, {}, {}};
  return font;
}

// Width of the longest line in points.
double title_width(const std::vector<office::TextRun>& runs) {
  double widest = 0, line = 0;
  for (const office::TextRun& run : runs) {
    const office::FontProps font = over(run.font, title_font());
    std::string_view rest = run.text;
    while (true) {
      const std::size_t end = std::min(rest.find_first_of("\r\n"), rest.size());
      line += office::text_width(rest.substr(0, end), font.name.value_or(office::kDefaultFont), *font.size,
                                 *font.bold);
      widest = std::max(widest, line);
      if (end == rest.size()) break;
      rest.remove_prefix(end + 1);
      line = 0;
    }
  }
  return widest;
}

// The spreadsheet keeps a title that was moved by its corner alone, so that centring it is up to the writer.
double title_left(const office::ChartModel& chart) {
  const double width = std::min(title_width(chart.title) + kTitlePadding, chart.width * kTitleShare);
  return (chart.width - width) / 2;
}

}  // namespace

void manual_layout(Xml& xml, const office::ChartModel& chart, const LayoutBox& box, bool plot_area,
                   bool inner) {
  xml.start("c:layout").start("c:manualLayout");
  if (inner) xml.val("c:layoutTarget", "inner");
  xml.val("c:xMode", "edge").val("c:yMode", "edge");
  xml.val("c:x", fraction(box.left, chart.width)).val("c:y", fraction(box.top, chart.height));
  if (plot_area)
    xml.val("c:w", fraction(box.width, chart.width)).val("c:h", fraction(box.height, chart.height));
  xml.end().end();
}

void chart_title(Xml& xml, const office::ChartModel& chart) {
  if (chart.title.empty()) {
    xml.val("c:autoTitleDeleted", true);
    return;
  }
  xml.start("c:title");
  title(xml, chart.title, title_font(), 0);
  if (chart.title_top) manual_layout(xml, chart, {title_left(chart), *chart.title_top, 0, 0}, false, false);
  xml.val("c:overlay", false).end();
  xml.val("c:autoTitleDeleted", false);
}

void axis_title(Xml& xml, const std::string& text, const office::FontProps& font, std::int32_t turn) {
  const office::FontProps base = over(font, {{}, kChartTextSize, false, {}, {}});
  xml.start("c:title");
  title(xml, {{text, {}}}, base, turn);
  xml.val("c:overlay", false).end();
}

}  // namespace ordvane::xlsx
