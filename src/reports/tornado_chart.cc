// The chart of the tornado reports.
#include "reports/tornado_chart.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <memory>
#include <utility>

#include "host/error.h"
#include "layout/look.h"
#include "reports/answers.h"
#include "reports/chart_helpers.h"
#include "reports/item_texts.h"
#include "reports/table_values.h"
#include "reports/value_text.h"

namespace ordvane::reports {
namespace {

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

}  // namespace

TornadoChart::TornadoChart(const Context& context, const model::DralInputOutput& output,
                           const TornadoTexts& texts, TornadoStyle style)
    : context_(context),
      session_(context.session),
      output_(output),
      texts_(texts),
      style_(std::move(style)) {}

void TornadoChart::choose_bars(const host::CellBlock& rows, const layout::BarColumns& columns,
                               const model::OneBased<model::StepFacts>& facts, StepRemarks& remarks,
                               const std::function<InputEnds(std::int32_t)>& input_of) {
  columns_ = columns;
  one_input_each_ = input_of != nullptr;
  std::vector<std::string> left_out;
  for (std::int32_t row = 1; row <= rows.rows(); ++row) {
    if (!context_.settings.all_inputs && facts(row).without_effect()) {
      left_out.push_back(rows.value(row, columns.name).text);
      continue;
    }
    const host::CellValue low = rows.value(row, columns.low), high = rows.value(row, columns.high);
    bars_.push_back({.row = row, .name = rows.value(row, columns.name).text});
    inputs_.push_back(input_of ? input_of(row) : InputEnds{});
    if (inputs_.back().turns) bars_.back().mark = kTurningMark;
    if (!low.is_number() || !high.is_number()) continue;
    bars_.back().ends = {std::min(low.number, high.number), std::max(low.number, high.number)};
    // No lack of effect, though it has no length.
    bars_.back().is_point = output_.rules().difference(low.number, high.number) == 0 &&
                            (facts(row).moves || !facts(row).compared);
  }
  // A graph that nothing is left of says so by itself.
  if (!bars_.empty())
    for (const std::string& label : left_out) remarks.add_left_out(label);
}

bool TornadoChart::has_bars() const {
  return std::any_of(bars_.begin(), bars_.end(), [](const layout::Bar& bar) { return bar.ends.has_value(); });
}

// The two sides of the base value can have a colour, and a text on them, each.
layout::Bars TornadoChart::bars_to_draw() const {
  const std::string name = output_.NameOrQualifiedCellAddressName(context_.range_mode);
  return {.bars = bars_,
          .columns = columns_,
          .color = style_.bar_color,
          .axis_title = session_.text(context_.in_percent() ? texts_.change_axis : texts_.value_axis, name),
          .number_format = axis_format(),
          .base = origin(),
          .split = one_input_each_ ? origin() : std::nullopt,
          .labels = one_input_each_};
}

void TornadoChart::draw(layout::BarChart& chart, layout::ReportTable& table) {
  const layout::Bars bars = bars_to_draw();
  told_apart_ = style_.low_color && bars.split;
  SetChartAreaLineWeight(*chart.Chart());
  chart.Draw(table, bars);
  chart.SetTitle(
      session_.text(texts_.chart_title, output_.NameOrQualifiedCellAddressName(context_.range_mode)));
  chart.SetSubtitle(subtitle());
  if (told_apart_)
    chart.SetColorKey({{*style_.low_color, session_.text(text_id::kTornadoBelowBase)},
                       {style_.bar_color, session_.text(text_id::kTornadoAboveBase)}});
  chart.FinishChart();
  host::ignoring_errors([&] { session_.application().set_screen_updating(true); });
  host::ignoring_errors([&] { session_.application().set_screen_updating(false); });
  if (told_apart_) host::ignoring_errors([&] { color_low_ends(chart); });
  if (one_input_each_) host::ignoring_errors([&] { label_ends(chart); });
  host::ignoring_errors([&] { add_base_line(chart); });
}

std::string TornadoChart::axis_format() const {
  return context_.in_percent() ? PercentFormat() : AxisFormat(output_);
}

// The output's value before anything was varied.
std::optional<double> TornadoChart::base() const {
  if (!same_bits(style_.base_value, host::kNoBaseValue) && usable(style_.base_value))
    return style_.base_value;
  if (usable(output_.BaseValue())) return output_.BaseValue();
  return std::nullopt;
}

// Where the base value lies on the value axis; changes are counted from it.
std::optional<double> TornadoChart::origin() const {
  return context_.in_percent() ? 0.0 : base();
}

std::string TornadoChart::base_text(double value) const {
  return style_.base_label + " " + ValueText(session_, output_, value, kDigitsOfCell);
}

// Names the base value also where the marker is not drawn: with several runs, and in programs that draw no
// points over bars.
std::string TornadoChart::subtitle() const {
  const auto value = base();
  std::string text = session_.text(texts_.chart_subtitle);
  if (!value) return text;
  return text + " (" + session_.text(text_id::kLabelBaseValue) + " " +
         ValueText(session_, output_, *value, kDigitsOfCell) + ")";
}

// What the input did at one end of its bar; low values have a colour of their own when they are told apart.
host::Color TornadoChart::end_color(const std::optional<double>& value, const InputEnds& input) const {
  const bool is_low = told_apart_ && value && input.base && *value < *input.base;
  return is_low ? *style_.low_color : style_.bar_color;
}

void TornadoChart::color_low_ends(layout::BarChart& chart) {
  for (std::int32_t number = 1; const InputEnds& input : inputs_) {
    for (const bool above : {false, true})
      if (const auto color = end_color(above ? input.at_high : input.at_low, input);
          color != style_.bar_color)
        chart.ColorBarPart(number, above, color);
    ++number;
  }
}

void TornadoChart::label_ends(layout::BarChart& chart) {
  std::vector<layout::BarLabels> labels;
  for (const InputEnds& input : inputs_) {
    labels.emplace_back();
    if (input.at_low)
      labels.back().left = NumberText(session_, *input.at_low, input.number_format, kDigitsOfLabel);
    if (input.at_high)
      labels.back().right = NumberText(session_, *input.at_high, input.number_format, kDigitsOfLabel);
    labels.back().left_on_bar = layout::look::text_on(end_color(input.at_low, input));
    labels.back().right_on_bar = layout::look::text_on(end_color(input.at_high, input));
  }
  chart.LabelBarEnds(labels);
}

// The line lies over bars and beside them. Where its colour would not be seen over the bars, as by default,
// it takes the one of some that stands out most from bars and paper.
host::Color TornadoChart::line_color() const {
  using layout::look::contrast;
  constexpr double kSeen = 1.5;
  constexpr host::Color kPaper = 0xFFFFFF;
  constexpr std::array<host::Color, 4> kColors = {0x005ED5, 0x9933CC, 0x808080, layout::look::kText};
  const auto over_bars = [&](host::Color color) {
    const double seen = contrast(color, style_.bar_color);
    return told_apart_ ? std::min(seen, contrast(color, *style_.low_color)) : seen;
  };
  if (over_bars(style_.baseline_color) >= kSeen) return style_.baseline_color;
  return *std::max_element(kColors.begin(), kColors.end(), [&](host::Color a, host::Color b) {
    return std::min(over_bars(a), contrast(a, kPaper)) < std::min(over_bars(b), contrast(b, kPaper));
  });
}

// The axis of the names crosses the bars at the base value too; programs that draw no points over bars show
// the line by it.
void TornadoChart::add_base_line(layout::BarChart& chart) {
  if (same_bits(style_.base_value, host::kNoBaseValue) || !usable(style_.base_value) || !chart.ticks())
    return;
  constexpr host::Color kBlack = 0;
  const host::Color color = line_color();
  host::Chart& drawn = *chart.Chart();
  host::ignoring_errors([&] {
    drawn.axis(host::AxisType::kCategory, host::AxisGroup::kPrimary)
        ->set_border(layout::look::rule(host::LineWeight::kMedium, color));
  });
  AddBaseValueLine(drawn, *origin(), chart.ticks()->minimum, chart.ticks()->maximum, color,
                   base_text(style_.base_value), kBlack, drawn.plot_area_interior_color());
}

}  // namespace ordvane::reports
