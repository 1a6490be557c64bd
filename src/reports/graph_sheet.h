// What the graph reports have in common around their charts.
#pragma once

#include "layout/report_chart.h"
#include "layout/report_table.h"
#include "session/session.h"

namespace ordvane::reports {

// Points for a chart above or below the table: its width, within 376 to 476; 400 when it has none to measure.
double TableWidthForChart(layout::ReportTable& table);
// Width in points; a host that refuses keeps the chart as it is.
void FitWidth(layout::ReportChart& chart, double width);

// When the session has one.
void SetWatermark(session::Session& session, layout::ReportChart& chart);

}  // namespace ordvane::reports
