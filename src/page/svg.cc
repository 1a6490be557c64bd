#include "page/svg.h"

#include <cmath>

#include "layout/look.h"
#include "layout/text_estimate.h"
#include "page/resources.h"
#include "text/numbers.h"

namespace ordvane::page {
namespace {

constexpr double kWidening = 1.13;  // of the typefaces that stand in
constexpr const char* kNamespace = "http://www.w3.org/2000/svg";

// To a tenth of a pixel.
std::string length_text(double length) {
  std::string text = text::fixed_number(length, 1);
  if (text.ends_with(".0")) text.resize(text.size() - 2);
  return text == "-0" ? "0" : text;
}

std::string spot_text(Spot spot) {
  return length_text(spot.x) + " " + length_text(spot.y);
}

std::string way_between(Spot from, Spot to) {
  const std::string begin = "M" + spot_text(from);
  if (from.y == to.y) return begin + "H" + length_text(to.x);
  return begin + (from.x == to.x ? "V" + length_text(to.y) : "L" + spot_text(to));
}

}  // namespace

std::string Scale::text() const {
  return text::shortest_number(first) + " " + text::shortest_number(last) + " " + length_text(from) + " " +
         length_text(to);
}

double text_width(std::string_view text, double size) {
  return layout::estimated_width(text, size) * kWidening;
}

std::string fitted_text(const std::string& text, double width, double size) {
  return layout::fitted_name(text, width / kWidening, size);
}

Svg::Svg(const SvgHead& head) {
  const std::string width = length_text(head.width), height = length_text(head.height);
  xml_.start("svg").attr("class", "graph").attr("viewBox", "0 0 " + width + " " + height).attr("role", "img");
  const std::string text = head.id + "-text";
  if (head.id.empty()) {
    xml_.leaf("title", head.title).leaf("desc", head.text);
    return;
  }
  // Browsers show a title over all of the graph, and would hide what is told of its parts.
  xml_.attr("aria-label", head.title);
  if (!head.text.empty())
    xml_.attr("aria-describedby", text).start("desc").attr("id", text).text(head.text).end();
}

Svg& Svg::open(std::string_view kind) {
  start("g", kind);
  return *this;
}

Svg& Svg::data(const char* name, std::string_view value) {
  xml_.attr(name, value);
  return *this;
}

void Svg::at(const char* name, double length) {
  xml_.attr(name, length_text(length));
}

void Svg::start(const char* tag, std::string_view kind) {
  xml_.start(tag);
  if (!kind.empty()) xml_.attr("class", kind);
}

Svg& Svg::line(std::string_view kind, Spot from, Spot to) {
  lines(kind, {{from, to}});
  return *this;
}

void Svg::box(std::string_view kind, double left, double top, double right, double bottom) {
  start("rect", kind);
  at("x", left);
  at("y", top);
  at("width", std::max(right - left, 0.0));
  at("height", std::max(bottom - top, 0.0));
  xml_.end();
}

void Svg::dot(std::string_view kind, Spot center, double radius) {
  start("circle", kind);
  at("cx", center.x);
  at("cy", center.y);
  at("r", radius);
  xml_.end();
}

void Svg::path(std::string_view kind, const std::vector<Spot>& spots) {
  start("path", kind);
  std::string way;
  for (const Spot& spot : spots) way += (way.empty() ? "M" : "L") + spot_text(spot);
  xml_.attr("d", way).end();
}

void Svg::lines(std::string_view kind, const std::vector<std::pair<Spot, Spot>>& all) {
  if (all.empty()) return;
  std::string way;
  for (const auto& [from, to] : all) way += way_between(from, to);
  start("path", kind);
  xml_.attr("d", way).end();
}

// Lines without a length, whose round ends are seen.
void Svg::dots(std::string_view kind, const std::vector<Spot>& centers) {
  std::string way;
  for (const Spot& center : centers)
    way += "M" + spot_text({std::round(center.x), std::round(center.y)}) + "h0";
  start("path", kind);
  xml_.attr("d", way).end();
}

void Svg::text(std::string_view kind, Spot spot, std::string_view text, Anchor anchor,
               std::string_view other) {
  start("text", kind);
  at("x", spot.x);
  at("y", spot.y);
  if (anchor != Anchor::kStart) xml_.attr("text-anchor", anchor == Anchor::kEnd ? "end" : "middle");
  if (!other.empty()) xml_.attr("data-other", other);
  xml_.text(text).end();
}

std::string Svg::finish() {
  xml_.end();
  return std::move(out_);
}

Palette palette(host::Color bar, host::Color low) {
  namespace look = layout::look;
  constexpr host::Color kUsualBar = 0x993333, kUsualLow = 0x009FE6;
  constexpr host::Color kBarOnDark = 0xFFA58F, kLowOnDark = 0x4DB8F5;
  return {{"paper", 0xFFFFFF, 0x1C1816},
          {"raised", 0xFBF8F6, 0x2A2320},
          {"text", look::kText, 0xF0ECEA},
          {"muted", 0x66605C, 0xB8AEA8},
          {"rule", 0xA8A29E, 0x746A64},
          {"grid", look::kGridline, 0x3C3430},
          {"accent", look::kAccent, 0xFFA58F},
          {"bar", bar, bar == kUsualBar ? kBarOnDark : bar},
          {"low", low, low == kUsualLow ? kLowOnDark : low},
          {"before", 0xA68E7A, 0x8A7E74},
          {"base", 0x262626, 0xF0ECEA},
          {"target", 0x5B18C2, 0x9E86FF},
          {"one", 0x993333, 0xFFA58F},
          {"two", 0x0070C8, 0x4DB8F5},
          {"three", 0x6B7D00, 0xB5C94A},
          {"four", 0x5B18C2, 0x9E86FF},
          {"five", 0x1F7A2E, 0x7BD08A},
          {"six", 0x8F2A8A, 0xF0A0E8},
          {"seven", 0x1B4F7F, 0x8FB8E0},
          {"eight", 0x4A4A4A, 0xC8C8C8}};
}

std::string properties(const Palette& palette) {
  std::string light = ":root{color-scheme:light dark", dark = ":root{";
  for (const Color& color : palette) {
    light += ";--" + color.name + ":#" + xlsx::hex_color(color.light);
    dark += "--" + color.name + ":#" + xlsx::hex_color(color.dark) + ";";
  }
  return light + "}\n@media screen and (prefers-color-scheme:dark){" + dark + "}}\n";
}

// Programs that draw SVG know no custom properties: the colours take their places.
std::string svg_file(const std::string& svg, const Palette& palette) {
  std::string style = kGraphStyle;
  for (const Color& color : palette) {
    const std::string property = "var(--" + color.name + ")";
    for (std::size_t at = 0; (at = style.find(property, at)) != std::string::npos;)
      style.replace(at, property.size(), "#" + xlsx::hex_color(color.light));
  }
  constexpr std::string_view kBegin = "<svg ", kBox = "viewBox=\"0 0 ";
  const std::size_t inside = svg.find('>') + 1, box = svg.find(kBox) + kBox.size();
  const std::size_t between = svg.find(' ', box), end = svg.find('"', box);
  const std::string size = "width=\"" + svg.substr(box, between - box) + "\" height=\"" +
                           svg.substr(between + 1, end - between - 1) + "\" ";
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"" + std::string(kNamespace) + "\" " +
         size + svg.substr(kBegin.size(), inside - kBegin.size()) + "<style>" + style +
         "</style><rect class=\"paper\" width=\"100%\" height=\"100%\"/>" + svg.substr(inside) + "\n";
}

}  // namespace ordvane::page
