// Texts at the ends of bars: where each has room. Knows no spreadsheet.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/excel.h"

namespace ordvane::layout {

// Values where a bar begins and ends; left is not above right.
struct BarEnds {
  double left = 0, right = 0;
};

// What a bar is drawn from: stacked parts, each a series, on the negative and the positive side of zero.
enum class BarPart : std::uint8_t {
  kLead,   // leads unseen from zero to the bar, as far as the value axis begins
  kReach,  // the rest of the lead
  kNegative,
  kPositive,
  kBeyondNegative,  // what a split leaves of the bar beyond kNegative and kPositive
  kBeyondPositive,
  kTailNegative,  // go on unseen from the bar to the ends of the axis
  kTailPositive,
};

struct BarLabels {
  std::string left, right;                        // empty: none
  host::Color left_on_bar = 0, right_on_bar = 0;  // colour of the text where it stands on the bar
};

// A bar, as far as texts at its ends go.
struct LabelledBar {
  std::optional<BarEnds> ends;
  bool is_point = false;  // seen although it has no length: one text, at the right if there is room
  BarLabels labels = {};
};

struct BarPlot {
  double minimum = 0, maximum = 0;   // of the value axis
  double width = 0, height = 0;      // points
  std::optional<double> base = {};   // where the axis of the names stands
  std::optional<double> split = {};  // the parts of a bar below and above it are series of their own
};

struct PlacedLabel {
  std::int32_t bar;  // from 1
  BarPart part;
  std::string text;
  host::Color color;
  host::LabelPosition position;
};

inline constexpr double kEndLabelSize = 7.5;  // points

// The texts that have room: beside the bar, or where the plot has none there, on the bar, whose parts have
// room for one each. One that has room in neither place, or would lie on the axis of the names, is left out;
// all are where the bars are too thin for texts.
std::vector<PlacedLabel> place_labels(const std::vector<LabelledBar>& bars, const BarPlot& plot);

}  // namespace ordvane::layout
