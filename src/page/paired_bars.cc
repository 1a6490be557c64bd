// Paired bars: what swings were, and what they are.
#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

#include "page/charts.h"

namespace ordvane::page {
namespace {

using Anchor = Svg::Anchor;

constexpr double kWidth = 900;
constexpr double kPair = 40, kBar = 14;
constexpr double kTop = 34;    // the key of colours
constexpr double kBelow = 26;  // ticks
constexpr double kBeside = 6;
constexpr double kWidestName = 290;

}  // namespace

std::string paired_bars(const PairedBars& bars, host::NumberService& numbers,
                        const environment::Language& language, const std::string& id) {
  double most = 0, names = 0, ends = 0;
  for (const PairedBars::Pair& pair : bars.pairs) {
    names = std::max(names, text_width(pair.name, kNameSize));
    for (const double value : {pair.before, pair.now}) {
      if (!std::isnan(value)) most = std::max(most, value);
      ends = std::max(ends, text_width(bars.figures.difference(value), kSmallSize));
    }
  }
  names = std::min(names, kWidestName);
  const Axis axis = axis_around(numbers, language, 0, most, bars.figures.difference_code(),
                                names + 2 * kBeside, kWidth - ends - 2 * kBeside);
  const double bottom = kTop + kPair * static_cast<double>(bars.pairs.size());
  Svg svg({kWidth, bottom + kBelow, id, bars.title, bars.text});
  double x = axis.scale.from;
  for (const auto& [kind, name] : {std::pair("before", bars.before_name), std::pair("bar", bars.now_name)}) {
    svg.box(kind, x, 5, x + 12, 15);
    svg.text("small", {x + 18, 14}, name);
    x += 18 + text_width(name, kSmallSize) + 20;
  }
  std::vector<std::pair<Spot, Spot>> lines;
  for (const Axis::Tick& tick : axis.ticks)
    lines.push_back({{axis.scale.at(tick.value), kTop}, {axis.scale.at(tick.value), bottom}});
  svg.lines("grid", lines);
  svg.open("tick").data("text-anchor", "middle");
  for (const Axis::Tick& tick : axis.ticks) svg.text("", {axis.scale.at(tick.value), bottom + 16}, tick.text);
  svg.close();
  double top = kTop + (kPair - 2 * kBar) / 2;
  for (const PairedBars::Pair& pair : bars.pairs) {
    svg.text("who", {names + kBeside, top + kBar + 4}, fitted_text(pair.name, names, kNameSize));
    for (const auto& [kind, value, y] :
         {std::tuple("before", pair.before, top), std::tuple("bar", pair.now, top + kBar)}) {
      const double end = std::isnan(value) ? axis.scale.from : axis.scale.at(value);
      if (!std::isnan(value)) svg.box(kind, axis.scale.from, y, end, y + kBar - 1);
      svg.text("end", {end + kBeside, y + 10.5}, bars.figures.difference(value));
    }
    top += kPair;
  }
  svg.line("axis", {axis.scale.from, kTop}, {axis.scale.from, bottom});
  return svg.finish();
}

}  // namespace ordvane::page
