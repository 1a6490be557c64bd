// The tornado: a bar an input from the lowest to the highest result, the widest on top.
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "layout/axis_ticks.h"
#include "model/number_rules.h"
#include "page/charts.h"

namespace ordvane::page {
namespace {

using Anchor = Svg::Anchor;

constexpr double kWidth = 900;
constexpr double kRow = 31, kBar = 19;
constexpr double kAboveBars = 38;  // the texts of target and base line
constexpr double kBelowBars = 42;  // ticks and the axis title
constexpr double kKey = 24;        // the key of colours
constexpr double kTitle = 30;
constexpr double kBesideBar = 6;
constexpr double kWidestName = 290;
constexpr double kEdge = 2;

class Tornado {
 public:
  Tornado(const Views& views, const View& view, const GraphLook& look)
      : views_(views), view_(view), look_(look), in_changes_(views.options().percent && view.has_changes()) {}

  std::string draw() {
    lay_out();
    if (!has_ends_) return {};
    const session::Session& texts = views_.texts();
    const double bottom = top_ + kRow * static_cast<double>(view_.on_graphs.size());
    Svg svg({kWidth, bottom + kBelowBars, look_.id, texts.text(text_id::kTornadoChartTitle, view_.name),
             view_.ranking.sentence});
    if (!look_.in_page) svg.text("title", {kEdge, 20}, texts.text(text_id::kTornadoChartTitle, view_.name));
    draw_key(svg);
    svg.open("plot").data("data-x", axis_.scale.text());
    svg.data("data-y", std::to_string(std::lround(top_)) + " " + std::to_string(std::lround(bottom)));
    const bool both = look_.in_page && view_.has_changes();
    if (!in_changes_ || both) draw_ticks(svg, "v", axis_, view_.name, bottom);
    if (in_changes_ || both)
      draw_ticks(svg, "p", change_axis(), texts.text(text_id::kTornadoChangeAxis, view_.name), bottom);
    draw_target(svg, bottom);  // behind the texts at the ends of bars
    double top = top_;
    for (const embedded::Effect* effect : view_.on_graphs) {
      draw_row(svg, *effect, top);
      top += kRow;
    }
    draw_base(svg, bottom);
    svg.close();
    return svg.finish();
  }

 private:
  // The names stand at the left, the texts at the ends of the bars have room on both sides of the plot.
  void lay_out() {
    double low = HUGE_VAL, high = -HUGE_VAL, widest_end = 0;
    const auto take = [&](double value) {
      if (std::isnan(value)) return;
      low = std::min(low, value);
      high = std::max(high, value);
    };
    for (const embedded::Effect* effect : view_.on_graphs) {
      take(number_or_nan(effect->low));
      take(number_or_nan(effect->high));
      for (const End& end : ends_of(*effect))
        for (const std::string& text : {end_text(end, false), end_text(end, true)})
          widest_end = std::max(widest_end, text_width(text, kSmallSize));
      names_ = std::max({names_, text_width(views_.input_of(*effect).name, kNameSize),
                         text_width(range_text(*effect), kSmallSize)});
    }
    has_ends_ = low <= high;
    if (!has_ends_) return;
    take(view_.base);
    names_ = std::min(names_, kWidestName);
    const double from = names_ + 2 * kBesideBar + widest_end + kBesideBar;
    axis_ = axis_around(views_.numbers(), views_.language(), low, high, view_.figures.code(), from,
                        kWidth - widest_end - 2 * kBesideBar);
    top_ = kAboveBars + kKey + (look_.in_page ? 0 : kTitle);
  }

  std::string change(double value) const {
    return view_.has_changes() ? change_text(view_.change(value), views_.language()) : "";
  }

  std::string base_text(const std::string& value) const {
    return views_.texts().text(text_id::kLabelBaseValue) + " " + value;
  }

