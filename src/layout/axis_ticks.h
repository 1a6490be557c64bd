// The ticks of a value axis: round bounds and a round unit around the data, so few that the texts at the
// ticks stand apart, and a number format in which those texts differ.
#pragma once

#include <string>

#include "host/environment.h"

namespace ordvane::layout {

// What the texts at the ticks have of an axis, points.
struct AxisRoom {
  double length = 0;
  bool upright = false;  // the texts stand above one another
};

struct AxisTicks {
  double minimum = 0, maximum = 0, unit = 0;
  std::string format;  // of the texts; English codes
};

// Ticks for data from `low` to `high`, which the bounds contain. The unit is 1, 2 or 5 times a power of ten;
// of dates and times a whole number of what people count them in, and not less than the format shows. Bounds
// are multiples of the unit, so that zero is a tick wherever the axis spans it; those of dates lie on a
// Monday, or at the beginning of a month or a year. What is smaller than a part in 1e12 of the range is zero.
//
// `format`: of the item's values, English codes; "": General. The format of the texts is the same without the
// padding of accounting, where it shows the decimals of the unit; else it gets as many as the unit needs.
// Percentages and General get exactly as many.
AxisTicks axis_ticks(host::NumberService& numbers, double low, double high, const std::string& format,
                     const AxisRoom& room);

}  // namespace ordvane::layout
