// Charts of report sheets: what every chart looks like, and how tornado bars are drawn from a table.
#include "layout/report_chart.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>

#include "host/environment.h"
#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/text_estimate.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::layout {
namespace {

using host::AxisGroup;
using host::AxisType;
using host::LabelPosition;

constexpr std::int32_t kBarGap = 50;        // percent of a bar
constexpr std::int32_t kFullOverlap = 100;  // stacked
constexpr host::Color kDefaultBarColor = look::kAccent;

// Room in a chart with bars, points.
constexpr double kTitleTop = 10;
constexpr double kTitleLine = 1.25;       // in sizes
constexpr double kTitleShare = 0.8;       // of the chart's width, the most that a line of a title takes
constexpr double kRoomForBaseLabel = 20;  // between titles and bars
constexpr double kRoomBelowBars = 30;
constexpr double kRoomForAxisTitle = 16;
constexpr double kRoomRightOfBars = 26;
constexpr double kRoomBesideNames = 14;
constexpr double kMostRoomForNames = 0.4;  // of the chart's width
constexpr double kPointWidth = 2;          // of a bar that is a point

// Texts at the ends of bars, points.
constexpr double kEndLabelSize = 7.5;
constexpr double kBesideBar = 6;     // to the text and beyond it
constexpr double kRightOfPlot = 16;  // that a text may go on

constexpr double kColorKeyHeight = 18;
constexpr double kAboveColorKey = 8;

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

// Which of the series of bars these are, from 1.
constexpr std::int32_t kReach = 2;
constexpr std::int32_t kNegativeBar = 3;
constexpr std::int32_t kPositiveBar = 4;

// A stacked part of every bar: a formula over the bar's ends, and what it is for a bar without two ends.
struct BarPart {
  const char* name;
  bool seen;
  std::string formula;
  double otherwise;
};

// `low` and `high` are the cells of the first bar's ends; `beyond` is how far the bar reaches beyond them. A
// bar without two ends is empty, and lies at `start`, not at a far-off zero.
std::vector<BarPart> bar_parts(const std::string& low, const std::string& high, double beyond,
                               const AxisTicks& scale, double start, const BarParts& wanted) {
  const std::string reach = beyond > 0 ? formula_number(beyond) : "";
  const std::string left = "MIN(" + low + "," + high + ")" + (reach.empty() ? "" : "-" + reach);
  const std::string right = "MAX(" + low + "," + high + ")" + (reach.empty() ? "" : "+" + reach);
  const auto call = [](const char* name, const std::string& a, const std::string& b) {
    return name + ("(" + a) + "," + b + ")";
  };
  const auto least = [&](const std::string& a, const std::string& b) { return call("MIN", a, b); };
  const auto most = [&](const std::string& a, const std::string& b) { return call("MAX", a, b); };
  const auto minus = [](const std::string& a, const std::string& b) { return a + "-" + b; };
  const auto text = [](double value) { return "(" + formula_number(value) + ")"; };
  const std::string zero = "0";

  // The lead is cut where the axis begins: a text at its end has all of the second piece to lie in.
  const std::string edge_negative = text(std::min(0.0, scale.maximum));
  const std::string edge_positive = text(std::max(0.0, scale.minimum));
  std::vector<BarPart> parts = {
      {"Lead", false, least(zero, most(right, edge_negative)) + "+" + most(zero, least(left, edge_positive)),
       start},
      {"Reach", false,
       least(zero, minus(right, edge_negative)) + "+" + most(zero, minus(left, edge_positive)), 0}};
  if (!wanted.split) {
    parts.push_back({"Bar -", true, minus(least(zero, left), least(zero, right)), 0});
    parts.push_back({"Bar +", true, minus(most(zero, right), most(zero, left)), 0});
  } else {
    const std::string negative = text(std::min(0.0, *wanted.split));
    const std::string positive = text(std::max(0.0, *wanted.split));
    parts.push_back(
        {"Bar -", true, minus(least(zero, most(left, negative)), least(zero, most(right, negative))), 0});
    parts.push_back(
        {"Bar +", true, minus(most(zero, least(right, positive)), most(zero, least(left, positive))), 0});
    parts.push_back({"Beyond -", true, minus(least(left, negative), least(right, negative)), 0});
    parts.push_back({"Beyond +", true, minus(most(right, positive), most(left, positive)), 0});
  }
  if (wanted.labels) {
    parts.push_back({"Tail -", false, least(zero, minus(text(scale.minimum), least(zero, left))), 0});
    parts.push_back({"Tail +", false, most(zero, minus(text(scale.maximum), most(zero, right))), 0});
  }
  for (BarPart& part : parts) {
    const std::string otherwise = formula_number(part.otherwise);
    part.formula = "=IF(ISNUMBER(" + low + "),IF(ISNUMBER(" + high + ")," + part.formula + "," + otherwise +
                   ")," + otherwise + ")";
  }
  return parts;
}

// Bars that follow each other in the table as they do in the chart, and are all points or none.
struct BarRun {
  std::int32_t bar, row, count;  // the first bar and its row, from 1
  bool points;
};

std::vector<BarRun> runs_of(const std::vector<std::int32_t>& rows, const std::set<std::int32_t>& points) {
  std::vector<BarRun> runs;
  for (std::int32_t bar = 1; const std::int32_t row : rows) {
    const bool is_point = points.contains(bar);
    if (!runs.empty() && row == runs.back().row + runs.back().count && is_point == runs.back().points)
      ++runs.back().count;
    else
      runs.push_back({bar, row, 1, is_point});
    ++bar;
  }
  return runs;
}

void show_gridlines(host::Axis& axis) {
  axis.set_has_major_gridlines(true);
  axis.set_major_gridline_border(look::rule(host::LineWeight::kHairline, look::kGridline));
}

std::string with_line_feeds(const std::string& text) {
  return text::without(text, '\r');
}

}  // namespace

