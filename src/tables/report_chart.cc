// Charts of report sheets: what every chart looks like, and how tornado bars are drawn from a table.
#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>

#include "host/environment.h"
#include "model/text.h"
#include "tables/look.h"
#include "tables/report_workbook.h"
#include "tables/text_estimate.h"

namespace ordvane::tables {
namespace {

using host::AxisGroup;
using host::AxisType;

constexpr std::string_view kLocalSuffix = "[LOCAL]";

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

constexpr std::int32_t kBarGap = 50;        // percent of a bar
constexpr std::int32_t kFullOverlap = 100;  // stacked
constexpr host::Color kDefaultBarColor = look::kAccent;

// Room in a chart with bars, points.
constexpr double kTitleTop = 10;
constexpr double kTitleLine = 1.25;       // in sizes
constexpr double kRoomForBaseLabel = 20;  // between titles and bars
constexpr double kRoomBelowBars = 30;
constexpr double kRoomForAxisTitle = 16;
constexpr double kRoomRightOfBars = 26;
constexpr double kRoomBesideNames = 14;
constexpr double kMostRoomForNames = 0.4;  // of the chart's width

bool is_automatic(double value) {
  return std::bit_cast<std::uint64_t>(value) == std::bit_cast<std::uint64_t>(host::kAutoScaleValue);
}

std::optional<double> bound(double value) {
  return is_automatic(value) ? std::nullopt : std::optional(value);
}

std::string formula_number(double value) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
  return {text.data(), end};
}

// The figures that one bar is drawn from, as formulas over its ends.
struct BarPart {
  const char* name;
  bool seen;
  std::string (*formula)(const std::string& low, const std::string& high);
};
const std::array<BarPart, 4> kBarParts = {{
    {"Lead -", false,
     [](const std::string& low, const std::string& high) { return "MIN(0,MAX(" + low + "," + high + "))"; }},
    {"Lead +", false,
     [](const std::string& low, const std::string& high) { return "MAX(0,MIN(" + low + "," + high + "))"; }},
    {"Bar -", true,
     [](const std::string& low, const std::string& high) {
       return "MIN(0,MIN(" + low + "," + high + "))-MIN(0,MAX(" + low + "," + high + "))";
     }},
    {"Bar +", true,
     [](const std::string& low, const std::string& high) {
       return "MAX(0,MAX(" + low + "," + high + "))-MAX(0,MIN(" + low + "," + high + "))";
     }},
}};

// What a part shows for a bar without two ends: an empty bar where the bars start, not at a far-off zero.
double part_without_ends(std::size_t part, double start) {
  if (kBarParts[part].seen) return 0;
  return part == 0 ? std::min(0.0, start) : std::max(0.0, start);
}

struct Extremes {
  std::optional<double> least, greatest;
  void add(double value) {
    least = std::min(least.value_or(value), value);
    greatest = std::max(greatest.value_or(value), value);
  }
  void add(const host::CellBlock& cells) {
    for (std::int32_t row = 1; row <= cells.rows(); ++row)
      if (cells.at(row, 1).kind == host::CellKind::kNumber) add(cells.at(row, 1).number);
  }
};

void show_gridlines(host::Axis& axis) {
  axis.set_has_major_gridlines(true);
  axis.set_major_gridline_border(look::rule(host::LineWeight::kHairline, look::kGridline));
}

std::string without_local_suffix(const std::string& format) {
  return format.ends_with(kLocalSuffix) ? format.substr(0, format.size() - kLocalSuffix.size()) : format;
}

std::string with_line_feeds(const std::string& text) {
  return model::without(text, '\r');
}

}  // namespace

ReportChart::ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container, std::int32_t kind)
    : sheet_(sheet), container_(std::move(container)), chart_(container_->chart()), kind_(kind) {
  chart_->set_kind(has_bars() ? host::ChartKind::kBarStacked : host::ChartKind::kXYScatterLines);
  chart_->set_has_legend(false);
}