  // An end of a bar: the result there, and what the input was set to.
  struct End {
    double result, value;
    const Figures& figures;  // of the input
  };
  std::array<End, 2> ends_of(const embedded::Effect& effect) const {
    const Figures& figures = views_.input_of(effect).figures;
    return {End{number_or_nan(effect.low), number_or_nan(effect.input_at_low), figures},
            End{number_or_nan(effect.high), number_or_nan(effect.input_at_high), figures}};
  }
  std::string end_text(const End& end, bool in_changes) const {
    using enum reports::BarLabels;
    if (std::isnan(end.result)) return {};
    const std::string result = in_changes ? change(end.result) : view_.figures.text(end.result);
    const reports::BarLabels labels = look_.labels.value_or(kOutputs);
    if (labels == kOutputs || std::isnan(end.value)) return result;
    const std::string value = end.figures.text(end.value);
    return labels == kInputs ? value : value + " → " + result;
  }

  // "44 – 104": what the input was set to where the result is lowest and highest, where no end tells it.
  std::string range_text(const embedded::Effect& effect) const {
    if (look_.labels) return {};
    const double low = number_or_nan(effect.input_at_low), high = number_or_nan(effect.input_at_high);
    if (std::isnan(low) || std::isnan(high)) return {};
    const Figures& figures = views_.input_of(effect).figures;
    return figures.text(std::min(low, high)) + " – " + figures.text(std::max(low, high));
  }

  // The ticks of changes lie between the ends of the axis of values.
  Axis change_axis() const {
    const Scale& values = axis_.scale;
    const double size = std::fabs(view_.base);
    Axis axis = axis_around(views_.numbers(), views_.language(), (values.first - view_.base) / size,
                            (values.last - view_.base) / size, "0%", values.from, values.to);
    axis.scale = {(values.first - view_.base) / size, (values.last - view_.base) / size, values.from,
                  values.to};
    std::erase_if(axis.ticks, [&](const Axis::Tick& tick) {
      return tick.value < axis.scale.first || tick.value > axis.scale.last;
    });
    return axis;
  }

  void draw_ticks(Svg& svg, const char* kind, const Axis& axis, const std::string& title, double bottom) {
    // A view without changes has one kind of ticks, which is always seen.
    svg.open(look_.in_page && view_.has_changes() ? kind : "");
    std::vector<std::pair<Spot, Spot>> lines;
    for (const Axis::Tick& tick : axis.ticks) {
      const double x = axis.scale.at(tick.value);
      lines.push_back({{x, top_}, {x, bottom}});
    }
    svg.lines("grid", lines);
    svg.open("tick").data("text-anchor", "middle");
    for (const Axis::Tick& tick : axis.ticks)
      svg.text("", {axis.scale.at(tick.value), bottom + 15}, tick.text);
    svg.close();
    svg.text("small", {(axis.scale.from + axis.scale.to) / 2, bottom + 33},
             fitted_text(title, axis.scale.to - axis.scale.from, kSmallSize), Anchor::kMiddle);
    svg.close();
  }

  void draw_key(Svg& svg) const {
    if (!views_.options().low_color) return;
    double x = axis_.scale.from;
    const double y = top_ - kAboveBars - kKey;
    for (const auto& [kind, text] :
         {std::pair("low", text_id::kTornadoBelowBase), std::pair("bar", text_id::kTornadoAboveBase)}) {
      const std::string name = views_.texts().text(text);
      svg.box(kind, x, y + 3, x + 12, y + 13);
      svg.text("small", {x + 18, y + 12}, name);
      x += 18 + text_width(name, kSmallSize) + 20;
    }
  }

  // What an input set below its base makes has a colour of its own.
  const char* kind_at(const embedded::Effect& effect, double value) const {
    return value < views_.input_of(effect).base ? "low" : "bar";
  }

  void draw_row(Svg& svg, const embedded::Effect& effect, double top) {
    const InputFacts& input = views_.input_of(effect);
    svg.open("row").data("data-input", std::to_string(effect.input_index));
    const std::string range = range_text(effect);
    const double right = names_ + kBesideBar;
    svg.text("who", {right, top + (range.empty() ? 20 : 14)}, fitted_text(input.name, names_, kNameSize));
    if (!range.empty()) svg.text("range", {right, top + 27}, fitted_text(range, names_, kSmallSize));
    const double low = number_or_nan(effect.low), high = number_or_nan(effect.high);
    if (std::isnan(low) || std::isnan(high))
      svg.text("end", {axis_.scale.from, top + 20}, kNoNumber);
    else
      draw_bar(svg, effect, low, high, top + (kRow - kBar) / 2);
    svg.close();
  }

