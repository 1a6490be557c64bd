// The chart of the tornado reports.
#include "reports/tornado_chart.h"

#include <algorithm>
#include <array>
#include <bit>
#include <tuple>

#include "host/error.h"
#include "layout/look.h"
#include "reports/answers.h"
#include "reports/chart_helpers.h"
#include "reports/item_texts.h"
#include "reports/number_texts.h"
#include "reports/table_values.h"

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

bool TornadoChart::has_labels() const {
  return one_input_each_ || context_.settings.labels != BarLabels::kInputs;
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
          .labels = has_labels()};
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
  if (has_labels()) host::ignoring_errors([&] { label_ends(chart); });
  host::ignoring_errors([&] { add_base_line(chart); });
}

std::string TornadoChart::axis_format() const {
  return context_.in_percent() ? PercentFormat() : ValueFormat(output_);
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
  return style_.base_label + " " + base_value_text(value);
}

// Names the base value also where the marker is not drawn: with several runs, and in programs that draw no
// points over bars.
std::string TornadoChart::subtitle() const {
  const auto value = base();
  std::string text = session_.text(texts_.chart_subtitle);
  if (!value) return text;
  return text + " (" + session_.text(text_id::kLabelBaseValue) + " " + base_value_text(*value) + ")";
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

// The output's value as its cell shows it. The date format of one whose cell has none is the same for all
// languages: it stays unused.
std::string TornadoChart::output_text(double value, const std::string& format, int digits) const {
  if (ValueFormat(output_) != output_.numberFormat)
    if (const std::string date = session_.environment->numbers().date_text(value); !date.empty()) return date;
  return NumberText(session_, value, format, digits);
}

std::string TornadoChart::base_value_text(double value) const {
  return output_text(value, ValueFormat(output_), kDigitsOfCell);
}

std::pair<std::string, std::string> TornadoChart::input_texts(const InputEnds& input) const {
  std::string format = input.number_format;
  if (input.at_low && input.at_high)
    format = FormatTellingApart(format, *input.at_low, *input.at_high,
                                input.base ? std::vector{*input.base} : std::vector<double>{});
  const auto text = [&](const std::optional<double>& value) {
    return value ? NumberText(session_, *value, format, kDigitsOfLabel) : "";
  };
  return {text(input.at_low), text(input.at_high)};
}

std::pair<std::string, std::string> TornadoChart::output_texts(const layout::Bar& bar) const {
  if (!bar.ends) return {};
  const auto [left, right] = *bar.ends;
  const bool percent = context_.in_percent();
  const std::string format = FormatTellingApart(percent ? PercentFormat() : ValueFormat(output_), left, right,
                                                origin() ? std::vector{*origin()} : std::vector<double>{});
  const auto text = [&](double value) {
    return percent ? NumberText(session_, value, format, kDigitsOfLabel)
                   : output_text(value, format, kDigitsOfLabel);
  };
  return {text(left), text(right)};
}

// What an input was set to comes first, what the output came to next.
layout::BarLabels TornadoChart::end_texts(const layout::Bar& bar, const InputEnds& input) const {
  constexpr const char* kLeadsTo = " \xE2\x86\x92 ";
  const BarLabels wanted = one_input_each_ ? context_.settings.labels : BarLabels::kOutputs;
  layout::BarLabels labels;
  if (wanted != BarLabels::kOutputs) std::tie(labels.left, labels.right) = input_texts(input);
  if (wanted != BarLabels::kInputs) {
    const auto [left, right] = output_texts(bar);
    labels.left += (labels.left.empty() || left.empty() ? "" : kLeadsTo) + left;
    labels.right += (labels.right.empty() || right.empty() ? "" : kLeadsTo) + right;
  }
  return labels;
}

void TornadoChart::label_ends(layout::BarChart& chart) {
  std::vector<layout::BarLabels> labels;
  for (std::size_t at = 0; const InputEnds& input : inputs_) {
    labels.push_back(end_texts(bars_[at++], input));
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
