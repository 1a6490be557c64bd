// Sensitivity report: one sheet for one output, with the table of every step and below it a small chart per
// input (the output over the input's steps).
#pragma once

#include <cstdint>
#include <string>

#include "layout/report_workbook.h"
#include "model/ranking.h"
#include "reports/context.h"
#include "reports/step_chart.h"
#include "session/session.h"

namespace ordvane::reports {

// Draws the chart of one input from the one range it is given.
class OrdvaneGInput : public StepChart {
 public:
  explicit OrdvaneGInput(session::Session& session) : StepChart(session) {}

  std::string second_title;
  model::OrdvaneGraphRange marks;  // places on the line: none without values
  std::string description;         // what they are
  std::int32_t percent_flag = 0;   // not 0: both axes are in percent
  std::string x_format, y_format;  // of axes that are not: English codes; empty: General
  double width = kChartWidth;      // points

  // Places the chart where the sheet goes on. Returns 0 when the chart was drawn, else the one-based position
  // of the first cell that holds an error or a text; the chart stays empty then. A blank cell is a gap.
  std::int32_t inputG(layout::ReportSheet& PER);
};

// `output`: position in the context's outputs. Errors go to the caller.
void GenerateSensitivityReport(const Context& context, std::int32_t output,
                               const model::RankingRecord& ranking);

}  // namespace ordvane::reports
