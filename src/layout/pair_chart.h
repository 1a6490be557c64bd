// A chart of paired horizontal bars over a table: two bars a row, one for each of two of its columns.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "layout/report_chart.h"

namespace ordvane::layout {

class ReportTable;

struct Pairs {
  std::vector<std::string> names;                // of the table's first rows, as it has them
  std::int32_t name = 0, first = 0, second = 0;  // columns of the table's body
  std::string first_caption, second_caption;     // what the legend calls them
  double least = 0, greatest = 0;                // of the values in these rows, and of 0
  std::string number_format;                     // of the values, English codes
};

class PairChart : public ReportChart {
 public:
  // Made by ReportSheet::AddPairChart.
  PairChart(ReportSheet& sheet, std::shared_ptr<host::ChartObject> container);

  // Draws the bars, the table's first row on top; once for a chart.
  void Draw(ReportTable& table, const Pairs& pairs);
  void FinishChart() override;

 protected:
  Box plot() const override;
  std::vector<Box> marks() const override { return {}; }

 private:
  std::shared_ptr<host::Range> fitted_names(ReportTable& table, const Pairs& pairs);

  double longest_name_ = 0;  // width, points
};

}  // namespace ordvane::layout
