// The parts of the charts over a step table that do not differ from report to report.
#include "graphs/step_chart.h"

#include "graphs/graph_sheet.h"
#include "host/error.h"

namespace ordvane::graphs {
namespace {

// String ids.
constexpr std::int16_t kNoUsableBase = 1007;
constexpr std::int16_t kOutputBaseZero = 1026;

}  // namespace

void StepChart::add_series(const model::OrdvaneGraphRange& range) {
  host::ignoring_errors([&] { chart_->AddSeries(*range.xValues(), *range.yValues(), range.rName()); });
}

void StepChart::finish(const std::string& tick_label_format) {
  constexpr double kAuto = host::kAutoScaleValue;
  chart_->SetXAxis(x_axis_title, kAuto, kAuto, kAuto, "", true);
  chart_->SetYAxis(y_axis_title, kAuto, kAuto, kAuto, "");
  if (!tick_label_format.empty())
    for (const auto type : {host::AxisType::kCategory, host::AxisType::kValue})
      chart_->Chart()->axis(type, host::AxisGroup::kPrimary)->set_tick_label_format(tick_label_format);
  SetWatermark(session_, *chart_);
}

void FitWidth(tables::ReportChart& chart, double width) {
  host::ignoring_errors([&] { chart.Container()->set_width(width); });
}

std::string NoBaseMessage(session::Session& session, std::int16_t none,
                          const model::DralInputOutput& output) {
  return session.text(none) + "\r\n" +
         session.text(output.BaseValue() == 0 ? kOutputBaseZero : kNoUsableBase);
}

}  // namespace ordvane::graphs
