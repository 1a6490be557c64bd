// What the tornado reports share: ranked rows with the ends of a bar each, and the sheet that shows them, as
// a chart over its table, or with the reason why there is no chart.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/cells.h"
#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "model/input_output.h"
#include "model/step_facts.h"
#include "reports/context.h"
#include "reports/first_notes.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"
#include "reports/step_remarks.h"
#include "reports/tornado_chart.h"

namespace ordvane::reports {

// The texts that differ from report to report.
struct BarReportTexts {
  SheetTexts<1> sheet;
  TornadoTexts chart;
  session::TextId<0> no_bars;                           // instead of chart and table
  session::TextId<0> no_chart, nothing_moves;           // instead of the chart
  session::TextId<0> invalid, base_zero, base_invalid;  // notes on values and changes that are no numbers
};

class BarReport {
 public:
  virtual ~BarReport() = default;
  BarReport(const BarReport&) = delete;
  BarReport& operator=(const BarReport&) = delete;

  // Places the report on a sheet of its own.
  void make();

 protected:
  // Columns of the table that the report fills for itself.
  struct RowColumns {
    std::int32_t name, low, low_change, high, high_change, count;
  };
  struct Ends {
    double low, low_change, high, high_change;
  };

  // `name`: of the report, in the log. `bars`: rows of the table.
  BarReport(const Context& context, const model::DralInputOutput& output, std::string name,
            const BarReportTexts& texts, const TornadoStyle& style, Varied varied);

  // Gives the rows their number and columns; before any is filled.
  void set_rows(std::int32_t bars, const RowColumns& columns);
  void put_ends(std::int32_t row, const Ends& ends);
  // The value, or why there is none.
  void put_value(std::int32_t row, std::int32_t column, double value);
  // What is said of a row's steps, or of those of an item that has no row (0).
  void add_facts(std::int32_t row, const std::string& label, model::StepFacts facts);
  bool has_base() const;

  virtual void fill_rows() = 0;
  virtual TableCaptions captions() const = 0;
  virtual std::vector<layout::Column> columns() const = 0;
  // Of a row, for bars of one input each.
  virtual std::function<InputEnds(std::int32_t)> inputs_at_ends() const { return nullptr; }
  // Of the chart, for those who do not see it.
  virtual std::string description() const { return {}; }
  // Lines below the chart, before those about steps.
  virtual void write_lines(layout::ReportSheet& /*sheet*/) const {}
  // What the written table still lacks; `notes`: the texts of those on it.
  virtual void finish(layout::ReportSheet& sheet, layout::ReportTable& table,
                      const std::vector<std::string>& notes) = 0;

  const Context& context_;
  session::Session& session_;
  const model::DralInputOutput& output_;
  std::int32_t bars_ = 0;
  host::CellBlock rows_ = {0, 0};

 private:
  void write(layout::ReportSheet& sheet);
  bool put(std::int32_t row, std::int32_t column, double value);
  std::optional<session::TextId<0>> reason_for_no_chart() const;
  std::shared_ptr<layout::ReportTable> write_table(layout::ReportSheet& sheet);

  std::string name_;
  BarReportTexts texts_;
  Varied varied_;
  TornadoChart chart_;
  StepRemarks remarks_;
  RowColumns columns_ = {};
  FirstNotes notes_;
  model::OneBased<model::StepFacts> facts_;  // by row
};

}  // namespace ordvane::reports
