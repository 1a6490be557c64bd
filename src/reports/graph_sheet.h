// What the graph reports have in common around their tables and charts: the opening of a sheet, the
// watermark.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "reports/table_parts.h"
#include "session/session.h"

namespace ordvane::reports {

// String ids that differ from report to report.
struct SheetTexts {
  session::TextId<1> sheet_name;  // filled with the output's cell
  session::TextId<0> title;
  session::TextId<2> run_line;  // filled with run number and number of runs
};

// A new sheet for one output, with its title block: workbook, output, base value, and the run when there are
// several.
std::shared_ptr<layout::ReportSheet> StartGraphSheet(session::Session& session, layout::ReportWorkbook& rWB,
                                                     const model::DralInputOutput& output,
                                                     const SheetTexts& texts, std::int32_t runNumber,
                                                     std::int32_t totalRuns);

// Notes that each stand at the first cell of a table that they are about.
class FirstNotes {
 public:
  // `text`: string id. The first place, row by row, is kept.
  void add(session::TextId<0> text, std::int32_t row, std::int32_t column);
  // Attaches the notes. Returns their texts in the order of their places.
  std::vector<std::string> write(const session::Session& session, layout::ReportTable& table) const;

 private:
  std::map<session::TextId<0>, std::pair<std::int32_t, std::int32_t>> places_;  // by text: row and column
};

// When the session has one.
void SetWatermark(session::Session& session, layout::ReportChart& chart);

}  // namespace ordvane::reports
