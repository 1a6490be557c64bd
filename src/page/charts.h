// The graphs of one output, drawn from the run's rankings and steps. Axes are those of the report sheets.
//
// Pages switch graphs between values and changes: what differs is in groups "v" and "p", of which one is
// seen. Scripts find scales in the attribute data-x or data-y (Scale::text()) and inputs in data-input, their
// places in Run::inputs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "page/svg.h"
#include "page/views.h"

namespace ordvane::page {

// Values as they are, changes in parts of the base value, or both, for pages.
enum class Shown : std::uint8_t { kValues, kChanges, kBoth };

struct GraphLook {
  Shown shown = Shown::kBoth;
  bool titled = false;  // the title stands in the graph
  std::string id;       // begins the names of its elements, which no other graph of a page has
};

// An axis with its ticks. `level`: the texts stand below one another.
struct Axis {
  Scale scale;
  struct Tick {
    double value;
    std::string text;
  };
  std::vector<Tick> ticks;
};
// `format`: of values, English codes.
Axis axis_around(const Views& views, double low, double high, const std::string& format, double from,
                 double to);

// The colours of the tornado, and all others.
Palette palette_of(const embedded::ReportOptions& options);

// Each "" where the output has no input to draw.
std::string tornado(const Views& views, const View& view, const GraphLook& look);
std::string spider(const Views& views, const View& view, const GraphLook& look);
// The steps of one input.
std::string sensitivity_panel(const Views& views, const View& view, const embedded::Effect& effect,
                              const GraphLook& look);
// All of them.
std::string sensitivity(const Views& views, const View& view, const GraphLook& look);

}  // namespace ordvane::page
