// How the sheets of reports begin.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "layout/report_sheet.h"
#include "model/input_output.h"
#include "reports/context.h"

namespace ordvane::reports {

// What differs from report to report. The name of a sheet about one output has a place for the output's cell.
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

}  // namespace ordvane::reports
