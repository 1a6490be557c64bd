// Writes the elements of a graph as SVG. What they look like stands in resources/page/graph.css, by the name
// of their kind; the same graph gives the same bytes. Lengths are pixels.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/excel.h"
#include "xlsx/xml.h"

namespace ordvane::page {

struct Spot {
  double x, y;
};

// From values to places.
struct Scale {
  double first = 0, last = 1;  // values
  double from = 0, to = 1;     // where they lie
  double at(double value) const { return from + (value - first) / (last - first) * (to - from); }
  // "first last from to", for scripts.
  std::string text() const;
};

// Sizes of texts; graph.css has the same ones.
inline constexpr double kTitleSize = 17, kNameSize = 13, kSmallSize = 11;

// Room that a text takes; the typefaces that are named are not everywhere, and their stand-ins are wider.
double text_width(std::string_view text, double size);
std::string fitted_text(const std::string& text, double width, double size);

struct SvgHead {
  double width, height;
  std::string id;           // of the graph in a page, unlike any other there; empty in a file of its own
  std::string title, text;  // for who cannot see it
};

class Svg {
 public:
  explicit Svg(const SvgHead& head);

  // A group of elements, with a name for scripts and styles; its attributes follow it.
  Svg& open(std::string_view kind);
  Svg& data(const char* name, std::string_view value);
  void close() { xml_.end(); }

  Svg& line(std::string_view kind, Spot from, Spot to);
  // Lines of one kind, each from one spot to the next of a pair.
  void lines(std::string_view kind, const std::vector<std::pair<Spot, Spot>>& all);
  void box(std::string_view kind, double left, double top, double right, double bottom);
  void dot(std::string_view kind, Spot center, double radius);
  void path(std::string_view kind, const std::vector<Spot>& spots);
  void dots(std::string_view kind, const std::vector<Spot>& centers);
  enum class Anchor : std::uint8_t { kStart, kMiddle, kEnd };
  // The text stands on `spot`. `other`: what scripts put in its place, see charts.h. Without a kind it looks
  // as its group says.
  void text(std::string_view kind, Spot spot, std::string_view text, Anchor anchor = Anchor::kStart,
            std::string_view other = {});

  // Ends the graph.
  std::string finish();

 private:
  void at(const char* name, double length);
  void start(const char* tag, std::string_view kind);

  std::string out_;
  xlsx::Xml xml_{out_};
};

// A colour of graphs and pages on light and on dark ground; 0xBBGGRR.
struct Color {
  std::string name;
  host::Color light, dark;
};
using Palette = std::vector<Color>;
// `bar`, `low`: of what input values above and below their base make.
Palette palette(host::Color bar, host::Color low);
// The colours as custom properties of CSS, for light and dark.
std::string properties(const Palette& palette);

// A graph as a file of its own, on light ground.
std::string svg_file(const std::string& svg, const Palette& palette);

}  // namespace ordvane::page
