#include "xlsx/chart_axes.h"

#include <string>

#include "xlsx/chart_text.h"
#include "xlsx/drawing_text.h"

namespace ordvane::xlsx {
namespace {

using host::AxisGroup;
using host::AxisType;
using office::AxisModel;

constexpr std::int32_t kFirstAxisId = 111111100;
constexpr std::int32_t kVertical = -5400000;  // a quarter turn, in 60,000ths of a degree

struct AxisRole {
  AxisGroup group;
  AxisType type;
  bool bars;
  // The axis of bars' categories, and of points' y values, stands upright.
  bool upright() const { return bars == (type == AxisType::kCategory); }
  bool primary() const { return group == AxisGroup::kPrimary; }
};

AxisType other(AxisType type) {
  return type == AxisType::kCategory ? AxisType::kValue : AxisType::kCategory;
}

const AxisModel& model(const office::ChartModel& chart, AxisGroup group, AxisType type) {
  return chart.axes[static_cast<std::size_t>(group) - 1][static_cast<std::size_t>(type) - 1];
}

// The axis as it is drawn. A secondary axis that is not shown is drawn without line, marks and labels rather
// than deleted: the series of a deleted one would be measured on the primary axis.
AxisModel drawn(const AxisModel& axis, const AxisRole& role) {
  AxisModel result = axis;
  if (axis.present || role.primary()) return result;
  result.present = true;
  result.line = office::LineProps{host::kXlNone, 0, {}};
  result.major_tick_mark = result.minor_tick_mark = host::kXlNone;
  result.tick_labels = host::TickLabelPosition::kNone;
  result.major_gridlines = false;
  result.title.clear();
  return result;
}

const char* position(const AxisRole& role) {
  if (role.upright()) return role.primary() ? "l" : "r";
  return role.primary() ? "b" : "t";
}

const char* tick_mark(std::int32_t mark) {
  switch (mark) {
    case 2:
      return "in";
    case 3:
      return "out";
    case 4:
      return "cross";
    default:
      return "none";
  }
}

const char* label_place(host::TickLabelPosition place) {
  switch (place) {
    case host::TickLabelPosition::kLow:
      return "low";
    case host::TickLabelPosition::kHigh:
      return "high";
    case host::TickLabelPosition::kNone:
      return "none";
    case host::TickLabelPosition::kNextToAxis:
      break;
  }
  return "nextTo";
}

void scaling(Xml& xml, const AxisModel& axis, bool categories) {
  xml.start("c:scaling").val("c:orientation", axis.reversed ? "maxMin" : "minMax");
  if (!categories && axis.maximum) xml.val("c:max", *axis.maximum);
  if (!categories && axis.minimum) xml.val("c:min", *axis.minimum);
  xml.end();
}

void gridlines(Xml& xml, const AxisModel& axis) {
  if (!axis.major_gridlines) return;
  xml.start("c:majorGridlines");
  shape_properties(xml, nullptr, &axis.gridline);
  xml.end();
}

void number_format(Xml& xml, const AxisModel& axis) {
  xml.start("c:numFmt").attr("formatCode", axis.number_format.value_or("General"));
  xml.attr("sourceLinked", !axis.number_format).end();
}

// Where this axis stands on the other one of its group, which is where the other one has it cross.
void crossing(Xml& xml, const AxisModel& across, const AxisRole& role) {
  if (across.crosses_maximum) {
    xml.val("c:crosses", "max");
  } else if (across.crosses_at) {
    xml.val("c:crossesAt", *across.crosses_at);
  } else {
    xml.val("c:crosses", role.primary() ? "autoZero" : "max");
  }
}

void shared(Xml& xml, const office::ChartModel& chart, const AxisModel& axis, const AxisRole& role,
            bool categories) {
  xml.val("c:axId", axis_id(role.group, role.type));
  scaling(xml, axis, categories);
  xml.val("c:delete", !axis.present).val("c:axPos", position(role));
  gridlines(xml, axis);
  if (!axis.title.empty()) axis_title(xml, axis.title, axis.title_font, role.upright() ? kVertical : 0);
  number_format(xml, axis);
  xml.val("c:majorTickMark", tick_mark(axis.major_tick_mark))
      .val("c:minorTickMark", tick_mark(axis.minor_tick_mark));
  xml.val("c:tickLblPos", label_place(axis.tick_labels));
  shape_properties(xml, nullptr, axis.line ? &*axis.line : nullptr);
  if (!is_plain(axis.label_font)) text_properties(xml, axis.label_font);
  xml.val("c:crossAx", axis_id(role.group, other(role.type)));
  crossing(xml, model(chart, role.group, other(role.type)), role);
}

void category_axis(Xml& xml, const office::ChartModel& chart, const AxisModel& axis, const AxisRole& role) {
  xml.start("c:catAx");
  shared(xml, chart, axis, role, true);
  xml.val("c:auto", false).val("c:lblAlgn", "ctr").val("c:lblOffset", 100);
  xml.val("c:tickLblSkip", 1).val("c:noMultiLvlLbl", false);
  xml.end();
}

void value_axis(Xml& xml, const office::ChartModel& chart, const AxisModel& axis, const AxisRole& role) {
  xml.start("c:valAx");
  shared(xml, chart, axis, role, false);
  xml.val("c:crossBetween", role.bars ? "between" : "midCat");
  if (axis.major_unit && *axis.major_unit > 0) xml.val("c:majorUnit", *axis.major_unit);
  xml.end();
}

}  // namespace

std::int32_t axis_id(AxisGroup group, AxisType type) {
  return kFirstAxisId + 10 * static_cast<std::int32_t>(group) + static_cast<std::int32_t>(type);
}

void axes(Xml& xml, const office::ChartModel& chart, AxisGroup group, bool bars) {
  for (const AxisType type : {AxisType::kCategory, AxisType::kValue}) {
    const AxisRole role{group, type, bars};
    const AxisModel axis = drawn(model(chart, group, type), role);
    if (bars && type == AxisType::kCategory) {
      category_axis(xml, chart, axis, role);
    } else {
      value_axis(xml, chart, axis, role);
    }
  }
}

}  // namespace ordvane::xlsx
