// Graphs of every step: the spider with a line an input, and a panel an input.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "model/number_rules.h"
#include "page/charts.h"
#include "text/numbers.h"

namespace ordvane::page {
namespace {

using Anchor = Svg::Anchor;

constexpr double kEdge = 2;

struct Extent {
  double low = HUGE_VAL, high = -HUGE_VAL;
  void add(double value) {
    low = std::min(low, value);
    high = std::max(high, value);
  }
};

using Curve = std::vector<Spot>;  // in values, by x

Curve sorted(Curve curve) {
  std::stable_sort(curve.begin(), curve.end(), [](Spot a, Spot b) { return a.x < b.x; });
  return curve;
}

double change(double value, double base) {
  return number_or_nan(model::NumberRules().fractional_change(value, base));
}

// A step without a number is a gap in the line.
struct Pieces {
  std::vector<Curve> curves;
  Extent x, y;
};

template <class Value>
Pieces pieces_of(const std::vector<Point>& points, const Value& spot_of) {
  Curve all;
  for (const Point& point : points)
    if (!std::isnan(point.input)) all.push_back(spot_of(point));
  Pieces pieces{.curves = {{}}, .x = {}, .y = {}};
  for (const Spot& spot : sorted(std::move(all))) {
    if (std::isnan(spot.x) || std::isnan(spot.y)) {
      if (!pieces.curves.back().empty()) pieces.curves.emplace_back();
      continue;
    }
    pieces.curves.back().push_back(spot);
    pieces.x.add(spot.x);
    pieces.y.add(spot.y);
  }
  if (pieces.curves.back().empty()) pieces.curves.pop_back();
  return pieces;
}

void draw_curves(Svg& svg, const std::string& kind, const Pieces& pieces, const Axis& x, const Axis& y) {
  for (const Curve& curve : pieces.curves) {
    Curve drawn;
    for (const Spot& spot : curve) drawn.push_back({x.scale.at(spot.x), y.scale.at(spot.y)});
    svg.path(kind, drawn);
  }
}

// ---- Spider ----

class Spider {
 public:
  Spider(const Views& views, const View& view, const GraphLook& look)
      : views_(views), view_(view), look_(look) {}

  std::string draw() {
    find_lines();
    if (lines_.empty()) return {};
    lay_out();
    const session::Session& texts = views_.texts();
    const std::string title = texts.text(text_id::kSpiderChartTitle, view_.name);
    Svg svg({kWidth, bottom_ + 42, look_.id, title, texts.text(text_id::kSpiderDrawn)});
    if (!look_.in_page) svg.text("title", {kEdge, 20}, title);
    draw_axes(svg);
    // The strongest lie on top.
    for (auto line = lines_.rbegin(); line != lines_.rend(); ++line) draw_line(svg, *line);
    return svg.finish();
  }

 private:
  static constexpr double kWidth = 900, kHeight = 430, kNameLine = 17, kSwatch = 30;
  static constexpr std::size_t kColors = 8;

  struct Line {
    const embedded::Effect* effect;
    Pieces pieces;
    std::string kind;
    double name_at = 0;  // y of the name
  };

  void find_lines() {
    for (const embedded::Effect* effect : view_.on_graphs) {
      const double base = views_.input_of(*effect).base;
      Pieces pieces = pieces_of(views_.points(view_, *effect), [&](const Point& point) {
        return Spot{change(point.input, base), view_.change(point.output)};
      });
      if (pieces.curves.empty()) continue;
      const std::size_t number = lines_.size();
      lines_.push_back(
          {effect, std::move(pieces),
           "curve s" + std::to_string(number % kColors + 1) + " d" + std::to_string(number / kColors)});
    }
  }

  void lay_out() {
    Extent x, y;
    double names = 0;
    for (const Line& line : lines_) {
      for (const double value : {line.pieces.x.low, line.pieces.x.high}) x.add(value);
      for (const double value : {line.pieces.y.low, line.pieces.y.high}) y.add(value);
      names = std::max(names, text_width(views_.input_of(*line.effect).name, kNameSize));
    }
    names_ = std::min(names, 240.0);
    top_ = look_.in_page ? 14 : 44;
    bottom_ = top_ + std::max(kHeight, kNameLine * static_cast<double>(lines_.size()));
    y_ = axis_around(views_.numbers(), views_.language(), y.low, y.high, "0%", bottom_, top_);
    double ticks = 0;
    for (const Axis::Tick& tick : y_.ticks) ticks = std::max(ticks, text_width(tick.text, kSmallSize));
    x_ = axis_around(views_.numbers(), views_.language(), x.low, x.high, "0%", ticks + 30,
                     kWidth - names_ - kSwatch - 28);
    for (std::size_t i = 0; i < lines_.size(); ++i)
      lines_[i].name_at = top_ + kNameLine * (static_cast<double>(i) + 0.5);
  }

