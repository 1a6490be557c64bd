// Chart routines that the graph reports share.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "host/excel.h"
#include "layout/report_chart.h"
#include "layout/report_sheet.h"
#include "model/graph_ranges.h"
#include "session/session.h"

namespace ordvane::reports {

// Kinds that ReportSheet::AddChart takes, and the size of every chart whose height the bars do not give;
// points.
inline constexpr std::int32_t kLineChart = 33;
inline constexpr std::int32_t kSensitivityChart = 34;
inline constexpr std::int32_t kTornadoChart = 64;
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

// Rounded axis bounds for a data range. False, with nothing set, for a reversed range or one without a scale.
bool CalcAxisScale(double data_minimum, double data_maximum, double& axis_minimum, double& axis_maximum,
                   double& major_unit);

// The series that gives a chart without any a plot area, axes and a title: without one the spreadsheet has
// none to format. Nothing of it is seen.
void AddPlaceholderSeries(host::Chart& chart);

// Turns a chart into an empty, framed panel whose title carries a message.
void FormatMessageChart(host::Chart& chart);
// Returns 0; the chart goes to `made` when it is not null.
std::int32_t CreateMessageChart(layout::ReportSheet& sheet, const std::string& message,
                                std::shared_ptr<layout::ReportChart>* made = nullptr);

// Smallest and largest element; error 9 for an empty array.
double ArrayMin(std::span<const double> values);
double ArrayMax(std::span<const double> values);

// The vertical base-value marker of a tornado chart, on the secondary axes, with its label at the top end;
// outside the axis it is not seen.
void AddBaseValueLine(session::Session& session, host::Chart& chart, double base_value, double axis_minimum,
                      double axis_maximum, host::Color line_color, const std::string& label_text,
                      host::Color label_color, host::Color label_fill);

}  // namespace ordvane::reports