void ReportChart::AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name) {
  const auto series = chart_->new_series();
  const auto index = static_cast<std::size_t>(chart_->series_count() - 1);
  series->set_name(name);
  series->set_values(y_values);
  series->set_x_values(x_values);
  const host::Color color = kSeriesColors[index % kSeriesColors.size()];
  const SeriesLook& style = kSeriesLooks[index / kSeriesColors.size() % kSeriesLooks.size()];
  series->set_border({.line_style = static_cast<std::int32_t>(style.line), .color = color});
  series->set_line_width(kSeriesWidth);
  series->set_marker(style.marker, kMarkerSize, color, style.hollow ? kWhite : color);
  if (index == 0 && kind_ == kSpiderKind) apply_legend();
}

void ReportChart::apply_legend() {
  chart_->set_has_legend(true);
  chart_->set_legend_position(host::LegendPosition::kRight);
  chart_->set_legend_font(look::font(look::kSmallSize, look::kText));
}

void ReportChart::SetTitle(const std::string& text) {
  title_ = with_line_feeds(text);
  apply_title();
}

void ReportChart::SetSubtitle(const std::string& text) {
  subtitle_ = with_line_feeds(text);
  apply_title();
}

// The first line is the title, whatever follows is said more quietly.
void ReportChart::apply_title() {
  const std::string text = subtitle_.empty() ? title_ : title_ + "\n" + subtitle_;
  chart_->set_title(text);
  container_->set_alternative_text(text);
  if (text.empty()) return;
  const std::int32_t length = model::utf16_length(text);
  const std::int32_t first = model::utf16_length(text.substr(0, text.find('\n')));
  if (first > 0) chart_->format_title(1, first, look::font(look::kChartTitleSize, look::kText, true));
  if (length > first + 1)
    chart_->format_title(first + 2, length - first - 1, look::font(look::kChartSubtitleSize, look::kMuted));
}

void ReportChart::SetChartOption(std::int32_t option) {
  if (option == 0 && !has_bars()) chart_->set_kind(host::ChartKind::kXYScatterLines);
}

void ReportChart::AddTornadoBars(std::int16_t bars, host::Range& low, host::Range& high, host::Range& names,
                                 double crossing) {
  if (bars < 1) return;
  const host::CellBlock low_ends = low.values();
  const host::CellBlock high_ends = high.values();
  Extremes ends;
  ends.add(low_ends);
  ends.add(high_ends);
  const std::optional<double> crossing_bound = bound(crossing);
  const double start = crossing_bound.value_or(ends.least.value_or(0));
  if (ends.least && crossing_bound) ends.add(*crossing_bound);
  if (ends.least)
    bar_scale_ = sheet_.session().environment->numbers().axis_scale(*ends.least, *ends.greatest);

  const auto parts = static_cast<std::int32_t>(kBarParts.size());
  const std::int32_t row = low.row();
  const std::int32_t column = sheet_.take_helper_columns(parts);
  const std::string low_cell = low.cell(1, 1)->address(false, false);
  const std::string high_cell = high.cell(1, 1)->address(false, false);
  const auto category_names = fitted_names(names, row, bars);
  host::CellBlock headings(1, parts);
  for (std::size_t part = 0; part < kBarParts.size(); ++part) {
    const auto place = column + static_cast<std::int32_t>(part);
    const std::string otherwise = formula_number(part_without_ends(part, start));
    const auto figures = sheet_.SheetWorksheet()->range(row, place, bars, 1);
    figures->set_formula("=IF(ISNUMBER(" + low_cell + "),IF(ISNUMBER(" + high_cell + ")," +
                         kBarParts[part].formula(low_cell, high_cell) + "," + otherwise + ")," + otherwise +
                         ")");
    headings.set_text(1, static_cast<std::int32_t>(part) + 1, kBarParts[part].name);
    const auto series = chart_->new_series();
    series->set_name(kBarParts[part].name);
    series->set_values(*figures);
    series->set_x_values(*category_names);
    series->set_border(look::kNoLine);
    series->set_interior(kBarParts[part].seen ? host::InteriorFormat{.pattern = 1, .color = kDefaultBarColor}
                                              : host::InteriorFormat{.pattern = host::kXlNone});
  }
  sheet_.SheetWorksheet()->range(row - 1, column, 1, parts)->put(headings);
  sheet_.SheetWorksheet()->range(row - 1, column, 1, parts)->set_columns_hidden(true);
  chart_->set_plot_visible_only(false);
  chart_->set_gap_width(kBarGap);
  chart_->set_overlap(kFullOverlap);

  // The first bar on top, the figures of the value axis at the bottom, the axis of the names at the base.
  const auto categories = chart_->axis(AxisType::kCategory, AxisGroup::kPrimary);
  categories->set_reverse_plot_order(true);
  categories->set_crosses_maximum();
  categories->set_tick_label_position(host::TickLabelPosition::kLow);
  categories->set_major_tick_mark(host::kXlNone);
  categories->set_tick_label_font(look::font(look::kSmallSize, look::kText));
  categories->set_border(look::rule(host::LineWeight::kThin, look::kText));
  chart_->axis(AxisType::kValue, AxisGroup::kPrimary)->set_crosses_at(crossing_bound);
}

