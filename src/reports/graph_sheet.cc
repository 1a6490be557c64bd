#include "reports/graph_sheet.h"

#include <algorithm>

#include "host/error.h"

namespace ordvane::reports {
namespace {

constexpr double kUnmeasuredWidth = 400.0;
constexpr double kNarrowestChart = 376.0;
constexpr double kWidestChart = 476.0;

}  // namespace

double TableWidthForChart(layout::ReportTable& table) {
  double width = kUnmeasuredWidth;
  host::ignoring_errors([&] { table.Settle(); });
  host::ignoring_errors([&] {
    const auto last = table.Body(1, table.columns());
    width = last->left() + last->width() - table.ColumnHeaderRange(0)->left();
  });
  return std::clamp(width, kNarrowestChart, kWidestChart);
}

void FitWidth(layout::ReportChart& chart, double width) {
  host::ignoring_errors([&] { chart.Container()->set_width(width); });
}

void SetWatermark(session::Session& session, layout::ReportChart& chart) {
  if (session.watermark.text.empty()) return;
  chart.SetWatermark(session.watermark.primary, session.watermark.secondary, session.graph_click_macro);
}

}  // namespace ordvane::reports
