// Chart routines that the graph reports share.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/excel.h"
#include "layout/point_chart.h"
#include "layout/report_sheet.h"
#include "model/graph_ranges.h"
#include "session/session.h"

namespace ordvane::reports {

// The size of every chart whose height the bars do not give; points.
inline constexpr double kChartWidth = 428.0;
inline constexpr double kChartHeight = 300.0;

// 0.75 point.
void SetChartAreaLineWeight(host::Chart& chart);

// One-based position, row by row, of the first cell that holds an error value; 0 when none does. The bounds
// are accepted and do not limit the walk.
std::int32_t FirstErrorCellIndex(host::Range& range, std::int32_t first = 1, std::int32_t last = 0);

struct Extent {
  double x_minimum = 0, x_maximum = 0, y_minimum = 0, y_maximum = 0;
};
// Smallest and largest x and y of one series, and of all series. What cannot be found stays as it was. Return
// 0.
std::int32_t GetGraphRangeExtent(session::Session& session, const model::OrdvaneGraphRange& range,
                                 Extent& extent);
std::int32_t GetGraphRangesExtent(session::Session& session, const model::OrdvaneGraphRanges& ranges,
                                  Extent& extent);

// The series that gives a chart without any a plot area, axes and a title: without one the spreadsheet has
// none to format. Nothing of it is seen.
void AddPlaceholderSeries(host::Chart& chart);

// Turns a chart into an empty, framed panel whose title carries a message.
void FormatMessageChart(host::Chart& chart);
// Returns 0; the chart goes to `made` when it is not null.
std::int32_t CreateMessageChart(layout::ReportSheet& sheet, const std::string& message,
                                std::shared_ptr<layout::PointChart>* made = nullptr);

// The vertical base-value marker of a tornado chart, on the secondary axes, with its label at the top end;
// outside the axis it is not seen.
void AddBaseValueLine(host::Chart& chart, double base_value, double axis_minimum, double axis_maximum,
                      host::Color line_color, const std::string& label_text, host::Color label_color,
                      host::Color label_fill);

}  // namespace ordvane::reports
