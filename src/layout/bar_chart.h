// A chart of horizontal bars over a table: one bar a row, between the values of two of its columns.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/axis_ticks.h"
#include "layout/bar_labels.h"
#include "layout/report_chart.h"

namespace ordvane::layout {

class ReportTable;

struct Bar {
  std::int32_t row;                  // of the table's body
  std::string name;                  // as the table has it
  std::string mark = {};             // behind the name, beside the bar alone
  std::optional<BarEnds> ends = {};  // as the table has them; none: the row lacks one, and the bar is empty
  bool is_point = false;             // seen although it has no length
};

// Columns of the table's body.
struct BarColumns {
  std::int32_t name, low, high;
};

struct Bars {
  std::vector<Bar> bars = {};  // the first on top
  BarColumns columns = {};
  host::Color color = 0;
  std::string axis_title = {}, number_format = {};  // of the values; the format in English codes
  std::optional<double> base = {};   // where the axis of the names stands; none: where the values begin
  std::optional<double> split = {};  // the parts below and above this value can be coloured apart
  bool labels = false;               // the ends can have texts beside them
};

struct ColorKey {
  host::Color color;
  std::string text;
};

class BarChart : public ReportChart {
 public:
  // Made by ReportSheet::AddBarChart.
  BarChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container);

  // Draws the bars; once for a chart. Their figures are formulas in hidden columns, so that they
  // follow the table.
  void Draw(ReportTable& table, Bars bars);
  // A line below the subtitle that says what colours of bars mean, from FinishChart on.
  void SetColorKey(const std::vector<ColorKey>& key);
  // Colours what of a bar lies below or above the value that the bars are split at.
  void ColorBarPart(std::int32_t bar, bool above, host::Color color);
  // Texts at the ends of the bars, for bars with labels, after FinishChart: one a bar, as
  // place_labels has it.
  void LabelBarEnds(const std::vector<BarLabels>& labels);
  void FinishChart() override;
  // Of the value axis; none as long as no bar has ends.
  const std::optional<AxisTicks>& ticks() const { return ticks_; }

 protected:
  Box plot() const override;
  std::vector<Box> marks() const override;

 private:
  double room_for_names() const;
  double bars_width() const;
  double plot_top() const;
  double unit_of_point() const;
  double set_scale();
  std::shared_ptr<host::Range> fitted_names(ReportTable& table);
  void add_series(ReportTable& table, host::Range& names, double start);
  void place_axes();
  std::int32_t series_of(BarPart part) const;
  void add_color_key();

  Bars bars_;
  double longest_name_ = 0;  // width of the longest name beside the bars, points
  std::optional<AxisTicks> ticks_;
  std::vector<BarPart> parts_;  // the series, in their order
  std::vector<ColorKey> color_key_;
};

}  // namespace ordvane::layout
