// What the charts over a step table share: their texts, the ranges they draw, and the chart once it has its
// room on the sheet.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "graphs/chart_helpers.h"
#include "model/graph_ranges.h"
#include "model/input_output.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::graphs {

class StepChart {
 public:
  std::string chart_title, x_axis_title, y_axis_title;
  model::OrdvaneGraphRanges ranges;

  // Null until there is one.
  const std::shared_ptr<tables::ReportChart>& chart() const { return chart_; }
  const Extent& extent() const { return extent_; }

 protected:
  explicit StepChart(session::Session& session) : session_(session) {}
  void add_series(const model::OrdvaneGraphRange& range);
  // Axes of automatic bounds, and the watermark. An empty format leaves the figures as the cells have them.
  void finish(const std::string& tick_label_format);

  session::Session& session_;
  Extent extent_;
  std::shared_ptr<tables::ReportChart> chart_;
};

// Width in points; a host that refuses keeps the chart as it is.
void FitWidth(tables::ReportChart& chart, double width);

// Why there is no chart: that there is none (a string id), and on the next line what its changes lack.
std::string NoBaseMessage(session::Session& session, std::int16_t none, const model::DralInputOutput& output);

}  // namespace ordvane::graphs
