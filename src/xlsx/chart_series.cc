#include "xlsx/chart_series.h"

#include <algorithm>
#include <string>

#include "xlsx/chart_data.h"
#include "xlsx/drawing_text.h"

namespace ordvane::xlsx {
namespace {

using office::LineProps;
using office::SeriesModel;

const LineProps kNoLine{host::kXlNone, 0, {}};

const char* symbol(std::int32_t style) {
  switch (static_cast<host::MarkerStyle>(style)) {
    case host::MarkerStyle::kNone:
      return "none";
    case host::MarkerStyle::kSquare:
      return "square";
    case host::MarkerStyle::kDiamond:
      return "diamond";
    case host::MarkerStyle::kTriangle:
      return "triangle";
    case host::MarkerStyle::kX:
      return "x";
    case host::MarkerStyle::kStar:
      return "star";
    case host::MarkerStyle::kCircle:
      return "circle";
    case host::MarkerStyle::kPlus:
      return "plus";
    case host::MarkerStyle::kAutomatic:
      break;
  }
  return "";
}

void marker_colors(Xml& xml, const office::MarkerProps& marker) {
  if (!marker.foreground && !marker.background) return;
  xml.start("c:spPr");
  if (marker.background) solid_fill(xml, *marker.background);
  if (marker.foreground) line(xml, {1, 0.75, marker.foreground});
  xml.end();
}

void marker_element(Xml& xml, const office::MarkerProps& marker) {
  const std::string name = symbol(marker.style);
  xml.start("c:marker");
  if (!name.empty()) xml.val("c:symbol", name);
  if (name != "none") {
    xml.val("c:size", std::clamp(marker.size, 2, 72));
    marker_colors(xml, marker);
  }
  xml.end();
}

void series_marker(Xml& xml, const SeriesModel& series) {
  if (series.marker) {
    marker_element(xml, *series.marker);
  } else if (series.kind == host::ChartKind::kXYScatterLinesNoMarkers) {
    marker_element(xml, {host::kXlNone, 0, {}, {}});
  }
}

void head(Xml& xml, const SeriesModel& series, std::size_t position) {
  xml.val("c:idx", position).val("c:order", position);
  if (!series.name.empty()) xml.start("c:tx").start("c:v").text(series.name, Escape::kXstring).end().end();
}

// The line between points: none for a series of markers alone, unless it was given one.
const LineProps* line_of(const SeriesModel& series) {
  if (series.line) return &*series.line;
  return series.kind == host::ChartKind::kXYScatter ? &kNoLine : nullptr;
}

// A point that differs from its series. It repeats the series' line, which it would lose otherwise.
void points(Xml& xml, const SeriesModel& series) {
  for (const auto& [number, point] : series.points) {
    if (!point.marker) continue;
    xml.start("c:dPt").val("c:idx", number - 1);
    marker_element(xml, *point.marker);
    xml.val("c:bubble3D", false);
    shape_properties(xml, nullptr, line_of(series));
    xml.end();
  }
}

// Bars of their own colour.
void bar_points(Xml& xml, const SeriesModel& series) {
  for (const auto& [number, point] : series.points) {
    if (!point.fill) continue;
    xml.start("c:dPt").val("c:idx", number - 1).val("c:invertIfNegative", false).val("c:bubble3D", false);
    shape_properties(xml, &*point.fill, series.line ? &*series.line : nullptr);
    xml.end();
  }
}

// Bars know other places than points, and an unknown one makes the file unreadable.
const char* label_position(std::int32_t position, bool bar) {
  switch (static_cast<host::LabelPosition>(position)) {
    case host::LabelPosition::kCenter:
      return "ctr";
    case host::LabelPosition::kAbove:
      return bar ? "" : "t";
    case host::LabelPosition::kBelow:
      return bar ? "" : "b";
    case host::LabelPosition::kLeft:
      return bar ? "" : "l";
    case host::LabelPosition::kRight:
      return bar ? "" : "r";
    case host::LabelPosition::kInsideEnd:
      return bar ? "inEnd" : "";
    case host::LabelPosition::kInsideBase:
      return bar ? "inBase" : "";
  }
  return "";
}

void shown_parts(Xml& xml, bool legend_key, bool value) {
  xml.val("c:showLegendKey", legend_key).val("c:showVal", value).val("c:showCatName", false);
  xml.val("c:showSerName", false).val("c:showPercent", false).val("c:showBubbleSize", false);
}

void label_text(Xml& xml, const office::DataLabelModel& label) {
  xml.start("c:tx").start("c:rich").empty("a:bodyPr").empty("a:lstStyle");
  paragraphs(xml, {{*label.text, {}}}, label.font);
  xml.end().end();
}

void label_element(Xml& xml, std::int32_t number, const office::DataLabelModel& label, bool bar) {
  xml.start("c:dLbl").val("c:idx", number - 1);
  if (label.text) label_text(xml, label);
  shape_properties(xml, label.fill ? &*label.fill : nullptr, label.border ? &*label.border : nullptr);
  if (!label.text && !is_plain(label.font)) text_properties(xml, label.font);
  const std::string place = label.position ? label_position(*label.position, bar) : "";
  if (!place.empty()) xml.val("c:dLblPos", place);
  shown_parts(xml, label.legend_key, true);
  xml.end();
}

void labels(Xml& xml, const SeriesModel& series, bool bar) {
  const bool any = std::any_of(series.points.begin(), series.points.end(),
                               [](const auto& entry) { return entry.second.label.has_value(); });
  if (!any) return;
  xml.start("c:dLbls");
  for (const auto& [number, point] : series.points)
    if (point.label) label_element(xml, number, *point.label, bar);
  shown_parts(xml, false, false);
  xml.end();
}

}  // namespace

void bar_series(Xml& xml, const SheetsByName& sheets, const SeriesModel& series, std::size_t position) {
  xml.start("c:ser");
  head(xml, series, position);
  shape_properties(xml, series.fill ? &*series.fill : nullptr, series.line ? &*series.line : nullptr);
  xml.val("c:invertIfNegative", false);
  bar_points(xml, series);
  labels(xml, series, true);
  category_source(xml, "c:cat", sheets, series.x_values);
  number_source(xml, "c:val", sheets, series.values);
  xml.end();
}

void scatter_series(Xml& xml, const SheetsByName& sheets, const SeriesModel& series, std::size_t position) {
  xml.start("c:ser");
  head(xml, series, position);
  shape_properties(xml, nullptr, line_of(series));
  series_marker(xml, series);
  points(xml, series);
  labels(xml, series, false);
  number_source(xml, "c:xVal", sheets, series.x_values);
  number_source(xml, "c:yVal", sheets, series.values);
  xml.val("c:smooth", false);
  xml.end();
}

}  // namespace ordvane::xlsx