// The names beside the bars: the table's own, or where one is too long for the chart, cut copies beside the
// bars' figures.
std::shared_ptr<host::Range> ReportChart::fitted_names(host::Range& names, std::int32_t row,
                                                       std::int32_t bars) {
  const host::CellBlock texts = names.values();
  host::CellBlock fitted(bars, 1);
  bool all_fit = true;
  for (std::int32_t bar = 1; bar <= bars; ++bar) {
    const host::CellValue name = texts.value(bar, 1);
    const std::string text = fitted_name(name.text, room_for_names(), look::kSmallSize);
    longest_name_ = std::max(longest_name_, estimated_width(text, look::kSmallSize));
    all_fit = all_fit && text == name.text;
    fitted.set_text(bar, 1, text);
  }
  if (all_fit) return names.resize(bars, 1);
  auto cells = sheet_.SheetWorksheet()->range(row, sheet_.take_helper_columns(1), bars, 1);
  cells->set_number_format("@");
  cells->put(fitted);
  cells->set_columns_hidden(true);
  return cells;
}

double ReportChart::room_for_names() const {
  return container_->width() * kMostRoomForNames - kRoomBesideNames;
}

double ReportChart::bars_width() {
  return std::max(container_->width() - longest_name_ - kRoomBesideNames - kRoomRightOfBars, 1.0);
}

// A multiple of the unit whose labels stand side by side without being turned.
double ReportChart::readable_unit(double minimum, double maximum, double unit, const std::string& format) {
  constexpr double kBetweenLabels = 8;  // points
  const double label = std::max(estimated_number_width(minimum, format, look::kSmallSize),
                                estimated_number_width(maximum, format, look::kSmallSize));
  const double intervals = std::max(1.0, std::floor(bars_width() / (label + kBetweenLabels)));
  for (const double multiple : {1.0, 2.0, 4.0, 5.0})
    if ((maximum - minimum) / (unit * multiple) <= intervals) return unit * multiple;
  return unit * 10;
}

void ReportChart::set_axis(host::Axis& axis, const std::string& title, double minimum, double maximum,
                           double major_unit, const std::string& format) {
  axis.set_title(title);
  if (!title.empty()) axis.set_title_font(look::font(look::kSmallSize, look::kMuted));
  axis.set_minimum_scale(bound(minimum));
  axis.set_maximum_scale(bound(maximum));
  axis.set_major_unit(bound(major_unit));
  const std::string plain = without_local_suffix(format);
  if (!plain.empty()) axis.set_tick_label_format(plain);
  axis.set_tick_label_font(look::font(look::kSmallSize, look::kText));
}