  void draw_axes(Svg& svg) const {
    const session::Session& texts = views_.texts();
    for (const Axis::Tick& tick : y_.ticks) {
      const double y = y_.scale.at(tick.value);
      svg.line(tick.value == 0 ? "axis" : "grid", {x_.scale.from, y}, {x_.scale.to, y});
      svg.text("tick", {x_.scale.from - 6, y + 4}, tick.text, Anchor::kEnd);
    }
    for (const Axis::Tick& tick : x_.ticks) {
      const double x = x_.scale.at(tick.value);
      svg.line(tick.value == 0 ? "axis" : "grid", {x, top_}, {x, bottom_});
      svg.text("tick", {x, bottom_ + 15}, tick.text, Anchor::kMiddle);
    }
    svg.text("small", {(x_.scale.from + x_.scale.to) / 2, bottom_ + 33}, texts.text(text_id::kSpiderXAxis),
             Anchor::kMiddle);
    const double middle = (top_ + bottom_) / 2;
    svg.open("upright").data("transform", "rotate(-90 12 " + text::fixed_number(middle, 0) + ")");
    svg.text("small", {12, middle}, texts.text(text_id::kSpiderYAxis), Anchor::kMiddle);
    svg.close();
  }

  void draw_line(Svg& svg, const Line& line) const {
    svg.open("row").data("data-input", std::to_string(line.effect->input_index));
    draw_curves(svg, line.kind, line.pieces, x_, y_);
    if (line.pieces.x.low == line.pieces.x.high) {
      const Spot only = line.pieces.curves.front().front();
      svg.dots("points", {{x_.scale.at(only.x), y_.scale.at(only.y)}});
    }
    const double left = x_.scale.to + 18;
    svg.line(line.kind, {left, line.name_at}, {left + kSwatch, line.name_at});
    svg.text("name", {left + kSwatch + 8, line.name_at + 4},
             fitted_text(views_.input_of(*line.effect).name, names_, kNameSize));
    svg.close();
  }

  const Views& views_;
  const View& view_;
  const GraphLook& look_;
  std::vector<Line> lines_;
  double names_ = 0, top_ = 0, bottom_ = 0;
  Axis x_, y_;
};

// ---- Panels ----

constexpr double kPanelWidth = 290, kPanelHeight = 210, kBetweenPanels = 14;

class Panel {
 public:
  Panel(const Views& views, const View& view, const embedded::Effect& effect, const GraphLook& look)
      : views_(views), view_(view), effect_(effect), look_(look), input_(views.input_of(effect)) {}

  std::string title() const { return views_.texts().text(text_id::kSensitivityChartTitle, input_.name); }

  bool draw(Svg& svg, Spot corner) {
    const Pieces values = pieces_of(views_.points(view_, effect_), [](const Point& point) {
      return Spot{point.input, point.output};
    });
    if (values.curves.empty()) return false;
    corner_ = corner;
    svg.text("panel", {corner.x + kEdge, corner.y + 14},
             fitted_text(input_.name, kPanelWidth - 4, kNameSize));
    lay_out(values);
    svg.open("plot").data("data-input", std::to_string(effect_.input_index));
    svg.data("data-x", x_.scale.text()).data("data-y", y_.scale.text());
    draw_ticks(svg);
    draw_curves(svg, "curve s1", values, x_, y_);
    std::vector<Spot> points;
    for (const Curve& curve : values.curves)
      for (const Spot& spot : curve) points.push_back({x_.scale.at(spot.x), y_.scale.at(spot.y)});
    svg.dots("points", points);
    draw_target(svg);
    svg.close();
    return true;
  }

 private:
  void lay_out(Pieces values) {
    if (!std::isnan(view_.base)) values.y.add(view_.base);
    if (!std::isnan(input_.base)) values.x.add(input_.base);
    const double bottom = corner_.y + kPanelHeight - 22, top = corner_.y + 26;
    y_ = axis_around(views_.numbers(), views_.language(), values.y.low, values.y.high, view_.figures.code(),
                     bottom, top);
    double ticks = 0;
    for (const Axis::Tick& tick : y_.ticks) ticks = std::max(ticks, text_width(tick.text, kSmallSize));
    x_ = axis_around(views_.numbers(), views_.language(), values.x.low, values.x.high, input_.figures.code(),
                     std::ceil(corner_.x + ticks + 8), corner_.x + kPanelWidth - 22);
  }

