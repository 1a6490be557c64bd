// What the charts of report sheets have in common: titles, axes' looks, watermark.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/excel.h"
#include "layout/axis_ticks.h"

namespace ordvane::layout {

class ReportSheet;

class ReportChart {
 public:
  virtual ~ReportChart() = default;
  ReportChart(const ReportChart&) = delete;
  ReportChart& operator=(const ReportChart&) = delete;

  std::shared_ptr<host::Chart> Chart() const { return chart_; }
  const std::shared_ptr<host::ChartObject>& Container() const { return container_; }
  void SetTitle(const std::string& text);
  void SetSubtitle(const std::string& text);
  // What the chart shows, for those who do not see it; after its titles.
  void SetDescription(const std::string& text);
  // Lays the chart out once all its parts are there.
  virtual void FinishChart() = 0;
  // After FinishChart: in a corner of the plot, where it covers least.
  void SetWatermark(const std::string& primary, const std::string& secondary, const std::string& click_macro);

 protected:
  ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container, host::ChartKind kind);

  // A place within the chart, points.
  struct Box {
    double left = 0, top = 0, width = 0, height = 0;
  };
  // Where the plot lies.
  virtual Box plot() const = 0;
  // What is drawn in the plot and can be covered.
  virtual std::vector<Box> marks() const = 0;

  const std::string& title() const { return title_; }
  const std::string& subtitle() const { return subtitle_; }
  double width() const { return container_->width(); }
  double height() const { return container_->height(); }
  void place_plot();
  // Title and fonts of an axis with figures, and its gridlines. `ticks`: none for automatic ones.
  void format_value_axis(host::Axis& axis, const std::string& title, const host::BorderFormat& line);
  static void apply(host::Axis& axis, const AxisTicks& ticks);
  // Of bars: the first name on top, the figures of the value axis at the bottom.
  void format_names_of_bars();

  ReportSheet& sheet_;

 private:
  friend class ReportSheet;

  void apply_title();
  Box quiet_corner(double width, double height) const;

  std::shared_ptr<host::ChartObject> container_;
  std::shared_ptr<host::Chart> chart_;
  std::int32_t room_row_ = 0, room_rows_ = 0;  // the rows that the sheet keeps for the chart
  std::string title_, subtitle_, description_;
};

}  // namespace ordvane::layout
