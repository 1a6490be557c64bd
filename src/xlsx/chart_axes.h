// The axes of a chart.
#pragma once

#include <cstdint>

#include "office/book.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

// Unique within a chart.
std::int32_t axis_id(host::AxisGroup group, host::AxisType type);
// Both axes of a group, which draws bars or points.
void axes(Xml& xml, const office::ChartModel& chart, host::AxisGroup group, bool bars);

}  // namespace ordvane::xlsx