  void draw_bar(Svg& svg, const embedded::Effect& effect, double low, double high, double top) {
    constexpr double kThinnest = 1.5;
    const Scale& scale = axis_.scale;
    const double split = std::isnan(view_.base) ? low : std::clamp(view_.base, low, high);
    if (split > low)
      svg.box(kind_at(effect, effect.input_at_low), scale.at(low), top, scale.at(split), top + kBar);
    if (high > split)
      svg.box(kind_at(effect, effect.input_at_high), scale.at(split), top, scale.at(high), top + kBar);
    if (low == high)
      svg.box(kind_at(effect, effect.input_at_high), scale.at(low) - kThinnest, top,
              scale.at(low) + kThinnest, top + kBar);
    // The base value is written once, at its line.
    const auto [at_low, at_high] = ends_of(effect);
    if (low < split || low == high)
      draw_end(svg, at_low, {scale.at(low) - kBesideBar, top + 14}, Anchor::kEnd);
    if (high > split) draw_end(svg, at_high, {scale.at(high) + kBesideBar, top + 14}, Anchor::kStart);
  }

  void draw_end(Svg& svg, const End& end, Spot spot, Anchor anchor) const {
    const bool switches = look_.in_page && view_.has_changes();
    svg.text("end", spot, end_text(end, in_changes_), anchor,
             switches ? end_text(end, !in_changes_) : std::string());
  }

  void draw_base(Svg& svg, double bottom) const {
    if (std::isnan(view_.base)) return;
    const double x = axis_.scale.at(view_.base);
    svg.line("base", {x, top_ - 4}, {x, bottom});
    svg.text("end", {x, top_ - 9}, base_text(view_.figures.text(view_.base)), Anchor::kMiddle);
  }

  // Where the bars would have to reach.
  void draw_target(Svg& svg, double bottom) const {
    const double target = view_.ranking.answers.target;
    const Scale& scale = axis_.scale;
    if (!view_.has_crossings() || !(target >= scale.first && target <= scale.last)) return;
    const double x = scale.at(target);
    svg.open("aims").line("target", {x, top_ - 18}, {x, bottom});
    svg.text("aim", {x, top_ - 24}, view_.figures.text(target), Anchor::kMiddle);
    svg.close();
  }

  const Views& views_;
  const View& view_;
  const GraphLook& look_;
  bool in_changes_;
  bool has_ends_ = false;
  double names_ = 0;  // width of the names
  double top_ = 0;    // of the first row
  Axis axis_;
};

}  // namespace

Palette palette_of(const embedded::ReportOptions& options) {
  return palette(options.bar_color, options.low_color.value_or(options.bar_color));
}

Axis axis_around(host::NumberService& numbers, const environment::Language& language, double low, double high,
                 const std::string& format, double from, double to) {
  constexpr double kTypefaces = 1.15;  // of wider ones than the sheets have
  const bool upright = from > to;
  const layout::AxisTicks ticks =
      layout::axis_ticks(numbers, low, high, format, {std::fabs(to - from) / kTypefaces, upright});
  Axis axis{.scale = {ticks.minimum, ticks.maximum, from, to}, .ticks = {}};
  const auto count = std::lround((ticks.maximum - ticks.minimum) / ticks.unit);
  for (std::int64_t i = 0; i <= count; ++i) {
    double value = ticks.minimum + static_cast<double>(i) * ticks.unit;
    if (std::fabs(value) < ticks.unit * model::NumberRules::kRounding) value = 0;
    axis.ticks.push_back({value, formatted(value, ticks.format, language)});
  }
  return axis;
}

std::string tornado(const Views& views, const View& view, const GraphLook& look) {
  return Tornado(views, view, look).draw();
}

}  // namespace ordvane::page
