#include "layout/pair_chart.h"

#include <algorithm>
#include <utility>

#include "host/error.h"
#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

using host::AxisGroup;
using host::AxisType;

constexpr std::int32_t kPairGap = 60;  // percent of a bar
constexpr host::Color kFirstColor = 0xC8B8A8;
// Room in the chart, points.
constexpr double kAbovePlot = 34;
constexpr double kBelowPlot = 46;  // figures of the axis, and the legend
constexpr double kRightOfPlot = 26;
constexpr double kBesideNames = 14;
constexpr double kMostRoomForNames = 0.4;  // of the chart's width

}  // namespace

PairChart::PairChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container)
    : ReportChart(sheet, std::move(container), host::ChartKind::kBarClustered) {}

// The table's own names, or where one is too long for the chart, copies out of sight.
std::shared_ptr<host::Range> PairChart::fitted_names(ReportTable& table, const Pairs& pairs) {
  const auto count = static_cast<std::int32_t>(pairs.names.size());
  const double room = width() * kMostRoomForNames - kBesideNames;
  host::CellBlock fitted(count, 1);
  bool as_they_stand = true;
  for (std::int32_t row = 1; const std::string& name : pairs.names) {
    const std::string text = fitted_name(name, room, look::kSmallSize);
    longest_name_ = std::max(longest_name_, estimated_width(text, look::kSmallSize));
    as_they_stand = as_they_stand && text == name;
    fitted.set_text(row++, 1, text);
  }
  return as_they_stand ? table.Body(1, pairs.name, count) : table.PutOutOfSight(1, fitted);
}

void PairChart::Draw(ReportTable& table, const Pairs& pairs) {
  const auto count = static_cast<std::int32_t>(pairs.names.size());
  const auto names = fitted_names(table, pairs);
  host::Chart& chart = *Chart();
  const auto add = [&](std::int32_t column, const std::string& caption, host::Color color) {
    const auto series = chart.new_series();
    series->set_name(caption);
    series->set_values(*table.Body(1, column, count));
    series->set_x_values(*names);
    series->set_border(look::kNoLine);
    series->set_interior({.pattern = 1, .color = color});
  };
  add(pairs.first, pairs.first_caption, kFirstColor);
  add(pairs.second, pairs.second_caption, look::kAccent);
  chart.set_plot_visible_only(false);
  chart.set_gap_width(kPairGap);
  chart.set_overlap(0);
  chart.set_has_legend(true);
  chart.set_legend_position(host::LegendPosition::kBottom);
  chart.set_legend_font(look::font(look::kSmallSize, look::kText));

  format_names_of_bars();
  const auto values = chart.axis(AxisType::kValue, AxisGroup::kPrimary);
  format_value_axis(*values, "", look::kNoLine);
  apply(*values, axis_ticks(sheet_.session().environment->numbers(), pairs.least, pairs.greatest,
                            pairs.number_format, {.length = plot().width}));
  values->set_tick_label_position(host::TickLabelPosition::kNextToAxis);
}

// A chart that will not be told its places finds them itself.
void PairChart::FinishChart() {
  host::ignoring_errors([&] { place_plot(); });
}

ReportChart::Box PairChart::plot() const {
  const double left = longest_name_ + kBesideNames;
  const double room = width() * 0.8;
  const double top = kAbovePlot + (wrapped_lines(title(), room, look::kChartTitleSize, true) - 1) *
                                      look::kChartTitleSize * look::kLineHeight;
  return {left, top, std::max(width() - left - kRightOfPlot, 1.0),
          std::max(height() - top - kBelowPlot, 1.0)};
}

}  // namespace ordvane::layout
