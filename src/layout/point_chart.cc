// Charts of points and lines: what their series look like, their axes and legend, and where the plot lies;
// and the watermark, which every chart can have.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "layout/axis_ticks.h"
#include "layout/format_codes.h"
#include "layout/look.h"
#include "layout/report_chart.h"
#include "layout/report_sheet.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

using host::AxisGroup;
using host::AxisType;

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
constexpr double kTitleLine = 1.25;    // in sizes
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

void apply(host::Axis& axis, const AxisTicks& ticks) {
  axis.set_minimum_scale(ticks.minimum);
  axis.set_maximum_scale(ticks.maximum);
  axis.set_major_unit(ticks.unit);
  axis.set_tick_label_format(ticks.format);
}

}  // namespace

void ReportChart::AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name) {
  const auto series = chart_->new_series();
  const auto index = static_cast<std::size_t>(chart_->series_count() - 1);
  series->set_name(legend_name(name));
  series->set_values(y_values);
  series->set_x_values(x_values);
  const host::Color color = kSeriesColors[index % kSeriesColors.size()];
  const SeriesLook& style = kSeriesLooks[index / kSeriesColors.size() % kSeriesLooks.size()];
  series->set_border({.line_style = static_cast<std::int32_t>(style.line), .color = color});
  series->set_line_width(kSeriesWidth);
  series->set_marker(style.marker, kMarkerSize, color, style.hollow ? kWhite : color);
  if (index == 0) {
    chart_->set_display_blanks_as(host::BlankCells::kNotPlotted);
    if (kind_ == kSpiderKind) show_legend();
  }
  if (sheet_.is_out_of_sight(y_values)) chart_->set_plot_visible_only(false);
  keep_points(x_values.values(), y_values.values());
}

// Names of any script leave the plot its room.
std::string ReportChart::legend_name(const std::string& name) {
  if (kind_ != kSpiderKind) return name;
  std::string fitted = fitted_name(name, container_->width() * kMostOfLegend, look::kSmallSize);
  longest_name_ = std::max(longest_name_, estimated_width(fitted, look::kSmallSize));
  return fitted;
}

void ReportChart::show_legend() {
  chart_->set_has_legend(true);
  chart_->set_legend_position(host::LegendPosition::kRight);
  chart_->set_legend_font(look::font(look::kSmallSize, look::kText));
}

