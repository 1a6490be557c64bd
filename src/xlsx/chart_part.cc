// xl/charts/chartN.xml: one chart, with bars and points together where its series say so.
#include <algorithm>
#include <vector>

#include "xlsx/chart_axes.h"
#include "xlsx/chart_series.h"
#include "xlsx/chart_text.h"
#include "xlsx/drawing_text.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using host::AxisGroup;
using host::AxisType;
using office::ChartModel;

constexpr double kPlotMargin = 8;  // points, of a plot area that was moved down
constexpr host::Color kOutline = 0xC8C8C8;

// Series that are drawn alike on the same axes.
struct PlotGroup {
  bool bars;
  AxisGroup axes;
  std::vector<std::size_t> series;
};

bool has_primary_bars(const ChartModel& chart) {
  return std::any_of(chart.series.begin(), chart.series.end(), [](const auto& series) {
    return is_bar(series->kind) && series->group == AxisGroup::kPrimary;
  });
}

// Points cannot share the axes of bars: beside primary bars they are on the secondary axes.
AxisGroup axes_of(const office::SeriesModel& series, bool beside_bars) {
  return beside_bars && !is_bar(series.kind) ? AxisGroup::kSecondary : series.group;
}

// Never empty: a chart without series still has its axes. Primary ones come first.
std::vector<PlotGroup> plot_groups(const ChartModel& chart) {
  const bool beside_bars = has_primary_bars(chart);
  std::vector<PlotGroup> groups;
  for (const AxisGroup group : {AxisGroup::kPrimary, AxisGroup::kSecondary}) {
    for (const bool bars : {true, false}) {
      PlotGroup plot{bars, group, {}};
      for (std::size_t i = 0; i < chart.series.size(); ++i)
        if (is_bar(chart.series[i]->kind) == bars && axes_of(*chart.series[i], beside_bars) == group)
          plot.series.push_back(i);
      if (!plot.series.empty()) groups.push_back(plot);
    }
  }
  if (groups.empty()) groups.push_back({is_bar(chart.kind), AxisGroup::kPrimary, {}});
  return groups;
}

void axis_ids(Xml& xml, AxisGroup group) {
  xml.val("c:axId", axis_id(group, AxisType::kCategory)).val("c:axId", axis_id(group, AxisType::kValue));
}

void bar_plot(Xml& xml, const SheetsByName& sheets, const ChartModel& chart, const PlotGroup& plot) {
  const bool beside = chart.series[plot.series.front()]->kind == host::ChartKind::kBarClustered;
  xml.start("c:barChart")
      .val("c:barDir", "bar")
      .val("c:grouping", beside ? "clustered" : "stacked")
      .val("c:varyColors", false);
  for (const std::size_t i : plot.series) bar_series(xml, sheets, *chart.series[i], i);
  xml.val("c:gapWidth", std::clamp(chart.gap_width, 0, 500))
      .val("c:overlap", std::clamp(chart.overlap, -100, 100));
  axis_ids(xml, plot.axes);
  xml.end();
}

void scatter_plot(Xml& xml, const SheetsByName& sheets, const ChartModel& chart, const PlotGroup& plot) {
  xml.start("c:scatterChart").val("c:scatterStyle", "lineMarker").val("c:varyColors", false);
  for (const std::size_t i : plot.series) scatter_series(xml, sheets, *chart.series[i], i);
  axis_ids(xml, plot.axes);
  xml.end();
}

void plot_layout(Xml& xml, const ChartModel& chart) {
  if (chart.plot.inside) {
    const auto& inside = *chart.plot.inside;
    manual_layout(xml, chart, {inside.left, inside.top, inside.width, inside.height}, true, true);
  } else if (chart.plot.top) {
    const double top = *chart.plot.top;
    manual_layout(xml, chart,
                  {kPlotMargin, top, chart.width - 2 * kPlotMargin, chart.height - top - kPlotMargin}, true,
                  false);
  } else {
    xml.empty("c:layout");
  }
}

void plot_area(Xml& xml, const SheetsByName& sheets, const ChartModel& chart) {
  const std::vector<PlotGroup> groups = plot_groups(chart);
  xml.start("c:plotArea");
  plot_layout(xml, chart);
  for (const PlotGroup& plot : groups) (plot.bars ? bar_plot : scatter_plot)(xml, sheets, chart, plot);
  for (std::size_t i = 0; i < groups.size(); ++i)
    if (i == 0 || groups[i].axes != groups[i - 1].axes) axes(xml, chart, groups[i].axes, groups[i].bars);
  shape_properties(xml, chart.plot.fill ? &*chart.plot.fill : nullptr,
                   chart.plot.border ? &*chart.plot.border : nullptr);
  xml.end();
}

const char* legend_place(host::LegendPosition position) {
  switch (position) {
    case host::LegendPosition::kBottom:
      return "b";
    case host::LegendPosition::kTop:
      return "t";
    case host::LegendPosition::kLeft:
      return "l";
    case host::LegendPosition::kRight:
      break;
  }
  return "r";
}

void legend(Xml& xml, const ChartModel& chart) {
  if (!chart.has_legend) return;
  xml.start("c:legend").val("c:legendPos", legend_place(chart.legend_position)).val("c:overlay", false);
  if (!is_plain(chart.legend_font)) text_properties(xml, chart.legend_font);
  xml.end();
}

const char* blank_cells(host::BlankCells shown) {
  switch (shown) {
    case host::BlankCells::kZero:
      return "zero";
    case host::BlankCells::kInterpolated:
      return "span";
    case host::BlankCells::kNotPlotted:
      break;
  }
  return "gap";
}

void chart_area(Xml& xml, const ChartModel& chart) {
  xml.start("c:spPr");
  if (chart.area_fill.none || chart.area_fill.color) {
    fill(xml, chart.area_fill);
  } else {
    xml.start("a:solidFill").val("a:schemeClr", "bg1").end();
  }
  const std::int32_t style = chart.area_line_width > 0 ? 1 : host::kXlNone;
  line(xml, {style, chart.area_line_width, kOutline});
  xml.end();
}

}  // namespace

std::string chart_part(const SheetsByName& sheets, const ChartModel& chart, const std::string& user_shapes) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("c:chartSpace");
  xml.attr("xmlns:c", kChartSpace).attr("xmlns:a", kDrawingSpace).attr("xmlns:r", kReferenceSpace);
  xml.val("c:date1904", false).val("c:roundedCorners", false);
  xml.start("c:chart");
  chart_title(xml, chart);
  plot_area(xml, sheets, chart);
  legend(xml, chart);
  xml.val("c:plotVisOnly", chart.plot_visible_only);
  xml.val("c:dispBlanksAs", blank_cells(chart.blank_cells)).end();
  chart_area(xml, chart);
  text_properties(xml, {{}, kChartTextSize, {}, {}, {}});
  if (!user_shapes.empty()) xml.start("c:userShapes").attr("r:id", user_shapes).end();
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
