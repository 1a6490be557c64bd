#include "layout/report_chart.h"

#include <algorithm>
#include <array>
#include <utility>

#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/text_estimate.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::layout {
namespace {

std::string with_line_feeds(const std::string& text) {
  return text::without(text, '\r');
}

}  // namespace

ReportChart::ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container,
                         host::ChartKind kind)
    : sheet_(sheet), container_(std::move(container)), chart_(container_->chart()) {
  chart_->set_kind(kind);
  chart_->set_has_legend(false);
}

void ReportChart::SetTitle(const std::string& text) {
  title_ = with_line_feeds(text);
  apply_title();
}

void ReportChart::SetSubtitle(const std::string& text) {
  subtitle_ = with_line_feeds(text);
  apply_title();
}

void ReportChart::SetDescription(const std::string& text) {
  description_ = text;
  apply_title();
}

// The first line is the title, whatever follows is said more quietly.
void ReportChart::apply_title() {
  const std::string text = subtitle_.empty() ? title_ : title_ + "\n" + subtitle_;
  chart_->set_title(text);
  container_->set_alternative_text(description_.empty() ? text : text + "\n" + description_);
  if (text.empty()) return;
  const std::int32_t length = text::utf16_length(text);
  const std::int32_t first = text::utf16_length(text.substr(0, text.find('\n')));
  if (first > 0) chart_->format_title(1, first, look::font(look::kChartTitleSize, look::kText, true));
  if (length > first + 1)
    chart_->format_title(first + 2, length - first - 1, look::font(look::kChartSubtitleSize, look::kMuted));
}

void ReportChart::place_plot() {
  const Box box = plot();
  chart_->set_plot_area_inside(box.left, box.top, box.width, box.height);
}

void ReportChart::format_value_axis(host::Axis& axis, const std::string& title,
                                    const host::BorderFormat& line) {
  axis.set_title(title);
  if (!title.empty()) axis.set_title_font(look::font(look::kSmallSize, look::kMuted));
  axis.set_tick_label_font(look::font(look::kSmallSize, look::kText));
  axis.set_has_major_gridlines(true);
  axis.set_major_gridline_border(look::rule(host::LineWeight::kHairline, look::kGridline));
  axis.set_border(line);
  axis.set_major_tick_mark(host::kXlNone);
}

void ReportChart::format_names_of_bars() {
  const auto names = chart_->axis(host::AxisType::kCategory, host::AxisGroup::kPrimary);
  names->set_reverse_plot_order(true);
  names->set_crosses_maximum();
  names->set_tick_label_position(host::TickLabelPosition::kLow);
  names->set_major_tick_mark(host::kXlNone);
  names->set_tick_label_font(look::font(look::kSmallSize, look::kText));
  names->set_border(look::rule(host::LineWeight::kThin, look::kText));
}

void ReportChart::apply(host::Axis& axis, const AxisTicks& ticks) {
  axis.set_minimum_scale(ticks.minimum);
  axis.set_maximum_scale(ticks.maximum);
  axis.set_major_unit(ticks.unit);
  axis.set_tick_label_format(ticks.format);
}

// ---- Watermark ----

// A corner of the plot: the lower right one, unless less would be covered in another.
ReportChart::Box ReportChart::quiet_corner(double width, double height) const {
  constexpr double kInset = 4;
  const Box place = plot();
  width = std::min(width, place.width - 2 * kInset);
  const double left = place.left + kInset, right = place.left + place.width - kInset - width;
  const double top = place.top + kInset, bottom = std::max(place.top + place.height - kInset - height, top);
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
  const double most = plot().width;
  double width = 0, height = 0;
  for (Mark& line : lines) {
    if (line.text.empty()) continue;
    line.width = std::min(widest_line(line.text, line.size, true) + kBoxInset, most);
    line.height =
        wrapped_lines(line.text, line.width - kBoxInset, line.size, true) * line.size * look::kLineHeight +
        10;
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
    host::ignoring_errors([&] { container_->set_on_action(click_macro); });  // the add-in may not be open
}

}  // namespace ordvane::layout
