// What the tornado reports share: the bars between two columns of a ranked table, their titles and value
// axis, and the line at the output's base value.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/excel.h"
#include "layout/bar_chart.h"
#include "layout/report_table.h"
#include "model/input_output.h"
#include "model/step_facts.h"
#include "reports/context.h"
#include "reports/step_remarks.h"
#include "session/session.h"

namespace ordvane::reports {

// The texts that differ from report to report.
struct TornadoTexts {
  session::TextId<1> chart_title;  // filled with the output's name
  session::TextId<0> chart_subtitle;
  session::TextId<1> change_axis, value_axis;  // filled with the output's name
};

struct TornadoStyle {
  double base_value;  // host::kNoBaseValue for no base line
  std::string base_label;
  host::Color bar_color;
  host::Color baseline_color;
  std::optional<host::Color> low_color =
      {};  // of what input values below their base make; none: not told apart
};

// What an input was set to where its bar ends, and how its cell shows that.
struct InputEnds {
  std::optional<double> base, at_low, at_high;  // none: no number
  std::string number_format;                    // English codes
  bool turns = false;                           // the output turns back between them
};

class TornadoChart {
 public:
  TornadoChart(const Context& context, const model::DralInputOutput& output, const TornadoTexts& texts,
               TornadoStyle style);

  // One bar a row of the ranked table. Rows without a number at both ends have an empty one; those that move
  // nothing have none, and a remark instead, where the settings leave them out. `facts`: by row. `input_of`:
  // of a row, for bars of one input each.
  void choose_bars(const host::CellBlock& rows, const layout::BarColumns& columns,
                   const model::OneBased<model::StepFacts>& facts, StepRemarks& remarks,
                   const std::function<InputEnds(std::int32_t)>& input_of = nullptr);
  std::int32_t bars() const { return static_cast<std::int32_t>(bars_.size()); }
  // Whether one of them has both ends.
  bool has_bars() const;

  // Draws the bars from the body of the table that holds the rows, with titles, axis and base line.
  void draw(layout::BarChart& chart, layout::ReportTable& table);

 private:
  bool usable(double value) const { return output_.rules().is_usable(value); }
  bool has_labels() const;
  layout::Bars bars_to_draw() const;
  std::string axis_format() const;
  std::optional<double> base() const;
  std::optional<double> origin() const;
  std::string base_text(double value) const;
  std::string subtitle() const;
  std::string output_text(double value, const std::string& format, int digits) const;
  std::string base_value_text(double value) const;
  // Left and right.
  std::pair<std::string, std::string> input_texts(const InputEnds& input) const;
  std::pair<std::string, std::string> output_texts(const layout::Bar& bar) const;
  layout::BarLabels end_texts(const layout::Bar& bar, const InputEnds& input) const;
  host::Color end_color(const std::optional<double>& value, const InputEnds& input) const;
  void color_low_ends(layout::BarChart& chart);
  void label_ends(layout::BarChart& chart);
  host::Color line_color() const;
  void add_base_line(layout::BarChart& chart);

  const Context& context_;
  session::Session& session_;
  const model::DralInputOutput& output_;
  TornadoTexts texts_;
  TornadoStyle style_;
  bool told_apart_ = false;  // low values by their colour
  std::vector<layout::Bar> bars_;
  std::vector<InputEnds> inputs_;  // of the bars
  layout::BarColumns columns_ = {};
  bool one_input_each_ = false;
};

}  // namespace ordvane::reports
