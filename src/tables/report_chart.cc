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
using host::LabelPosition;

constexpr std::string_view kLocalSuffix = "[LOCAL]";

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

// `low` and `high` are the cells of the first bar's ends. A bar without two ends is empty, and lies at
// `start`, not at a far-off zero.
std::vector<BarPart> bar_parts(const std::string& low, const std::string& high, const host::AxisScale& scale,
                               double start, const BarParts& wanted) {
  const std::string left = "MIN(" + low + "," + high + ")";
  const std::string right = "MAX(" + low + "," + high + ")";
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
  return parts;
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
                                 double crossing, const BarParts& wanted) {
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

  read_bar_ends(low_ends, high_ends, bars);
  bar_crossing_ = crossing_bound;

  const std::int32_t row = low.row();
  const auto parts = bar_parts(low.cell(1, 1)->address(false, false), high.cell(1, 1)->address(false, false),
                               bar_scale_.value_or(host::AxisScale{}), start, wanted);
  const auto columns = static_cast<std::int32_t>(parts.size());
  const std::int32_t column = sheet_.take_helper_columns(columns);
  const std::string low_cell = low.cell(1, 1)->address(false, false);
  const std::string high_cell = high.cell(1, 1)->address(false, false);
  const auto category_names = fitted_names(names, row, bars);
  host::CellBlock headings(1, columns);
  for (std::int32_t position = 1; position <= columns; ++position) {
    const BarPart& part = parts[static_cast<std::size_t>(position - 1)];
    const std::string otherwise = formula_number(part.otherwise);
    const auto figures = sheet_.SheetWorksheet()->range(row, column + position - 1, bars, 1);
    figures->set_formula("=IF(ISNUMBER(" + low_cell + "),IF(ISNUMBER(" + high_cell + ")," + part.formula +
                         "," + otherwise + ")," + otherwise + ")");
    headings.set_text(1, position, part.name);
    add_bar_series(part.name, part.seen, *figures, *category_names);
  }
  split_ = wanted.split;
  if (split_) beyond_ = kPositiveBar + 1;
  if (wanted.labels) tails_ = columns - 1;
  sheet_.SheetWorksheet()->range(row - 1, column, 1, columns)->put(headings);
  sheet_.SheetWorksheet()->range(row - 1, column, 1, columns)->set_columns_hidden(true);
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

void ReportChart::read_bar_ends(const host::CellBlock& low, const host::CellBlock& high, std::int32_t bars) {
  for (std::int32_t bar = 1; bar <= bars; ++bar) {
    const host::CellValue a = low.value(bar, 1), b = high.value(bar, 1);
    bar_ends_.emplace_back();
    if (a.is_number() && b.is_number())
      bar_ends_.back() = {std::min(a.number, b.number), std::max(a.number, b.number)};
  }
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
  if (tails_ == 0 || !bar_scale_) return;
  const auto bars = static_cast<double>(bar_ends_.size());
  if (plot_height() / bars < kEndLabelSize * kTitleLine) return;
  const double points = bars_width() / (bar_scale_->maximum - bar_scale_->minimum);
  const auto place = [&](double value) { return (value - bar_scale_->minimum) * points; };
  const auto clear_of_axis = [&](double from, double to) {
    if (!bar_crossing_) return true;
    const double axis = place(*bar_crossing_);
    return axis <= std::min(from, to) || axis >= std::max(from, to);
  };
  const auto length_of = [](const std::string& text) {
    return text.empty() ? 0 : estimated_width(text, kEndLabelSize) + kBesideBar;
  };
  for (std::size_t bar = 0; bar < std::min(labels.size(), bar_ends_.size()); ++bar) {
    const auto& ends = bar_ends_[bar];
    if (!ends || ends->left == ends->right) continue;
    const auto number = static_cast<std::int32_t>(bar) + 1;
    const BarLabels& texts = labels[bar];
    const bool fit_on_bar =
        place(ends->right) - place(ends->left) >= length_of(texts.left) + length_of(texts.right);
    std::int32_t labelled_part = 0;  // a part has one label
    for (const bool is_right : {false, true}) {
      const std::string& text = is_right ? texts.right : texts.left;
      if (text.empty()) continue;
      const double end = is_right ? ends->right : ends->left;
      const double outwards = is_right ? length_of(text) : -length_of(text);
      const double beside = place(end) + outwards;
      // A part of a bar begins at the side of zero.
      const bool away_from_zero = is_right ? end >= 0 : end <= 0;
      if (beside >= 0 && beside <= bars_width() + kRightOfPlot && clear_of_axis(place(end), beside)) {
        label_point(away_from_zero ? tails_ + (is_right ? 1 : 0) : kReach, number, text, look::kMuted,
                    away_from_zero ? LabelPosition::kInsideBase : LabelPosition::kInsideEnd);
      } else if (fit_on_bar && clear_of_axis(place(end), place(end) - outwards) &&
                 part_at(end, is_right) != labelled_part) {
        labelled_part = part_at(end, is_right);
        label_point(labelled_part, number, text, is_right ? texts.right_on_bar : texts.left_on_bar,
                    away_from_zero ? LabelPosition::kInsideEnd : LabelPosition::kInsideBase);
      }
    }
  }
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
  const double room = container_->width() - 2 * kTitleTop;
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

}  // namespace ordvane::tables
