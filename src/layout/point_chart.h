// A chart of lines through points.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/axis_ticks.h"
#include "layout/report_chart.h"

namespace ordvane::layout {

class PointChart : public ReportChart {
 public:
  // Made by ReportSheet::AddChart.
  PointChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container);

  // Names the lines at the right, cut to the room there. Before the first one.
  void ShowLegend();
  // A line of points; FinishChart puts the axes around them. A cell that is empty is a gap in it.
  void AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name);
  // Places marked apart from the lines; after the lines.
  void AddMarks(host::Range& x_values, host::Range& y_values, const std::string& name);
  // `format` of the figures at the axis: English codes.
  void SetXAxis(const std::string& title, const std::string& format);
  void SetYAxis(const std::string& title, const std::string& format);
  void FinishChart() override;

 protected:
  Box plot() const override;
  std::vector<Box> marks() const override;

 private:
  struct Point {
    double x, y;
  };
  // An axis as it was asked for, and its ticks.
  struct ChartAxis {
    std::string title, format;
    AxisTicks ticks = {};
  };
  void set_axis(host::AxisType type, const ChartAxis& asked);
  void keep_points(const host::CellBlock& x, const host::CellBlock& y);
  AxisTicks ticks_around(double Point::*coordinate, const std::string& format, const AxisRoom& room) const;
  double titles_height() const;
  void lay_out();

  bool has_legend_ = false;
  double longest_name_ = 0;                // width of the longest name in the legend, points
  std::vector<std::vector<Point>> lines_;  // pieces of the lines, without the gaps between them
  ChartAxis x_axis_, y_axis_;
  std::optional<Box> box_;  // of the plot, once it is laid out
};

}  // namespace ordvane::layout
