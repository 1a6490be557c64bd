// The graphs of one output, drawn from the run's rankings and steps. Axes are those of the report sheets.
//
// Scripts switch graphs of pages between values and changes: of the groups "v" and "p" one is seen, and what
// stands in data-other takes the place of a text, or of the texts of a group, between "|". Scripts find
// scales in data-x and data-y (Scale::text()), and inputs in data-input, their places in Run::inputs.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "page/svg.h"
#include "page/views.h"

namespace ordvane::page {

struct GraphLook {
  bool in_page = false;  // scripts find what they switch; else the title stands in the graph
  std::string id;        // of the graph in a page
  // What stands at the ends of a tornado's bars; none: results there, and below the names what the inputs
  // were set to.
  std::optional<reports::BarLabels> labels = {};
};

// An axis with its ticks.
struct Axis {
  Scale scale;
  struct Tick {
    double value;
    std::string text;
  };
  std::vector<Tick> ticks;
};
// `format`: of values, English codes.
Axis axis_around(host::NumberService& numbers, const environment::Language& language, double low, double high,
                 const std::string& format, double from, double to);

// The colours of the tornado, and all others.
Palette palette_of(const embedded::ReportOptions& options);

// Each "" where the output has no input to draw.
std::string tornado(const Views& views, const View& view, const GraphLook& look);
std::string spider(const Views& views, const View& view, const GraphLook& look);
// The steps of one input.
std::string sensitivity_panel(const Views& views, const View& view, const embedded::Effect& effect,
                              const GraphLook& look);
// Two bars for each of several names: what it was and what it is.
struct PairedBars {
  struct Pair {
    std::string name;
    double before, now;  // NaN for none
  };
  std::string title, text;            // for who cannot see it
  std::string before_name, now_name;  // of the bars
  std::vector<Pair> pairs;
  const Figures& figures;  // of which these are differences
};
std::string paired_bars(const PairedBars& bars, host::NumberService& numbers,
                        const environment::Language& language, const std::string& id);

// All of them.
std::string sensitivity(const Views& views, const View& view, const GraphLook& look);

}  // namespace ordvane::page
