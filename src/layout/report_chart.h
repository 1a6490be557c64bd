// A chart of a report sheet.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/excel.h"
#include "layout/axis_ticks.h"

namespace ordvane::layout {

class ReportSheet;

// What tornado bars are made of.
struct BarParts {
  std::optional<double> split = {};     // the parts below and above this value can be coloured apart
  bool labels = false;                  // the ends can have texts beside them
  std::string number_format = {};       // of the values, English codes; for the value axis
  std::vector<std::int32_t> rows = {};  // of the table's, one a bar; empty: the first `bars`
  std::set<std::int32_t> points = {};   // bars, from 1, that are seen although they have no length
};
struct BarLabels {
  std::string left, right;                        // empty: none
  host::Color left_on_bar = 0, right_on_bar = 0;  // colour of the text where it stands on the bar
};
struct ColorKey {
  host::Color color;
  std::string text;
};

// A chart on a report sheet. Made by ReportSheet::AddChart.
class ReportChart {
 public:
  ReportChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container, std::int32_t kind);

  std::shared_ptr<host::Chart> Chart() const { return chart_; }
  const std::shared_ptr<host::ChartObject>& Container() const { return container_; }
  // A line of points; FinishChart puts automatic axes around them. A cell that is empty is a gap in it. Names
  // are cut to the room of a legend.
  void AddSeries(host::Range& x_values, host::Range& y_values, const std::string& name);
  void SetTitle(const std::string& text);
  void SetSubtitle(const std::string& text);
  // A line below the subtitle that says what colours of bars mean, from FinishChart on.
  void SetColorKey(const std::vector<ColorKey>& key);
  void SetChartOption(std::int32_t option);  // 0: no connecting lines are smoothed; the only option there is
  // Horizontal bars from `low` to `high`, one a row, the first on top, labelled by `names`. Stacked series: 1
  // and 2 lead unseen from zero to the bar, 1 as far as the value axis begins; 3 and 4 are the bar on the
  // negative and the positive side. Two more are what a split leaves of the bar beyond 3 and 4, and two
  // unseen ones go on from the bar to the ends of the axis when there are labels. Their figures are formulas
  // in hidden columns, so the bars follow the table. `crossing`: where the category axis stands. The value
  // axis gets its ticks here, for SetXAxis.
  void AddTornadoBars(std::int16_t bars, host::Range& low, host::Range& high, host::Range& names,
                      double crossing, const BarParts& parts = {});
  // Colours what of a bar lies below or above the value that the bars are split at.
  void ColorBarPart(std::int32_t bar, bool above, host::Color color);
  // Texts at the ends of the bars, for bars with labels, after FinishChart: beside the bar, or where the plot
  // has no room there, on the bar, whose parts have room for one each. One that has room in neither place, or
  // would lie on the category axis, is left out.
  void LabelBarEnds(const std::vector<BarLabels>& labels);
  // Figures equal to host::kAutoScaleValue are automatic; under bars, those of bar_ticks. `format`: English
  // codes. Horizontal axis.
  void SetXAxis(const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format, bool shown);
  // Vertical axis.
  void SetYAxis(const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format);
  void SetWatermark(const std::string& primary, const std::string& secondary, const std::string& click_macro);
  // Of the value axis under bars; none without bars.
  const std::optional<AxisTicks>& bar_ticks() const { return bar_ticks_; }
  // Lays the chart out once all its parts are there.
  void FinishChart();

 private:
  friend class ReportSheet;

  bool has_bars() const { return kind_ == kBarsKind; }
  void apply_title();
  void add_color_key();
  void set_axis(host::Axis& axis, const std::string& title, double minimum, double maximum, double major_unit,
                const std::string& format);
  std::shared_ptr<host::Range> fitted_names(host::Range& names, const std::vector<std::int32_t>& rows);
  double room_for_names() const;
  double bars_width();
  double plot_top() const;
  double plot_height() const;
  // A place within the chart, points.
  struct Box {
    double left = 0, top = 0, width = 0, height = 0;
  };
  Box bars_box();
  void place_plot_area();
  void add_bar_series(const std::string& name, bool seen, host::Range& figures, host::Range& names);
  void read_bar_ends(const host::CellBlock& low, const host::CellBlock& high,
                     const std::vector<std::int32_t>& rows);
  double scale_bars(const std::string& number_format);
  void place_bar_axes();
  double unit_of_point();
  double place_in_plot(double value);  // points from the left end of the value axis
  bool clear_of_axis(double from, double to);
  static double end_label_width(const std::string& text);
  bool label_beside(std::int32_t bar, bool is_right, const std::string& text);
  void label_ends(std::int32_t bar, const BarLabels& texts);
  void label_point(std::int32_t series, std::int32_t bar, const std::string& text, host::Color color,
                   host::LabelPosition position);
  std::int32_t part_at(double end, bool is_right) const;

  // ---- Points ----
  struct Point {
    double x, y;
  };
  // An axis as it was asked for.
  struct AskedAxis {
    std::string title, format;
    bool automatic = false;
  };
  std::string legend_name(const std::string& name);
  void show_legend();
  void keep_points(const host::CellBlock& x, const host::CellBlock& y);
  AxisTicks point_ticks(const AskedAxis& axis, double Point::*coordinate, const AxisRoom& room) const;
  double titles_height() const;
  void lay_out_points();
  std::vector<Box> marks();
  Box quiet_corner(double width, double height);

  static constexpr std::int32_t kBarsKind = 64;
  static constexpr std::int32_t kSpiderKind = 33;

  ReportSheet& sheet_;
  std::shared_ptr<host::ChartObject> container_;
  std::shared_ptr<host::Chart> chart_;
  std::int32_t kind_;
  std::int32_t room_row_ = 0, room_rows_ = 0;  // the rows that the sheet keeps for the chart
  std::string title_, subtitle_, horizontal_title_;
  std::vector<ColorKey> color_key_;
  double longest_name_ = 0;  // width of the longest name in the legend or beside the bars, points
  std::optional<AxisTicks> bar_ticks_;
  std::vector<std::vector<Point>> lines_;  // pieces of the lines, without the gaps between them
  AskedAxis x_axis_, y_axis_;
  AxisTicks x_ticks_, y_ticks_;
  std::optional<Box> points_box_;
  std::optional<double> bar_crossing_, split_;
  struct BarEnds {
    double left, right;
  };
  std::vector<std::optional<BarEnds>> bar_ends_;
  std::set<std::int32_t> points_;
  // The first of two series, negative and positive, that bars have only on demand; 0: not there.
  std::int32_t beyond_ = 0, tails_ = 0;
};

}  // namespace ordvane::layout
