// How the sheets of reports begin.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "layout/report_sheet.h"
#include "model/input_output.h"
#include "reports/context.h"

namespace ordvane::reports {

// String ids that differ from report to report.
struct SheetTexts {
  std::int16_t sheet_name;  // filled with the output's cell, of one output
  std::int16_t title;
  std::int16_t run_line;  // filled with run number and number of runs
};

// A new sheet with its title block: the workbook of the inputs, and the run when there are several.
std::shared_ptr<layout::ReportSheet> StartSheet(const Context& context, const SheetTexts& texts);
// The same for one output, whose workbook's name the caller chooses: with the output and its base value.
std::shared_ptr<layout::ReportSheet> StartOutputSheet(const Context& context, const std::string& book,
                                                      const model::DralInputOutput& output,
                                                      const SheetTexts& texts);

}  // namespace ordvane::reports
