#include "layout/point_chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "layout/format_codes.h"
#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

// Eight colours that colour-blind readers tell apart, then the same with other markers and lines.
constexpr std::array<host::Color, 8> kSeriesColors = {0x993333, 0x005ED5, 0x739E00, 0x009FE6,
                                                      0xA779CC, 0xE9B456, 0x333333, 0x3C6E9B};
struct SeriesLook {
  host::MarkerStyle marker;
  host::LineStyle line;
  bool hollow;
};
constexpr std::array<SeriesLook, 4> kSeriesLooks = {
    {{host::MarkerStyle::kCircle, host::LineStyle::kContinuous, false},
     {host::MarkerStyle::kSquare, host::LineStyle::kDash, false},
     {host::MarkerStyle::kTriangle, host::LineStyle::kContinuous, true},
     {host::MarkerStyle::kDiamond, host::LineStyle::kDash, true}}};
constexpr double kSeriesWidth = 1.5;
constexpr std::int32_t kMarkerSize = 5;
constexpr host::Color kWhite = 0xFFFFFF;

// Room around the plot, points.
constexpr double kTitleTop = 10;
constexpr double kMostOfTitle = 0.78;  // of the chart's width, before a title goes on in the next line
constexpr double kAbovePlot = 10;
constexpr double kRightOfPlot = 24;  // half of the last text below the axis, and the margin
constexpr double kBesideTicks = 12;
constexpr double kTicksBelow = 24;
constexpr double kAxisTitle = 20;
constexpr double kMostOfLegend = 0.28;  // of the chart's width, before a name goes on in the next line
constexpr double kLegendKey = 66;       // a piece of the line, and the margins

double widest_text(const AxisTicks& ticks) {
  if (shows_date(ticks.format)) return estimated_width(date_sample(ticks.format), look::kSmallSize);
  const auto width_of = [&](double value) {
    return estimated_number_width(value, ticks.format, look::kSmallSize);
  };
  return std::max(width_of(ticks.minimum), width_of(ticks.maximum));
}

}  // namespace

PointChart::PointChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container)
    : ReportChart(sheet, std::move(container), host::ChartKind::kXYScatterLines) {}

void PointChart::ShowLegend() {
  has_legend_ = true;
}

// Names of any script leave the plot its room.
void PointChart::AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name) {
  const auto chart = Chart();
  const auto series = chart->new_series();
  const auto index = static_cast<std::size_t>(chart->series_count() - 1);
  const std::string shown = has_legend_ ? fitted_name(name, width() * kMostOfLegend, look::kSmallSize) : name;
  longest_name_ = std::max(longest_name_, estimated_width(shown, look::kSmallSize));
  series->set_name(shown);
  series->set_values(y_values);
  series->set_x_values(x_values);
  const host::Color color = kSeriesColors[index % kSeriesColors.size()];
  const SeriesLook& style = kSeriesLooks[index / kSeriesColors.size() % kSeriesLooks.size()];
  series->set_border({.line_style = static_cast<std::int32_t>(style.line), .color = color});
  series->set_line_width(kSeriesWidth);
  series->set_marker(style.marker, kMarkerSize, color, style.hollow ? kWhite : color);
  if (index == 0) {
    chart->set_display_blanks_as(host::BlankCells::kNotPlotted);
    if (has_legend_) {
      chart->set_has_legend(true);
      chart->set_legend_position(host::LegendPosition::kRight);
      chart->set_legend_font(look::font(look::kSmallSize, look::kText));
    }
  }
  if (sheet_.is_out_of_sight(y_values)) chart->set_plot_visible_only(false);
  keep_points(x_values.values(), y_values.values());
}

// None is joined to another, so that each is a piece of its own.
void PointChart::AddMarks(host::Range& x_values, host::Range& y_values, const std::string& name) {
  constexpr host::Color kMark = 0x005ED5;
  constexpr std::int32_t kSize = 9;
  const auto series = Chart()->new_series();
  series->set_name(name);
  series->set_values(y_values);
  series->set_x_values(x_values);
  series->set_border({.line_style = host::kXlNone});
  series->set_marker(host::MarkerStyle::kDiamond, kSize, kMark, kMark);
  if (sheet_.is_out_of_sight(y_values)) Chart()->set_plot_visible_only(false);
  for (std::int32_t row = 1; row <= x_values.row_count(); ++row)
    keep_points(x_values.cell(row, 1)->values(), y_values.cell(row, 1)->values());
}

void PointChart::keep_points(const host::CellBlock& x, const host::CellBlock& y) {
  bool goes_on = false;
  for (std::int32_t row = 1; row <= std::min(x.rows(), y.rows()); ++row) {
    const host::CellBlock::Cell& at_x = x.at(row, 1);
    const host::CellBlock::Cell& at_y = y.at(row, 1);
    const bool drawn = at_x.kind == host::CellKind::kNumber && at_y.kind == host::CellKind::kNumber;
    if (drawn && !goes_on) lines_.emplace_back();
    if (drawn) lines_.back().push_back({at_x.number, at_y.number});
    goes_on = drawn;
  }
}

