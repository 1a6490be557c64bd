// The chart of the tornado reports.
#include "graphs/tornado_chart.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <memory>
#include <string_view>
#include <utility>

#include "graphs/chart_helpers.h"
#include "host/error.h"
#include "model/decimal.h"
#include "tables/look.h"
#include "tables/table_parts.h"
#include "tables/utils.h"

namespace ordvane::graphs {
namespace {

// String ids.
constexpr std::int16_t kBelowBase = 250;
constexpr std::int16_t kAboveBase = 251;

// Whether a number format, in its English form, shows group separators.
bool shows_groups(const std::string& format) {
  constexpr std::string_view kDigits = "0#?";
  const auto is_digit = [&](std::size_t at) {
    return at < format.size() && kDigits.find(format[at]) != std::string_view::npos;
  };
  for (std::size_t at = format.find(','); at != std::string::npos; at = format.find(',', at + 1))
    if (at > 0 && is_digit(at - 1) && is_digit(at + 1)) return true;
  return false;
}

// Six significant digits, and always two decimals.
double rounded_for_reading(double value) {
  constexpr int kDigits = 6;
  constexpr int kDecimals = 2;
  if (value == 0) return 0;
  const int whole_digits = model::decimal_exponent(value) + 1;
  const double unit = model::power_of_ten(std::max(kDigits - whole_digits, kDecimals));
  const double rounded = std::nearbyint(value * unit) / unit;
  return std::isfinite(rounded) ? rounded : value;
}

std::string formula_number(double value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

bool same_bits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// The base line has its own, unseen axis; both must agree for it to stand right. The chart chooses its unit.
void bound_value_axis(host::Chart& chart, const host::AxisScale& scale) {
  const auto axis = chart.axis(host::AxisType::kValue, host::AxisGroup::kPrimary);
  axis->set_minimum_scale(scale.minimum);
  axis->set_maximum_scale(scale.maximum);
}

}  // namespace

TornadoChart::TornadoChart(session::Session& session, const model::DralInputOutput& output, bool percent,
                           model::OrdvaneRangeMode range_mode, const TornadoTexts& texts, TornadoStyle style)
    : session_(session),
      output_(output),
      percent_(percent),
      range_mode_(range_mode),
      texts_(texts),
      style_(std::move(style)) {}

void TornadoChart::read_bars(const host::CellBlock& rows, std::int32_t low_column, std::int32_t high_column) {
  for (std::int32_t row = 1; row <= rows.rows(); ++row) {
    const auto& low = rows.at(row, low_column);
    const auto& high = rows.at(row, high_column);
    if (low.kind != host::CellKind::kNumber || high.kind != host::CellKind::kNumber) continue;
    low_values_.push_back(low.number);
    high_values_.push_back(high.number);
  }
}

void TornadoChart::draw(tables::ReportChart& chart, tables::ReportTable& table, std::int32_t bars,
                        std::int32_t name_column, std::int32_t low_column, std::int32_t high_column,
                        const std::vector<InputEnds>& inputs) {
  const host::AxisScale scale = axis_scale();
  // The two sides of the base value can have a colour, and a text on them, each.
  const std::optional<double> split = inputs.empty() ? std::nullopt : origin();
  told_apart_ = session_.low_color && split;
  SetChartAreaLineWeight(*chart.Chart());
  chart.AddTornadoBars(static_cast<std::int16_t>(bars), *table.Body(1, low_column, bars),
                       *table.Body(1, high_column, bars), *table.Body(1, name_column, bars),
                       origin().value_or(scale.minimum), {.split = split, .labels = !inputs.empty()});
  set_texts(chart);
  if (told_apart_)
    chart.SetColorKey(
        {{*session_.low_color, session_.text(kBelowBase)}, {style_.bar_color, session_.text(kAboveBase)}});
  chart.FinishChart();
  host::ignoring_errors([&] { session_.application().set_screen_updating(true); });
  host::ignoring_errors([&] { session_.application().set_screen_updating(false); });
  for (std::int32_t bar = 3; bar <= (split ? 6 : 4); ++bar)
    host::ignoring_errors([&] { chart.Chart()->series(bar)->set_interior({.color = style_.bar_color}); });
  if (told_apart_) host::ignoring_errors([&] { color_low_ends(chart, inputs); });
  host::ignoring_errors([&] { label_ends(chart, inputs); });
  host::ignoring_errors([&] { bound_value_axis(*chart.Chart(), scale); });
  host::ignoring_errors([&] { add_base_line(*chart.Chart(), scale); });
}

void TornadoChart::set_texts(tables::ReportChart& chart) {
  const std::string name = output_.NameOrQualifiedCellAddressName(range_mode_);
  chart.SetTitle(session_.text(texts_.chart_title, name));
  chart.SetSubtitle(subtitle());
  constexpr double kAuto = host::kAutoScaleValue;
  chart.SetXAxis(session_.text(percent_ ? texts_.change_axis : texts_.value_axis, name), kAuto, kAuto, kAuto,
                 axis_format(), true);
}

std::string TornadoChart::axis_format() const {
  if (percent_) return tables::PercentFormat();
  if (output_.IsDate) return output_.DateFormat;
  return output_.NumberFormatLocal.empty() ? "" : output_.NumberFormatLocal + "[LOCAL]";
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
  return percent_ ? 0.0 : base();
}

// Rounded bounds around the bars and the base value.
host::AxisScale TornadoChart::axis_scale() const {
  double lowest = ArrayMin(low_values_);
  double highest = ArrayMax(high_values_);
  if (const auto value = origin()) {
    lowest = std::min(lowest, *value);
    highest = std::max(highest, *value);
  }
  return session_.environment->numbers().axis_scale(lowest, highest);
}

std::string TornadoChart::base_text(double value) const {
  host::NumberService& numbers = session_.environment->numbers();
  std::string figures = output_.IsDate ? numbers.date_text(value) : "";
  if (figures.empty()) figures = numbers.number_text(value, shows_groups(output_.numberFormat));
  return style_.base_label + "=" + figures;
}

// Names the base value also where the marker is not drawn: with several runs, and in programs that draw no
// points over bars.
std::string TornadoChart::subtitle() const {
  constexpr std::int32_t kBaseValue = 16;
  const auto value = base();
  const std::string text = session_.text(texts_.chart_subtitle);
  if (!value) return text;
  return text + " (" + session_.CommonString(kBaseValue) + "=" +
         value_text(*value, tables::ValueFormat(output_)) + ")";
}

// What the input did at one end of its bar; low values have a colour of their own when they are told apart.
host::Color TornadoChart::end_color(const std::optional<double>& value, const InputEnds& input) const {
  const bool is_low = told_apart_ && value && input.base && *value < *input.base;
  return is_low ? *session_.low_color : style_.bar_color;
}

void TornadoChart::color_low_ends(tables::ReportChart& chart, const std::vector<InputEnds>& inputs) {
  for (std::size_t row = 0; row < inputs.size(); ++row) {
    const InputEnds& input = inputs[row];
    const auto bar = static_cast<std::int32_t>(row) + 1;
    for (const bool above : {false, true})
      if (const auto color = end_color(above ? input.at_high : input.at_low, input);
          color != style_.bar_color)
        chart.ColorBarPart(bar, above, color);
  }
}

// As the spreadsheet shows a number in this format; one that it cannot read shows the plain number.
std::string TornadoChart::value_text(double value, const std::string& format) const {
  const std::string plain =
      session_.environment->numbers().number_text(rounded_for_reading(value), shows_groups(format));
  if (format.empty() || format == "General") return plain;
  std::string quoted;
  for (const char c : format) quoted.append(c == '"' ? 2 : 1, c);
  host::CellValue text;
  host::ignoring_errors([&] {
    text = session_.application().evaluate("TEXT(" + formula_number(value) + ",\"" + quoted + "\")");
  });
  return text.kind == host::CellKind::kText ? text.text : plain;
}

void TornadoChart::label_ends(tables::ReportChart& chart, const std::vector<InputEnds>& inputs) {
  std::vector<tables::BarLabels> labels;
  for (const InputEnds& input : inputs) {
    labels.emplace_back();
    if (input.at_low) labels.back().left = value_text(*input.at_low, input.number_format);
    if (input.at_high) labels.back().right = value_text(*input.at_high, input.number_format);
    labels.back().left_on_bar = tables::look::text_on(end_color(input.at_low, input));
    labels.back().right_on_bar = tables::look::text_on(end_color(input.at_high, input));
  }
  chart.LabelBarEnds(labels);
}

void TornadoChart::add_base_line(host::Chart& chart, const host::AxisScale& scale) {
  if (same_bits(style_.base_value, host::kNoBaseValue) || !usable(style_.base_value)) return;
  constexpr host::Color kBlack = 0;
  AddBaseValueLine(session_, chart, *origin(), scale.minimum, scale.maximum, style_.baseline_color,
                   base_text(style_.base_value), kBlack, chart.plot_area_interior_color());
}

}  // namespace ordvane::graphs
