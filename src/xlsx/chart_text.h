// Titles of charts and axes.
#pragma once

#include <string>

#include "office/book.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

inline constexpr double kChartTextSize = 9;  // points, of what has no size of its own
inline constexpr double kChartTitleSize = 12;

void chart_title(Xml& xml, const office::ChartModel& chart);
// `turn`: in 60,000ths of a degree.
void axis_title(Xml& xml, const std::string& text, const office::FontProps& font, std::int32_t turn);
// A place within the chart as fractions of its size. `inner`: of the plot area without its labels.
struct LayoutBox {
  double left, top, width, height;  // points
};
void manual_layout(Xml& xml, const office::ChartModel& chart, const LayoutBox& box, bool plot_area,
                   bool inner);

}  // namespace ordvane::xlsx
