#include "layout/bar_chart.h"

#include <algorithm>
#include <utility>

#include "host/error.h"
#include "layout/bar_formulas.h"
#include "layout/look.h"
#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

using host::AxisGroup;
using host::AxisType;

constexpr std::int32_t kBarGap = 50;        // percent of a bar
constexpr std::int32_t kFullOverlap = 100;  // stacked

// Room in the chart, points.
constexpr double kTitleTop = 10;
constexpr double kTitleShare = 0.8;       // of the chart's width, the most that a line of a title takes
constexpr double kRoomForBaseLabel = 20;  // between titles and bars
constexpr double kRoomBelowBars = 30;
constexpr double kRoomForAxisTitle = 16;
constexpr double kRoomRightOfBars = 26;
constexpr double kRoomBesideNames = 14;
constexpr double kMostRoomForNames = 0.4;  // of the chart's width
constexpr double kPointWidth = 2;          // of a bar that is a point

constexpr double kColorKeyHeight = 18;
constexpr double kAboveColorKey = 8;

// Bars that follow each other in the table as they do in the chart, and are all points or none.
struct BarRun {
  std::int32_t bar, row, count;  // the first bar and its row, from 1
  bool points;
};

std::vector<BarRun> runs_of(const std::vector<Bar>& bars) {
  std::vector<BarRun> runs;
  for (std::int32_t number = 1; const Bar& bar : bars) {
    if (!runs.empty() && bar.row == runs.back().row + runs.back().count && bar.is_point == runs.back().points)
      ++runs.back().count;
    else
      runs.push_back({number, bar.row, 1, bar.is_point});
    ++number;
  }
  return runs;
}

host::InteriorFormat filled(host::Color color) {
  return {.pattern = 1, .color = color};
}

}  // namespace

BarChart::BarChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container)
    : ReportChart(sheet, std::move(container), host::ChartKind::kBarStacked) {}

void BarChart::Draw(ReportTable& table, Bars bars) {
  bars_ = std::move(bars);
  if (bars_.bars.empty()) return;
  const auto names = fitted_names(table);
  const double start = set_scale();
  add_series(table, *names, start);
  Chart()->set_plot_visible_only(false);
  Chart()->set_gap_width(kBarGap);
  Chart()->set_overlap(kFullOverlap);
  place_axes();
}

// The names beside the bars: the table's own, or where one is too long for the chart or has no bar, copies
// beside the bars' figures.
std::shared_ptr<host::Range> BarChart::fitted_names(ReportTable& table) {
  const auto count = static_cast<std::int32_t>(bars_.bars.size());
  host::CellBlock fitted(count, 1);
  bool as_they_stand = true;
  for (std::int32_t number = 1; const Bar& bar : bars_.bars) {
    const double room = room_for_names() - estimated_width(bar.mark, look::kSmallSize);
    const std::string text = fitted_name(bar.name, room, look::kSmallSize) + bar.mark;
    longest_name_ = std::max(longest_name_, estimated_width(text, look::kSmallSize));
    as_they_stand = as_they_stand && bar.row == number && text == bar.name;
    fitted.set_text(number++, 1, text);
  }
  auto names = table.Body(1, bars_.columns.name, count);
  if (as_they_stand) return names;
  names = sheet_.SheetWorksheet()->range(names->row(), sheet_.take_helper_columns(1), count, 1);
  names->set_number_format("@");
  names->put(fitted);
  names->set_columns_hidden(true);
  return names;
}

// Ticks around the bars and where the names' axis stands. Returns where bars without ends lie.
double BarChart::set_scale() {
  std::optional<BarEnds> all;
  for (const Bar& bar : bars_.bars)
    if (bar.ends)
      all = all ? BarEnds{std::min(all->left, bar.ends->left), std::max(all->right, bar.ends->right)}
                : bar.ends;
  const double base = bars_.base.value_or(all ? all->left : 0);
  if (!all) return base;
  ticks_ = axis_ticks(sheet_.session().environment->numbers(), std::min(all->left, base),
                      std::max(all->right, base), bars_.number_format, {.length = bars_width()});
  return base;
}

