// What the tornado reports share: the bars between two columns of a ranked table, their titles and value
// axis, and the line at the output's base value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/excel.h"
#include "model/input_output.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::graphs {

// String ids that differ from report to report.
struct TornadoTexts {
  std::int16_t chart_title;  // filled with the output's name
  std::int16_t chart_subtitle;
  std::int16_t change_axis, value_axis;  // filled with the output's name
};

struct TornadoStyle {
  double base_value;  // host::kNoBaseValue for no base line
  std::string base_label;
  host::Color bar_color;
  host::Color baseline_color;
};

// What an input was set to where its bar ends, and how its cell shows that.
struct InputEnds {
  std::optional<double> base, at_low, at_high;  // none: no number
  std::string number_format;                    // local form
};

class TornadoChart {
 public:
  TornadoChart(session::Session& session, const model::DralInputOutput& output, bool percent,
               model::OrdvaneRangeMode range_mode, const TornadoTexts& texts, TornadoStyle style);

  // The ends of the bars, as the table shows them: one a row, in two columns of `rows`. Rows without a number
  // at both ends have no bar.
  void read_bars(const host::CellBlock& rows, std::int32_t low_column, std::int32_t high_column);
  bool has_bars() const { return !low_values_.empty(); }

  // Draws the first `bars` rows of the table, with titles, axis and base line; columns are those of its body.
  // `inputs`: by row, for bars of one input each; empty for bars of several.
  void draw(tables::ReportChart& chart, tables::ReportTable& table, std::int32_t bars,
            std::int32_t name_column, std::int32_t low_column, std::int32_t high_column,
            const std::vector<InputEnds>& inputs = {});

 private:
  bool usable(double value) const { return output_.rules().is_usable(value); }
  void set_texts(tables::ReportChart& chart);
  std::string axis_format() const;
  std::optional<double> base() const;
  std::optional<double> origin() const;
  host::AxisScale axis_scale() const;
  std::string base_text(double value) const;
  std::string subtitle() const;
  std::string value_text(double value, const std::string& format) const;
  host::Color end_color(const std::optional<double>& value, const InputEnds& input) const;
  void color_low_ends(tables::ReportChart& chart, const std::vector<InputEnds>& inputs);
  void label_ends(tables::ReportChart& chart, const std::vector<InputEnds>& inputs);
  void add_base_line(host::Chart& chart, const host::AxisScale& scale);

  session::Session& session_;
  const model::DralInputOutput& output_;
  bool percent_;
  model::OrdvaneRangeMode range_mode_;
  TornadoTexts texts_;
  TornadoStyle style_;
  bool told_apart_ = false;  // low values by their colour
  std::vector<double> low_values_, high_values_;
};

}  // namespace ordvane::graphs
