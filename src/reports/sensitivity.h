// Sensitivity report: one sheet for one output, with the table of every step and below it a small chart per
// input (the output over the input's steps).
#pragma once

#include <cstdint>
#include <string>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/ranking.h"
#include "reports/step_chart.h"
#include "session/session.h"

namespace ordvane::reports {

// Draws the chart of one input from the one range it is given.
class OrdvaneGInput : public StepChart {
 public:
  explicit OrdvaneGInput(session::Session& session) : StepChart(session) {}

  std::string second_title;
  std::int32_t percent_flag = 0;   // not 0: both axes are in percent
  std::string x_format, y_format;  // of axes that are not: English codes; empty: General
  double width = kChartWidth;      // points

  // Places the chart where the sheet goes on. Returns 0 when the chart was drawn, else the one-based position
  // of the first cell that holds an error or a text; the chart stays empty then. A blank cell is a gap.
  std::int32_t inputG(layout::ReportSheet& PER);
};

// `outputIndex` and `selectedOutputs` are one-based positions in `trOutputs`. Returns 0; errors go to the
// caller.
std::int32_t GenerateSensitivityReport(session::Session& session, layout::ReportWorkbook& rWB,
                                       std::int32_t outputIndex,
                                       const model::OneBased<std::int32_t>& selectedOutputs,
                                       const model::Records& trInputs, const model::Records& trOutputs,
                                       std::int32_t numIterations, model::OrdvaneRangeMode rangeMode,
                                       model::OrdvaneOutputMode outputMode,
                                       const model::RankingRecord& ranking, std::int32_t runNumber,
                                       std::int32_t totalRuns);

}  // namespace ordvane::reports