void ReportChart::keep_points(const host::CellBlock& x, const host::CellBlock& y) {
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

// Ticks around the points. A line that would lie along the edge of the plot gets room beside it.
AxisTicks ReportChart::point_ticks(const AskedAxis& axis, double Point::*coordinate,
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
  AxisTicks ticks = axis_ticks(numbers, low, high, axis.format, room);
  const bool below = lies_along(ticks.minimum), above = lies_along(ticks.maximum);
  if (!below && !above) return ticks;
  if (below) low -= ticks.unit / 2;
  if (above) high += ticks.unit / 2;
  return axis_ticks(numbers, low, high, axis.format, room);
}

// Not every program shows the subtitle smaller than the title that it is part of.
double ReportChart::titles_height() const {
  double height = 0;
  for (const std::string& text : {title_, subtitle_})
    if (!text.empty())
      height += wrapped_lines(text, container_->width() * kMostOfTitle, look::kChartTitleSize, true) *
                look::kChartTitleSize * kTitleLine;
  return height;
}

void ReportChart::lay_out_points() {
  if (lines_.empty() || !x_axis_.automatic || !y_axis_.automatic) return;
  const auto room_for = [](const AskedAxis& axis) { return axis.title.empty() ? 0.0 : kAxisTitle; };
  Box box;
  box.top = kTitleTop + titles_height() + kAbovePlot;
  box.height = std::max(container_->height() - box.top - kTicksBelow - room_for(x_axis_), 1.0);
  y_ticks_ = point_ticks(y_axis_, &Point::y, {.length = box.height, .upright = true});
  box.left = room_for(y_axis_) + widest_text(y_ticks_) + kBesideTicks;
  const double right = kind_ == kSpiderKind ? longest_name_ + kLegendKey : kRightOfPlot;
  box.width = std::max(container_->width() - box.left - right, 1.0);
  x_ticks_ = point_ticks(x_axis_, &Point::x, {.length = box.width});
  apply(*chart_->axis(AxisType::kCategory, AxisGroup::kPrimary), x_ticks_);
  apply(*chart_->axis(AxisType::kValue, AxisGroup::kPrimary), y_ticks_);
  chart_->set_plot_area_inside(box.left, box.top, box.width, box.height);
  points_box_ = box;
}

// ---- Watermark ----

// What is drawn in the plot and can be covered: points, and bars with the texts beside them.
std::vector<ReportChart::Box> ReportChart::marks() {
  constexpr double kTextBeside = 48;
  std::vector<Box> marks;
  if (points_box_) {
    const auto share = [](double value, const AxisTicks& ticks) {
      return (value - ticks.minimum) / (ticks.maximum - ticks.minimum);
    };
    for (const auto& line : lines_)
      for (const Point& point : line)
        marks.push_back({points_box_->left + share(point.x, x_ticks_) * points_box_->width,
                         points_box_->top + (1 - share(point.y, y_ticks_)) * points_box_->height, 0, 0});
  }
  if (has_bars() && bar_ticks_) {
    const Box box = bars_box();
    const double each = box.height / static_cast<double>(std::max<std::size_t>(bar_ends_.size(), 1));
    const double beside = tails_ > 0 ? kTextBeside : 0;
    for (std::size_t bar = 0; bar < bar_ends_.size(); ++bar)
      if (const auto& ends = bar_ends_[bar])
        marks.push_back({box.left + place_in_plot(ends->left) - beside,
                         box.top + static_cast<double>(bar) * each,
                         place_in_plot(ends->right) - place_in_plot(ends->left) + 2 * beside, each});
  }
  return marks;
}

// A corner of the plot: the lower right one, unless less would be covered in another.
ReportChart::Box ReportChart::quiet_corner(double width, double height) {
  constexpr double kInset = 4;
  const Box plot = has_bars() ? bars_box() : points_box_.value_or(bars_box());
  width = std::min(width, plot.width - 2 * kInset);
  const double left = plot.left + kInset, right = plot.left + plot.width - kInset - width;
  const double top = plot.top + kInset, bottom = std::max(plot.top + plot.height - kInset - height, top);
  const std::vector<Box> drawn = marks();
  const auto covered = [&](const Box& corner) {
    return std::count_if(drawn.begin(), drawn.end(), [&](const Box& mark) {
      return mark.left <= corner.left + corner.width && mark.left + mark.width >= corner.left &&
             mark.top <= corner.top + corner.height && mark.top + mark.height >= corner.top;
    });
  };
  const std::array<Box, 4> corners = {{{right, bottom, width, height},
                                       {left, bottom, width, height},
                                       {right, top, width, height},
                                       {left, top, width, height}}};
  return *std::min_element(corners.begin(), corners.end(),
                           [&](const Box& a, const Box& b) { return covered(a) < covered(b); });
}

void ReportChart::SetWatermark(const std::string& primary, const std::string& secondary,
                               const std::string& click_macro) {
  constexpr double kBoxInset = 16;  // beside and above the text together
  struct Mark {
    const std::string& text;
    double size;
    bool bold;
    double width = 0, height = 0;
  };
  Mark lines[] = {{primary, 12, true}, {secondary, 8, false}};
  const double most = has_bars() ? bars_width() : points_box_.value_or(bars_box()).width;
  double width = 0, height = 0;
  for (Mark& line : lines) {
    if (line.text.empty()) continue;
    line.width = std::min(widest_line(line.text, line.size, true) + kBoxInset, most);
    line.height =
        wrapped_lines(line.text, line.width - kBoxInset, line.size, true) * line.size * kTitleLine + 10;
    width = std::max(width, line.width);
    height += line.height;
  }
  const Box corner = quiet_corner(width, height);
  double top = std::max(corner.top, 0.0);
  for (const Mark& line : lines) {
    if (line.text.empty()) continue;
    const double box = std::min(line.width, corner.width);
    chart_->add_text_box(corner.left + corner.width - box, top, box, line.height, line.text,
                         look::font(line.size, look::kWatermark, line.bold));
    top += line.height;
  }
  if (sheet_.session().environment->add_in_present() && !click_macro.empty())
    container_->set_on_action(click_macro);
}

}  // namespace ordvane::layout