// One series a part, its figures beside the table.
void BarChart::add_series(ReportTable& table, host::Range& names, double start) {
  const AxisTicks scale = ticks_.value_or(AxisTicks{});
  const BarFrame frame = {.minimum = scale.minimum,
                          .maximum = scale.maximum,
                          .start = start,
                          .split = bars_.split,
                          .tails = bars_.labels};
  const auto address = [&](std::int32_t row, std::int32_t column) {
    return table.Body(row, column)->address(false, false);
  };
  const std::vector<BarRun> runs = runs_of(bars_.bars);
  std::vector<std::vector<BarFormula>> formulas;
  formulas.reserve(runs.size());
  for (const BarRun& run : runs)
    formulas.push_back(bar_formulas(address(run.row, bars_.columns.low), address(run.row, bars_.columns.high),
                                    run.points ? kPointWidth / 2 * unit_of_point() : 0, frame));

  host::Worksheet& worksheet = *sheet_.SheetWorksheet();
  const std::int32_t first_row = names.row();
  const auto columns = static_cast<std::int32_t>(formulas.front().size());
  const std::int32_t first_column = sheet_.take_helper_columns(columns);
  host::CellBlock headings(1, columns);
  for (std::size_t at = 0; const BarFormula& part : formulas.front()) {
    const auto column = static_cast<std::int32_t>(at);
    const auto figures = worksheet.range(first_row, first_column + column, names.row_count(), 1);
    for (std::size_t run = 0; run < runs.size(); ++run)
      figures->cell(runs[run].bar, 1)->resize(runs[run].count, 1)->set_formula(formulas[run][at].formula);
    headings.set_text(1, column + 1, part.name);
    const auto series = Chart()->new_series();
    series->set_name(part.name);
    series->set_values(*figures);
    series->set_x_values(names);
    series->set_border(look::kNoLine);
    if (part.seen)
      host::ignoring_errors([&] { series->set_interior(filled(bars_.color)); });
    else
      series->set_interior({.pattern = host::kXlNone});
    parts_.push_back(part.part);
    ++at;
  }
  const auto above = worksheet.range(first_row - 1, first_column, 1, columns);
  above->put(headings);
  above->set_columns_hidden(true);
}

// The first bar on top, the figures of the value axis at the bottom, the axis of the names at the base.
void BarChart::place_axes() {
  format_names_of_bars();

  const auto values = Chart()->axis(AxisType::kValue, AxisGroup::kPrimary);
  format_value_axis(*values, bars_.axis_title, look::kNoLine);
  // Left alone, an axis under stacked bars would begin at zero, however far off the bars are.
  if (ticks_) apply(*values, *ticks_);
  values->set_tick_label_position(host::TickLabelPosition::kNextToAxis);
  values->set_crosses_at(bars_.base || !ticks_ ? bars_.base : ticks_->minimum);
}

// From 1.
std::int32_t BarChart::series_of(BarPart part) const {
  return static_cast<std::int32_t>(std::find(parts_.begin(), parts_.end(), part) - parts_.begin()) + 1;
}

// On either side of zero the part nearer to zero comes first.
void BarChart::ColorBarPart(std::int32_t bar, bool above, host::Color color) {
  for (const BarPart part : {above ? BarPart::kNegative : BarPart::kBeyondNegative,
                             above ? BarPart::kBeyondPositive : BarPart::kPositive})
    Chart()->series(series_of(part))->point(bar)->set_interior(filled(color));
}

void BarChart::LabelBarEnds(const std::vector<BarLabels>& labels) {
  if (!bars_.labels || !ticks_) return;
  std::vector<LabelledBar> bars;
  for (std::size_t at = 0; const Bar& bar : bars_.bars) {
    bars.push_back({bar.ends, bar.is_point, at < labels.size() ? labels[at] : BarLabels{}});
    ++at;
  }
  const Box box = plot();
  const BarPlot place = {.minimum = ticks_->minimum,
                         .maximum = ticks_->maximum,
                         .width = box.width,
                         .height = box.height,
                         .base = bars_.base,
                         .split = bars_.split};
  for (const PlacedLabel& placed : place_labels(bars, place)) {
    const auto point = Chart()->series(series_of(placed.part))->point(placed.bar);
    point->apply_data_labels(false);
    const auto label = point->data_label();
    label->set_text(placed.text);
    label->set_font(look::font(kEndLabelSize, placed.color));
    label->set_position(placed.position);
  }
}

