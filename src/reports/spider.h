// Spider report: one sheet for one output, with a line per input that crosses the others at the base values,
// and the table of every step under it.
#pragma once

#include <cstdint>
#include <string>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/ranking.h"
#include "reports/step_chart.h"
#include "session/session.h"

namespace ordvane::reports {

// Draws the spider chart of one output from the ranges it is given.
class OrdvaneGSpider : public StepChart {
 public:
  explicit OrdvaneGSpider(session::Session& session) : StepChart(session) {}

  // Takes the chart's room on the sheet ahead of what is placed below it, high enough for a legend of so many
  // lines.
  void reserve(layout::ReportSheet& PER, std::int32_t lines);
  // Both place the chart where the sheet goes on, unless its room was reserved, and return 0.
  std::int32_t spider(layout::ReportSheet& PER);
  std::int32_t SpiderError(layout::ReportSheet& PER, const std::string& p_ErrorMessage = {});
};

// `outputIndex` and `selectedOutputs` are one-based positions in `trOutputs`. Returns 0; errors go to the
// caller.
std::int32_t GenerateSpiderReport(session::Session& session, layout::ReportWorkbook& rWB,
                                  std::int32_t outputIndex,
                                  const model::OneBased<std::int32_t>& selectedOutputs,
                                  const model::Records& trInputs, const model::Records& trOutputs,
                                  std::int32_t numIterations, model::OrdvaneRangeMode rangeMode,
                                  model::OrdvaneOutputMode outputMode, const model::RankingRecord& ranking,
                                  std::int32_t runNumber, std::int32_t totalRuns);

}  // namespace ordvane::reports