void ReportChart::SetXAxis(const std::string& title, double minimum, double maximum, double major_unit,
                           const std::string& format, bool shown) {
  const AxisType type = has_bars() ? AxisType::kValue : AxisType::kCategory;
  if (!shown) {
    chart_->set_has_axis(type, AxisGroup::kPrimary, false);
    return;
  }
  const auto axis = chart_->axis(type, AxisGroup::kPrimary);
  horizontal_title_ = title;
  // Left alone, a value axis under stacked bars would begin at zero, however far off the bars are.
  if (has_bars() && bar_scale_ && is_automatic(minimum) && is_automatic(maximum)) {
    minimum = bar_scale_->minimum;
    maximum = bar_scale_->maximum;
    if (is_automatic(major_unit))
      major_unit = readable_unit(minimum, maximum, bar_scale_->major_unit, without_local_suffix(format));
  }
  set_axis(*axis, title, minimum, maximum, major_unit, format);
  show_gridlines(*axis);
  axis->set_border(has_bars() ? look::kNoLine : look::rule(host::LineWeight::kThin, look::kRule));
  axis->set_major_tick_mark(host::kXlNone);
  axis->set_tick_label_position(has_bars() ? host::TickLabelPosition::kNextToAxis
                                           : host::TickLabelPosition::kLow);
}

void ReportChart::SetYAxis(const std::string& title, double minimum, double maximum, double major_unit,
                           const std::string& format) {
  const auto axis = chart_->axis(has_bars() ? AxisType::kCategory : AxisType::kValue, AxisGroup::kPrimary);
  set_axis(*axis, title, minimum, maximum, major_unit, format);
  if (has_bars()) return;
  show_gridlines(*axis);
  axis->set_border(look::rule(host::LineWeight::kThin, look::kRule));
  axis->set_major_tick_mark(host::kXlNone);
  axis->set_tick_label_position(host::TickLabelPosition::kLow);
}

void ReportChart::SetWatermark(const std::string& primary, const std::string& secondary,
                               const std::string& click_macro) {
  // In a corner of the plot, clear of a legend at the right and of what a narrower chart cuts off.
  constexpr double kPrimarySize = 12;
  constexpr double kSecondarySize = 8;
  constexpr double kBoxInset = 24;
  constexpr double kNarrowestChart = 376;
  const bool legend = kind_ == kSpiderKind;
  const double right = std::min(container_->width(), kNarrowestChart) * (legend ? 0.62 : 0.94);
  double bottom = container_->height() - kRoomBelowBars - kRoomForAxisTitle - 8;
  const auto place = [&](const std::string& text, double size) {
    if (text.empty()) return;
    double widest = 0;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = std::min(text.find('\n', at), text.size());
      widest = std::max(widest, estimated_width(std::string_view(text).substr(at, end - at), size, true));
      at = end + 1;
    }
    const double width = std::min(widest + kBoxInset, right);
    const double height = wrapped_lines(text, width, size, true) * size * kTitleLine + 10;
    bottom -= height;
    chart_->add_text_box(right - width, bottom, width, height, text,
                         look::font(size, look::kWatermark, size == kPrimarySize));
  };
  place(secondary, kSecondarySize);
  place(primary, kPrimarySize);
  if (sheet_.session().environment->add_in_present() && !click_macro.empty())
    container_->set_on_action(click_macro);
}

void ReportChart::FinishChart() {
  apply_title();
  if (!has_bars()) return;
  // A chart that will not be told its places finds them itself.
  host::ignoring_errors([&] { place_plot_area(); });
}

void ReportChart::place_plot_area() {
  const double width = container_->width();
  const double height = container_->height();
  const double room = width - 2 * kTitleTop;
  double top = kTitleTop + kRoomForBaseLabel;
  if (!title_.empty())
    top += wrapped_lines(title_, room, look::kChartTitleSize, true) * look::kChartTitleSize * kTitleLine;
  if (!subtitle_.empty())
    top += wrapped_lines(subtitle_, room, look::kChartSubtitleSize) * look::kChartSubtitleSize * kTitleLine;
  const double left = longest_name_ + kRoomBesideNames;
  const double below = kRoomBelowBars + (horizontal_title_.empty() ? 0 : kRoomForAxisTitle);
  chart_->set_plot_area_inside(left, top, bars_width(), std::max(height - top - below, 1.0));
}

}  // namespace ordvane::tables
