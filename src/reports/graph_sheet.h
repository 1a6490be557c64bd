// What the reports have in common around their tables and charts: the opening of a sheet, the watermark.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "layout/report_chart.h"
#include "layout/report_table.h"
#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "reports/context.h"
#include "session/session.h"

namespace ordvane::reports {

// What differs from report to report. A sheet about one output has a name with a place, for the output's
// cell.
template <int places_of_name>
struct SheetTexts {
  session::TextId<places_of_name> sheet_name;
  session::TextId<0> title;
  session::TextId<2> run_line;  // filled with run number and number of runs
};

// A new sheet with its title block: the workbook of the inputs, and the run when there are several.
std::shared_ptr<layout::ReportSheet> StartSheet(const Context& context, const SheetTexts<0>& texts);
// The same for one output, whose workbook's name the caller chooses: with the output and its base value.
std::shared_ptr<layout::ReportSheet> StartOutputSheet(const Context& context, const std::string& book,
                                                      const model::DralInputOutput& output,
                                                      const SheetTexts<1>& texts);

// Notes that each stand at the first cell of a table that they are about.
class FirstNotes {
 public:
  // The first place, row by row, is kept.
  void add(session::TextId<0> text, std::int32_t row, std::int32_t column);
  // Attaches the notes. Returns their texts in the order of their places.
  std::vector<std::string> write(const session::Session& session, layout::ReportTable& table) const;

 private:
  std::map<session::TextId<0>, std::pair<std::int32_t, std::int32_t>> places_;  // by text: row and column
};

// When the session has one.
void SetWatermark(session::Session& session, layout::ReportChart& chart);

}  // namespace ordvane::reports
