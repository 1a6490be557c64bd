// Chart routines that the graph reports share: extents and axis bounds, the message panel, the base-value
// marker.
#include "reports/chart_helpers.h"

#include <algorithm>
#include <array>

#include "host/error.h"

namespace ordvane::reports {
namespace {

using host::AxisGroup;
using host::AxisType;
using host::ignoring_errors;

constexpr double kAreaLineWeight = 0.75;  // points
constexpr std::int32_t kContinuous = static_cast<std::int32_t>(host::LineStyle::kContinuous);
constexpr std::int32_t kHairline = static_cast<std::int32_t>(host::LineWeight::kHairline);
constexpr std::int32_t kThin = static_cast<std::int32_t>(host::LineWeight::kThin);
constexpr std::int32_t kSolid = 1;

// Entries of the spreadsheet's colour table.
constexpr std::int32_t kBlackIndex = 1;
constexpr std::int32_t kGreyIndex = 16;
constexpr std::int32_t kLightYellowIndex = 36;

constexpr double kMessageTop = 130.0;
constexpr double kMessagePlotTop = 50.0;

constexpr std::int32_t kPlaceholderSize = 2;  // the smallest marker; it is not drawn

constexpr std::int32_t kBaseMarkerSize = 6;
constexpr double kBaseLabelFontSize = 6.75;
constexpr double kBaseLineWidth = 1.25;

void hide_message_axis(host::Axis& axis) {
  axis.set_border({.line_style = host::kXlNone, .weight = kHairline});
  axis.set_major_tick_mark(host::kXlNone);
  axis.set_minor_tick_mark(host::kXlNone);
  axis.set_tick_label_position(host::TickLabelPosition::kNone);
}

void label_base_point(host::Point& point, const std::string& text, host::Color color, host::Color fill) {
  std::shared_ptr<host::DataLabel> label;
  if (!ignoring_errors([&] { label = point.data_label(); })) return;
  ignoring_errors([&] { label->set_font({.size = kBaseLabelFontSize, .color = color}); });
  ignoring_errors([&] { label->set_alignment(host::HAlign::kCenter, host::VAlign::kCenter); });
  ignoring_errors([&] { label->set_position(host::LabelPosition::kAbove); });
  ignoring_errors([&] { label->set_horizontal_orientation(); });
  ignoring_errors([&] { label->set_text(text); });
  ignoring_errors([&] { label->set_interior({.color = fill}); });
  ignoring_errors([&] { label->set_border({.color = color}); });
}

// A secondary axis that scales the marker and is not seen itself.
void bound_secondary_axis(host::Chart& chart, AxisType type, double minimum, double maximum) {
  std::shared_ptr<host::Axis> axis;
  if (!ignoring_errors([&] { axis = chart.axis(type, AxisGroup::kSecondary); })) return;
  // One interval over the whole axis: a viewer that takes the primary axis's instead may count millions of
  // them.
  ignoring_errors([&] { axis->set_major_unit(maximum - minimum); });
  ignoring_errors([&] { axis->set_maximum_scale(maximum); });
  ignoring_errors([&] { axis->set_minimum_scale(minimum); });
  ignoring_errors([&] { axis->set_major_tick_mark(host::kXlNone); });
  ignoring_errors([&] { axis->set_tick_label_position(host::TickLabelPosition::kNone); });
  ignoring_errors([&] { axis->set_border({.line_style = host::kXlNone}); });
}

}  // namespace

void SetChartAreaLineWeight(host::Chart& chart) {
  chart.set_chart_area_line_weight(kAreaLineWeight);
}

std::int32_t FirstErrorCellIndex(host::Range& range, std::int32_t /*first*/, std::int32_t /*last*/) {
  const host::CellBlock cells = range.values();
  for (std::int32_t row = 1; row <= cells.rows(); ++row)
    for (std::int32_t column = 1; column <= cells.columns(); ++column)
      if (cells.at(row, column).kind == host::CellKind::kError) return (row - 1) * cells.columns() + column;
  return 0;
}

std::int32_t GetGraphRangeExtent(session::Session& session, const model::OrdvaneGraphRange& range,
                                 Extent& extent) {
  ignoring_errors([&] { extent.x_minimum = session.application().min(*range.xValues()); });
  ignoring_errors([&] { extent.x_maximum = session.application().max(*range.xValues()); });
  ignoring_errors([&] { extent.y_minimum = session.application().min(*range.yValues()); });
  ignoring_errors([&] { extent.y_maximum = session.application().max(*range.yValues()); });
  return 0;
}

std::int32_t GetGraphRangesExtent(session::Session& session, const model::OrdvaneGraphRanges& ranges,
                                  Extent& extent) {
  for (std::int32_t i = 1; i <= ranges.Count(); ++i) {
    Extent item = extent;  // what cannot be found then changes nothing
    GetGraphRangeExtent(session, *ranges.Item(i), item);
    if (i == 1) {
      extent = item;
      continue;
    }
    extent.x_minimum = std::min(extent.x_minimum, item.x_minimum);
    extent.x_maximum = std::max(extent.x_maximum, item.x_maximum);
    extent.y_minimum = std::min(extent.y_minimum, item.y_minimum);
    extent.y_maximum = std::max(extent.y_maximum, item.y_maximum);
  }
  return 0;
}

void AddPlaceholderSeries(host::Chart& chart) {
  constexpr std::array<double, 1> kOne = {1.0};
  chart.new_series();
  ignoring_errors([&] { chart.series(1)->set_x_values(kOne); });
  ignoring_errors([&] { chart.series(1)->set_values(kOne); });
  ignoring_errors([&] { chart.series(1)->set_name("Temporary"); });
  ignoring_errors([&] { chart.series(1)->set_marker(host::MarkerStyle::kNone, kPlaceholderSize, 0, 0); });
}

void FormatMessageChart(host::Chart& chart) {
  chart.set_plot_area_border({.line_style = kContinuous, .weight = kThin, .color_index = kGreyIndex});
  chart.set_plot_area_interior(
      {.color_index = kLightYellowIndex, .pattern_color_index = kBlackIndex, .pattern = kSolid});
  const auto value_axis = chart.axis(AxisType::kValue, AxisGroup::kPrimary);
  hide_message_axis(*value_axis);
  hide_message_axis(*chart.axis(AxisType::kCategory, AxisGroup::kPrimary));
  // Gridlines in the colour of the panel are not seen; a chart without any needs nothing.
  ignoring_errors([&] {
    value_axis->set_major_gridline_border(
        {.line_style = kContinuous, .weight = kHairline, .color_index = kLightYellowIndex});
  });
  ignoring_errors([&] { chart.delete_legend(); });
  chart.set_title_top(kMessageTop);
  chart.set_plot_area_top(kMessagePlotTop);
}

std::int32_t CreateMessageChart(layout::ReportSheet& sheet, const std::string& message,
                                std::shared_ptr<layout::PointChart>* made) {
  const auto chart = sheet.AddPointChart(kChartWidth, kChartHeight);
  ignoring_errors([&] { AddPlaceholderSeries(*chart->Chart()); });
  chart->SetTitle(message);
  FormatMessageChart(*chart->Chart());
  if (made) *made = chart;
  return 0;
}

void AddBaseValueLine(host::Chart& chart, double base_value, double axis_minimum, double axis_maximum,
                      host::Color line_color, const std::string& label_text, host::Color label_color,
                      host::Color label_fill) {
  const std::array<double, 2> x = {base_value, base_value};
  constexpr std::array<double, 2> kY = {0.0, 1.0};
  constexpr std::int32_t kBottom = 1, kTop = 2;
  const auto line = chart.new_series();
  line->set_name("Vertical");
  line->set_kind(host::ChartKind::kXYScatter);
  line->set_values(kY);
  line->set_x_values(x);
  line->set_axis_group(AxisGroup::kSecondary);
  line->set_border({.line_style = static_cast<std::int32_t>(host::LineStyle::kDot),
                    .weight = kHairline,
                    .color = line_color});
  ignoring_errors([&] { line->set_line_width(kBaseLineWidth); });

  const auto top = line->point(kTop);
  top->set_marker_style(host::MarkerStyle::kTriangle);
  top->set_marker_foreground_color(0);
  top->set_marker_background_color(line_color);
  top->set_marker_size(kBaseMarkerSize);
  top->apply_data_labels(false);
  label_base_point(*top, label_text, label_color, label_fill);
  ignoring_errors([&] { line->point(kBottom)->set_marker_style(host::MarkerStyle::kNone); });

  // Both axes stay, unseen: the series of one that is taken away is measured on the axes of the bars.
  bound_secondary_axis(chart, AxisType::kCategory, axis_minimum, axis_maximum);
  bound_secondary_axis(chart, AxisType::kValue, 0.0, 1.0);
}

}  // namespace ordvane::reports