void PointChart::SetXAxis(const std::string& title, const std::string& format) {
  x_axis_ = {title, format};
  set_axis(host::AxisType::kCategory, x_axis_);
}

void PointChart::SetYAxis(const std::string& title, const std::string& format) {
  y_axis_ = {title, format};
  set_axis(host::AxisType::kValue, y_axis_);
}

void PointChart::set_axis(host::AxisType type, const ChartAxis& asked) {
  const auto axis = Chart()->axis(type, host::AxisGroup::kPrimary);
  format_value_axis(*axis, asked.title, look::rule(host::LineWeight::kThin, look::kRule));
  if (!asked.format.empty()) axis->set_tick_label_format(asked.format);
  axis->set_tick_label_position(host::TickLabelPosition::kLow);
}

// Ticks around the points. A line that would lie along the edge of the plot gets room beside it.
AxisTicks PointChart::ticks_around(double Point::*coordinate, const std::string& format,
                                   const AxisRoom& room) const {
  double low = lines_.front().front().*coordinate, high = low;
  for (const auto& line : lines_) {
    for (const Point& point : line) {
      low = std::min(low, point.*coordinate);
      high = std::max(high, point.*coordinate);
    }
  }
  // Texts at ticks have no figures to tell less apart than this.
  constexpr double kLevel = 1e-9;
  if (high - low <= kLevel * std::max(std::fabs(low), std::fabs(high))) low = high = low / 2 + high / 2;
  const auto lies_along = [&](double bound) {
    return std::any_of(lines_.begin(), lines_.end(), [&](const std::vector<Point>& line) {
      const auto at_bound = [&](const Point& a, const Point& b) {
        return a.*coordinate == bound && b.*coordinate == bound;
      };
      return std::adjacent_find(line.begin(), line.end(), at_bound) != line.end();
    });
  };
  host::NumberService& numbers = sheet_.session().environment->numbers();
  AxisTicks ticks = axis_ticks(numbers, low, high, format, room);
  const bool below = lies_along(ticks.minimum), above = lies_along(ticks.maximum);
  if (!below && !above) return ticks;
  if (below) low -= ticks.unit / 2;
  if (above) high += ticks.unit / 2;
  return axis_ticks(numbers, low, high, format, room);
}

// Not every program shows the subtitle smaller than the title that it is part of.
double PointChart::titles_height() const {
  double height = 0;
  for (const std::string& text : {title(), subtitle()})
    if (!text.empty())
      height += wrapped_lines(text, width() * kMostOfTitle, look::kChartTitleSize, true) *
                look::kChartTitleSize * look::kLineHeight;
  return height;
}

// A chart that will not be told its places finds them itself.
void PointChart::FinishChart() {
  if (!lines_.empty()) host::ignoring_errors([&] { lay_out(); });
}

void PointChart::lay_out() {
  const auto room_for = [](const ChartAxis& axis) { return axis.title.empty() ? 0.0 : kAxisTitle; };
  Box box;
  box.top = kTitleTop + titles_height() + kAbovePlot;
  box.height = std::max(height() - box.top - kTicksBelow - room_for(x_axis_), 1.0);
  y_axis_.ticks = ticks_around(&Point::y, y_axis_.format, {.length = box.height, .upright = true});
  box.left = room_for(y_axis_) + widest_text(y_axis_.ticks) + kBesideTicks;
  const double right = has_legend_ ? longest_name_ + kLegendKey : kRightOfPlot;
  box.width = std::max(width() - box.left - right, 1.0);
  x_axis_.ticks = ticks_around(&Point::x, x_axis_.format, {.length = box.width});
  apply(*Chart()->axis(host::AxisType::kCategory, host::AxisGroup::kPrimary), x_axis_.ticks);
  apply(*Chart()->axis(host::AxisType::kValue, host::AxisGroup::kPrimary), y_axis_.ticks);
  box_ = box;
  place_plot();
}

// Of a chart that is not laid out, what lies below the titles.
ReportChart::Box PointChart::plot() const {
  const double top = kTitleTop + titles_height();
  return box_.value_or(Box{0, top, width(), std::max(height() - top, 1.0)});
}

std::vector<ReportChart::Box> PointChart::marks() const {
  std::vector<Box> marks;
  if (!box_) return marks;
  const auto share = [](double value, const AxisTicks& ticks) {
    return (value - ticks.minimum) / (ticks.maximum - ticks.minimum);
  };
  for (const auto& line : lines_)
    for (const Point& point : line)
      marks.push_back({box_->left + share(point.x, x_axis_.ticks) * box_->width,
                       box_->top + (1 - share(point.y, y_axis_.ticks)) * box_->height, 0, 0});
  return marks;
}

}  // namespace ordvane::layout