ReportChart::ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container, std::int32_t kind)
    : sheet_(sheet), container_(std::move(container)), chart_(container_->chart()), kind_(kind) {
  chart_->set_kind(has_bars() ? host::ChartKind::kBarStacked : host::ChartKind::kXYScatterLines);
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

void ReportChart::SetColorKey(const std::vector<ColorKey>& key) {
  color_key_ = key;
}

// Boxes of text between the titles and the bars, as a title cannot have several colours everywhere.
void ReportChart::add_color_key() {
  constexpr double kSquare = 9;
  constexpr double kBoxInset = 7.2;  // at each side of the text
  constexpr double kBetween = 6;
  const auto width_of = [](const ColorKey& entry) {
    return estimated_width(entry.text, look::kChartSubtitleSize, true) + 2 * kBoxInset;
  };
  double left = container_->width() - kBetween * static_cast<double>(color_key_.size() - 1);
  for (const ColorKey& entry : color_key_) left -= kSquare + width_of(entry);
  left = std::max(left / 2, 0.0);
  const double top = plot_top() - kRoomForBaseLabel - kColorKeyHeight;
  for (const ColorKey& entry : color_key_) {
    chart_->add_text_box(left, top, kSquare + 2 * kBoxInset, kColorKeyHeight, "\xE2\x96\xA0",
                         look::font(look::kChartSubtitleSize, entry.color));
    left += kSquare;
    chart_->add_text_box(left, top, width_of(entry), kColorKeyHeight, entry.text,
                         look::font(look::kChartSubtitleSize, look::kMuted));
    left += width_of(entry) + kBetween;
  }
}

// The first line is the title, whatever follows is said more quietly.
void ReportChart::apply_title() {
  const std::string text = subtitle_.empty() ? title_ : title_ + "\n" + subtitle_;
  chart_->set_title(text);
  container_->set_alternative_text(text);
  if (text.empty()) return;
  const std::int32_t length = text::utf16_length(text);
  const std::int32_t first = text::utf16_length(text.substr(0, text.find('\n')));
  if (first > 0) chart_->format_title(1, first, look::font(look::kChartTitleSize, look::kText, true));
  if (length > first + 1)
    chart_->format_title(first + 2, length - first - 1, look::font(look::kChartSubtitleSize, look::kMuted));
}

void ReportChart::SetChartOption(std::int32_t option) {
  if (option == 0 && !has_bars()) chart_->set_kind(host::ChartKind::kXYScatterLines);
}

void ReportChart::AddTornadoBars(std::int16_t bars, host::Range& low, host::Range& high, host::Range& names,
                                 double crossing, const BarParts& wanted) {
  if (bars < 1) return;
  std::vector<std::int32_t> rows = wanted.rows;
  for (std::int32_t row = 1; wanted.rows.empty() && row <= bars; ++row) rows.push_back(row);
  read_bar_ends(low.values(), high.values(), rows);
  bar_crossing_ = bound(crossing);
  split_ = wanted.split;
  points_ = wanted.points;
  const auto category_names = fitted_names(names, rows);
  const double start = scale_bars(wanted.number_format);
  const AxisTicks scale = bar_ticks_.value_or(AxisTicks{});

  const std::vector<BarRun> runs = runs_of(rows, points_);
  std::vector<std::vector<BarPart>> parts;  // of each run
  parts.reserve(runs.size());
  for (const BarRun& run : runs)
    parts.push_back(bar_parts(low.cell(run.row, 1)->address(false, false),
                              high.cell(run.row, 1)->address(false, false),
                              run.points ? kPointWidth / 2 * unit_of_point() : 0, scale, start, wanted));
  const auto columns = static_cast<std::int32_t>(parts.front().size());
  const std::int32_t column = sheet_.take_helper_columns(columns);
  host::CellBlock headings(1, columns);
  for (std::int32_t position = 1; position <= columns; ++position) {
    const auto figures = sheet_.SheetWorksheet()->range(low.row(), column + position - 1,
                                                        static_cast<std::int32_t>(rows.size()), 1);
    const auto part = static_cast<std::size_t>(position - 1);
    for (std::size_t run = 0; run < runs.size(); ++run)
      figures->cell(runs[run].bar, 1)->resize(runs[run].count, 1)->set_formula(parts[run][part].formula);
    const BarPart& any = parts.front()[part];
    headings.set_text(1, position, any.name);
    add_bar_series(any.name, any.seen, *figures, *category_names);
  }
  if (split_) beyond_ = kPositiveBar + 1;
  if (wanted.labels) tails_ = columns - 1;
  const auto above = sheet_.SheetWorksheet()->range(low.row() - 1, column, 1, columns);
  above->put(headings);
  above->set_columns_hidden(true);
  chart_->set_plot_visible_only(false);
  chart_->set_gap_width(kBarGap);
  chart_->set_overlap(kFullOverlap);
  place_bar_axes();
}

// The first bar on top, the figures of the value axis at the bottom, the axis of the names at the base.
void ReportChart::place_bar_axes() {
  const auto categories = chart_->axis(AxisType::kCategory, AxisGroup::kPrimary);
  categories->set_reverse_plot_order(true);
  categories->set_crosses_maximum();
  categories->set_tick_label_position(host::TickLabelPosition::kLow);
  categories->set_major_tick_mark(host::kXlNone);
  categories->set_tick_label_font(look::font(look::kSmallSize, look::kText));
  categories->set_border(look::rule(host::LineWeight::kThin, look::kText));
  chart_->axis(AxisType::kValue, AxisGroup::kPrimary)
      ->set_crosses_at(bar_crossing_ || !bar_ticks_ ? bar_crossing_ : bar_ticks_->minimum);
}

void ReportChart::add_bar_series(const std::string& name, bool seen, host::Range& figures,
                                 host::Range& names) {
  const auto series = chart_->new_series();
  series->set_name(name);
  series->set_values(figures);
  series->set_x_values(names);
  series->set_border(look::kNoLine);
  series->set_interior(seen ? host::InteriorFormat{.pattern = 1, .color = kDefaultBarColor}
                            : host::InteriorFormat{.pattern = host::kXlNone});
}

void ReportChart::read_bar_ends(const host::CellBlock& low, const host::CellBlock& high,
                                const std::vector<std::int32_t>& rows) {
  for (const std::int32_t row : rows) {
    const host::CellValue a = low.value(row, 1), b = high.value(row, 1);
    bar_ends_.emplace_back();
    if (a.is_number() && b.is_number())
      bar_ends_.back() = {std::min(a.number, b.number), std::max(a.number, b.number)};
  }
}

// Ticks around the bars and where the names' axis stands. Returns where bars without ends lie.
double ReportChart::scale_bars(const std::string& number_format) {
  std::optional<double> least, greatest;
  for (const auto& ends : bar_ends_) {
    if (!ends) continue;
    least = std::min(least.value_or(ends->left), ends->left);
    greatest = std::max(greatest.value_or(ends->right), ends->right);
  }
  const double start = bar_crossing_.value_or(least.value_or(0));
  if (least)
    bar_ticks_ = axis_ticks(sheet_.session().environment->numbers(), std::min(*least, start),
                            std::max(*greatest, start), number_format, {.length = bars_width()});
  return start;
}

// Of the value axis, what one point of length stands for.
double ReportChart::unit_of_point() {
  return bar_ticks_ ? (bar_ticks_->maximum - bar_ticks_->minimum) / bars_width() : 0;
}

// On either side of zero the part nearer to zero comes first.
void ReportChart::ColorBarPart(std::int32_t bar, bool above, host::Color color) {
  const std::int32_t negative = above ? kNegativeBar : beyond_;
  const std::int32_t positive = above ? beyond_ + 1 : kPositiveBar;
  for (const std::int32_t series : {negative, positive})
    chart_->series(series)->point(bar)->set_interior({.pattern = 1, .color = color});
}

void ReportChart::label_point(std::int32_t series, std::int32_t bar, const std::string& text,
                              host::Color color, LabelPosition position) {
  const auto point = chart_->series(series)->point(bar);
  point->apply_data_labels(false);
  const auto label = point->data_label();
  label->set_text(text);
  label->set_font(look::font(kEndLabelSize, color));
  label->set_position(position);
}

// The series of the seen part that ends at `end`: on either side of zero the part nearer to zero comes first.
std::int32_t ReportChart::part_at(double end, bool is_right) const {
  const auto before = [&](double value) { return end < value || (is_right && end == value); };
  const bool negative = before(0);
  if (!split_) return negative ? kNegativeBar : kPositiveBar;
  if (before(*split_)) return negative ? beyond_ : kPositiveBar;
  return negative ? kNegativeBar : beyond_ + 1;
}

void ReportChart::LabelBarEnds(const std::vector<BarLabels>& labels) {
  if (tails_ == 0 || !bar_ticks_) return;
  const auto bars = static_cast<double>(bar_ends_.size());
  if (plot_height() / bars < kEndLabelSize * kTitleLine) return;
  for (std::size_t at = 0; at < std::min(labels.size(), bar_ends_.size()); ++at) {
    const auto bar = static_cast<std::int32_t>(at) + 1;
    if (!bar_ends_[at]) continue;
    if (!points_.contains(bar))
      label_ends(bar, labels[at]);
    else if (!label_beside(bar, true, labels[at].right))
      label_beside(bar, false, labels[at].left);
  }
}

double ReportChart::place_in_plot(double value) {
  return (value - bar_ticks_->minimum) / unit_of_point();
}

// The axis of the names may not go through a text.
bool ReportChart::clear_of_axis(double from, double to) {
  if (!bar_crossing_) return true;
  const double axis = place_in_plot(*bar_crossing_);
  return axis <= std::min(from, to) || axis >= std::max(from, to);
}

double ReportChart::end_label_width(const std::string& text) {
  return text.empty() ? 0 : estimated_width(text, kEndLabelSize) + kBesideBar;
}

// A text outside the bar at one of its ends; false where it has no room.
bool ReportChart::label_beside(std::int32_t bar, bool is_right, const std::string& text) {
  const BarEnds& ends = *bar_ends_[static_cast<std::size_t>(bar - 1)];
  const double end = is_right ? ends.right : ends.left;
  const double from = place_in_plot(end);
  const double to = from + (is_right ? end_label_width(text) : -end_label_width(text));
  if (text.empty() || to < 0 || to > bars_width() + kRightOfPlot || !clear_of_axis(from, to)) return false;
  // A part of a bar begins at the side of zero.
  const bool away_from_zero = is_right ? end >= 0 : end <= 0;
  label_point(away_from_zero ? tails_ + (is_right ? 1 : 0) : kReach, bar, text, look::kMuted,
              away_from_zero ? LabelPosition::kInsideBase : LabelPosition::kInsideEnd);
  return true;
}

void ReportChart::label_ends(std::int32_t bar, const BarLabels& texts) {
  const BarEnds& ends = *bar_ends_[static_cast<std::size_t>(bar - 1)];
  if (ends.left == ends.right) return;
  const bool fit_on_bar = place_in_plot(ends.right) - place_in_plot(ends.left) >=
                          end_label_width(texts.left) + end_label_width(texts.right);
  std::int32_t labelled_part = 0;  // a part has one label
  for (const bool is_right : {false, true}) {
    const std::string& text = is_right ? texts.right : texts.left;
    if (text.empty() || label_beside(bar, is_right, text) || !fit_on_bar) continue;
    const double end = is_right ? ends.right : ends.left;
    const double inwards = is_right ? -end_label_width(text) : end_label_width(text);
    const std::int32_t part = part_at(end, is_right);
    if (part == labelled_part || !clear_of_axis(place_in_plot(end), place_in_plot(end) + inwards)) continue;
    labelled_part = part;
    const bool away_from_zero = is_right ? end >= 0 : end <= 0;
    label_point(part, bar, text, is_right ? texts.right_on_bar : texts.left_on_bar,
                away_from_zero ? LabelPosition::kInsideEnd : LabelPosition::kInsideBase);
  }
}

// The names beside the bars: the table's own, or where one is too long for the chart or has no bar, copies
// beside the bars' figures.
std::shared_ptr<host::Range> ReportChart::fitted_names(host::Range& names,
                                                       const std::vector<std::int32_t>& rows) {
  const auto bars = static_cast<std::int32_t>(rows.size());
  const host::CellBlock texts = names.values();
  host::CellBlock fitted(bars, 1);
  bool as_they_stand = true;
  for (std::int32_t bar = 1; const std::int32_t row : rows) {
    const host::CellValue name = texts.value(row, 1);
    const std::string text = fitted_name(name.text, room_for_names(), look::kSmallSize);
    longest_name_ = std::max(longest_name_, estimated_width(text, look::kSmallSize));
    as_they_stand = as_they_stand && row == bar && text == name.text;
    fitted.set_text(bar++, 1, text);
  }
  if (as_they_stand) return names.resize(bars, 1);
  auto cells = sheet_.SheetWorksheet()->range(names.row(), sheet_.take_helper_columns(1), bars, 1);
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

void ReportChart::set_axis(host::Axis& axis, const std::string& title, double minimum, double maximum,
                           double major_unit, const std::string& format) {
  axis.set_title(title);
  if (!title.empty()) axis.set_title_font(look::font(look::kSmallSize, look::kMuted));
  axis.set_minimum_scale(bound(minimum));
  axis.set_maximum_scale(bound(maximum));
  axis.set_major_unit(bound(major_unit));
  if (!format.empty()) axis.set_tick_label_format(format);
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
  if (has_bars() && bar_ticks_ && is_automatic(minimum) && is_automatic(maximum)) {
    const double unit = is_automatic(major_unit) ? bar_ticks_->unit : major_unit;
    set_axis(*axis, title, bar_ticks_->minimum, bar_ticks_->maximum, unit, bar_ticks_->format);
  } else {
    set_axis(*axis, title, minimum, maximum, major_unit, format);
  }
  show_gridlines(*axis);
  axis->set_border(has_bars() ? look::kNoLine : look::rule(host::LineWeight::kThin, look::kRule));
  axis->set_major_tick_mark(host::kXlNone);
  axis->set_tick_label_position(has_bars() ? host::TickLabelPosition::kNextToAxis
                                           : host::TickLabelPosition::kLow);
  x_axis_ = {title, format, is_automatic(minimum) && is_automatic(maximum) && is_automatic(major_unit)};
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
  y_axis_ = {title, format, is_automatic(minimum) && is_automatic(maximum) && is_automatic(major_unit)};
}

void ReportChart::FinishChart() {
  apply_title();
  if (!has_bars()) {
    host::ignoring_errors([&] { lay_out_points(); });
    return;
  }
  // A chart that will not be told its places finds them itself.
  host::ignoring_errors([&] { place_plot_area(); });
  if (!color_key_.empty()) host::ignoring_errors([&] { add_color_key(); });
}

double ReportChart::plot_top() const {
  const double room = container_->width() * kTitleShare;
  double top = kTitleTop + kRoomForBaseLabel;
  const auto add = [&](const std::string& text, double size, bool bold) {
    if (!text.empty()) top += wrapped_lines(text, room, size, bold) * size * kTitleLine;
  };
  add(title_, look::kChartTitleSize, true);
  add(subtitle_, look::kChartSubtitleSize, false);
  return color_key_.empty() ? top : top + kAboveColorKey + kColorKeyHeight;
}

double ReportChart::plot_height() const {
  const double below = kRoomBelowBars + (horizontal_title_.empty() ? 0 : kRoomForAxisTitle);
  return std::max(container_->height() - plot_top() - below, 1.0);
}

ReportChart::Box ReportChart::bars_box() {
  return {longest_name_ + kRoomBesideNames, plot_top(), bars_width(), plot_height()};
}

void ReportChart::place_plot_area() {
  const Box box = bars_box();
  chart_->set_plot_area_inside(box.left, box.top, box.width, box.height);
}

}  // namespace ordvane::layout
