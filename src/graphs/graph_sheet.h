// What the graph reports have in common around their tables and charts: the opening of a sheet, number
// formats, the watermark.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "model/input_output.h"
#include "session/session.h"
#include "tables/report_workbook.h"

namespace ordvane::graphs {

// String ids that differ from report to report.
struct SheetTexts {
  std::int16_t sheet_name;  // filled with the output's cell
  std::int16_t title;
  std::int16_t run_line;  // filled with run number and number of runs
};

// A new sheet for one output, with its title block: workbook, output, base value, and the run when there are
// several.
std::shared_ptr<tables::ReportSheet> StartGraphSheet(session::Session& session, tables::ReportWorkbook& rWB,
                                                     const model::DralInputOutput& output,
                                                     const SheetTexts& texts, std::int32_t runNumber,
                                                     std::int32_t totalRuns);

// The item's name with its address; the address alone for an item without a name.
std::string ItemLabel(const model::DralInputOutput& item);
// Format of an item's values in cells, local form: the cell's own, or the date format of a date whose cell
// has none.
std::string ValueFormat(const model::DralInputOutput& item);
// The same for differences of its values: days between dates are plain numbers.
std::string ChangeFormat(const model::DralInputOutput& item);

// A caption over a group of columns, centred in one merged cell of a table's header.
void AddHeaderGroup(tables::ReportTable& table, std::int32_t row, std::int32_t column, std::int32_t rows,
                    std::int32_t columns, const std::string& caption);

// When the session has one.
void SetWatermark(session::Session& session, tables::ReportChart& chart);

}  // namespace ordvane::graphs