  void draw_ticks(Svg& svg) const {
    const double bottom = y_.scale.from, top = y_.scale.to, left = x_.scale.from, right = x_.scale.to;
    const std::vector<Axis::Tick> levels = levels_shown();
    std::vector<std::pair<Spot, Spot>> grid, base;
    for (const Axis::Tick& tick : levels)
      grid.push_back({{left, y_.scale.at(tick.value)}, {right, y_.scale.at(tick.value)}});
    svg.lines("grid", grid);
    draw_levels(svg, levels);
    svg.open("tick").data("text-anchor", "middle");
    for (const Axis::Tick& tick : x_.ticks)
      svg.text("", {std::round(x_.scale.at(tick.value)), bottom + 18}, tick.text);
    svg.close();
    if (!std::isnan(view_.base))
      base.push_back({{left, y_.scale.at(view_.base)}, {right, y_.scale.at(view_.base)}});
    if (!std::isnan(input_.base))
      base.push_back({{x_.scale.at(input_.base), top}, {x_.scale.at(input_.base), bottom}});
    svg.lines("atbase", base);
  }

  // As many ticks of the upright axis as are no crowd.
  std::vector<Axis::Tick> levels_shown() const {
    constexpr double kBetween = 34;
    const double most = std::max(std::floor((y_.scale.from - y_.scale.to) / kBetween), 1.0);
    const auto every = static_cast<std::size_t>(std::ceil(static_cast<double>(y_.ticks.size()) / most));
    std::vector<Axis::Tick> shown;
    for (std::size_t i = 0; i < y_.ticks.size(); i += every) shown.push_back(y_.ticks[i]);
    return shown;
  }

  void draw_levels(Svg& svg, const std::vector<Axis::Tick>& levels) const {
    const bool in_changes = views_.options().percent && view_.has_changes();
    std::vector<std::string> texts;
    std::string other;
    for (const Axis::Tick& tick : levels) {
      const std::string change = change_text(view_.change(tick.value), views_.language());
      texts.push_back(in_changes ? change : tick.text);
      other += (other.empty() ? "" : "|") + (in_changes ? tick.text : change);
    }
    svg.open("tick").data("text-anchor", "end");
    if (look_.in_page && view_.has_changes()) svg.data("data-other", other);
    for (std::size_t i = 0; i < levels.size(); ++i)
      svg.text("", {x_.scale.from - 5, std::round(y_.scale.at(levels[i].value)) + 4}, texts[i]);
    svg.close();
  }

  // The target of the output, and where the input brings it there.
  void draw_target(Svg& svg) const {
    const double target = view_.ranking.answers.target;
    const auto& crossings = view_.answers(effect_).break_even.reached;
    if (crossings.empty()) return;
    const double y = y_.scale.at(target), middle = (x_.scale.from + x_.scale.to) / 2;
    svg.open("aims").line("target", {x_.scale.from, y}, {x_.scale.to, y});
    for (const model::Crossing& crossing : crossings) {
      constexpr double kRadius = 4, kBeside = 7;
      const double x = x_.scale.at(crossing.input);
      svg.dot("mark", {x, y}, kRadius);
      svg.text("aim", {x > middle ? x - kBeside : x + kBeside, y - 6}, input_.figures.text(crossing.input),
               x > middle ? Anchor::kEnd : Anchor::kStart);
    }
    svg.close();
  }

  const Views& views_;
  const View& view_;
  const embedded::Effect& effect_;
  const GraphLook& look_;
  const InputFacts& input_;
  Spot corner_ = {};
  Axis x_, y_;
};

}  // namespace

std::string spider(const Views& views, const View& view, const GraphLook& look) {
  return view.has_changes() ? Spider(views, view, look).draw() : "";
}

std::string sensitivity_panel(const Views& views, const View& view, const embedded::Effect& effect,
                              const GraphLook& look) {
  Panel panel(views, view, effect, look);
  Svg svg({kPanelWidth, kPanelHeight, look.id, panel.title(), ""});
  return panel.draw(svg, {0, 0}) ? svg.finish() : "";
}

std::string sensitivity(const Views& views, const View& view, const GraphLook& look) {
  constexpr std::size_t kColumns = 3;
  constexpr double kTop = 36;
  const std::size_t rows = (view.on_graphs.size() + kColumns - 1) / kColumns;
  const std::string title = views.texts().text(text_id::kSensitivityTitle) + ": " + view.name;
  Svg svg({kColumns * (kPanelWidth + kBetweenPanels),
           kTop + static_cast<double>(rows) * (kPanelHeight + kBetweenPanels), look.id, title,
           views.texts().text(text_id::kSensitivityDrawn)});
  svg.text("title", {kEdge, 20}, title);
  std::size_t drawn = 0;
  for (const embedded::Effect* effect : view.on_graphs) {
    const Spot corner{static_cast<double>(drawn % kColumns) * (kPanelWidth + kBetweenPanels),
                      kTop + static_cast<double>(drawn / kColumns) * (kPanelHeight + kBetweenPanels)};
    if (Panel(views, view, *effect, look).draw(svg, corner)) ++drawn;
  }
  return drawn > 0 ? svg.finish() : "";
}

}  // namespace ordvane::page
