// What the charts over a step table share: their texts, the ranges they draw, and the chart once it has its
// room on the sheet; and the words about what they cannot draw.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "layout/point_chart.h"
#include "layout/report_sheet.h"
#include "model/graph_ranges.h"
#include "reports/chart_helpers.h"
#include "reports/step_table.h"
#include "session/session.h"

namespace ordvane::reports {

class StepChart {
 public:
  std::string chart_title, x_axis_title, y_axis_title;
  model::OrdvaneGraphRanges ranges;

  // Null until there is one.
  const std::shared_ptr<layout::PointChart>& chart() const { return chart_; }
  const Extent& extent() const { return extent_; }

 protected:
  explicit StepChart(session::Session& session) : session_(session) {}
  void add_series(const model::OrdvaneGraphRange& range);
  // Axes around what is drawn, in these formats (English codes), and the watermark.
  void finish(const std::string& x_format, const std::string& y_format);

  session::Session& session_;
  Extent extent_;
  std::shared_ptr<layout::PointChart> chart_;
};

// The lines at a graph.
struct StepGraphTexts {
  session::TextId<0> drawn;                                // what the graph draws of the inputs
  session::TextId<1> base_zero, base_invalid, no_results;  // filled with a list of inputs that it cannot draw
};

// Lines below what the sheet holds so far: which inputs the graph does not draw, and why; and which steps
// failed or leave out the base value.
void WriteStepGraphLines(session::Session& session, layout::ReportSheet& sheet, const StepTable& steps,
                         Quantity quantity, const StepGraphTexts& texts);

// Why a graph cannot draw any input: that there is none, and on the next line what is missing.
std::string NoGraphMessage(session::Session& session, session::TextId<0> none, const StepTable& steps,
                           Quantity quantity);

}  // namespace ordvane::reports