void BarChart::SetColorKey(const std::vector<ColorKey>& key) {
  color_key_ = key;
}

// Boxes of text between the titles and the bars, as a title cannot have several colours everywhere.
void BarChart::add_color_key() {
  constexpr double kSquare = 9;
  constexpr double kBoxInset = 7.2;  // at each side of the text
  constexpr double kBetween = 6;
  const auto width_of = [](const ColorKey& entry) {
    return estimated_width(entry.text, look::kChartSubtitleSize, true) + 2 * kBoxInset;
  };
  double left = width() - kBetween * static_cast<double>(color_key_.size() - 1);
  for (const ColorKey& entry : color_key_) left -= kSquare + width_of(entry);
  left = std::max(left / 2, 0.0);
  const double top = plot_top() - kRoomForBaseLabel - kColorKeyHeight;
  for (const ColorKey& entry : color_key_) {
    Chart()->add_text_box(left, top, kSquare + 2 * kBoxInset, kColorKeyHeight, "\xE2\x96\xA0",
                          look::font(look::kChartSubtitleSize, entry.color));
    left += kSquare;
    Chart()->add_text_box(left, top, width_of(entry), kColorKeyHeight, entry.text,
                          look::font(look::kChartSubtitleSize, look::kMuted));
    left += width_of(entry) + kBetween;
  }
}

// A chart that will not be told its places finds them itself.
void BarChart::FinishChart() {
  host::ignoring_errors([&] { place_plot(); });
  if (!color_key_.empty()) host::ignoring_errors([&] { add_color_key(); });
}

// ---- Room ----

double BarChart::room_for_names() const {
  return width() * kMostRoomForNames - kRoomBesideNames;
}

double BarChart::bars_width() const {
  return std::max(width() - longest_name_ - kRoomBesideNames - kRoomRightOfBars, 1.0);
}

double BarChart::plot_top() const {
  const double room = width() * kTitleShare;
  double top = kTitleTop + kRoomForBaseLabel;
  const auto add = [&](const std::string& text, double size, bool bold) {
    if (!text.empty()) top += wrapped_lines(text, room, size, bold) * size * look::kLineHeight;
  };
  add(title(), look::kChartTitleSize, true);
  add(subtitle(), look::kChartSubtitleSize, false);
  return color_key_.empty() ? top : top + kAboveColorKey + kColorKeyHeight;
}

ReportChart::Box BarChart::plot() const {
  const double top = plot_top();
  const double below = kRoomBelowBars + (bars_.axis_title.empty() ? 0 : kRoomForAxisTitle);
  return {longest_name_ + kRoomBesideNames, top, bars_width(), std::max(height() - top - below, 1.0)};
}

// Bars with the texts beside them.
std::vector<ReportChart::Box> BarChart::marks() const {
  constexpr double kTextBeside = 48;
  std::vector<Box> marks;
  if (!ticks_) return marks;
  const Box box = plot();
  const double each = box.height / static_cast<double>(bars_.bars.size());
  const double beside = bars_.labels ? kTextBeside : 0;
  const auto place = [&](double value) { return (value - ticks_->minimum) / unit_of_point(); };
  for (std::int32_t above = 0; const Bar& bar : bars_.bars) {
    if (bar.ends)
      marks.push_back({box.left + place(bar.ends->left) - beside, box.top + above * each,
                       place(bar.ends->right) - place(bar.ends->left) + 2 * beside, each});
    ++above;
  }
  return marks;
}

// Of the value axis, what one point of length stands for.
double BarChart::unit_of_point() const {
  return ticks_ ? (ticks_->maximum - ticks_->minimum) / bars_width() : 0;
}

}  // namespace ordvane::layout
