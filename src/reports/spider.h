// Spider report: one sheet for one output, with a line per input that crosses the others at the base values,
// and the table of every step under it.
#pragma once

#include <cstdint>
#include <string>

#include "layout/report_workbook.h"
#include "model/ranking.h"
#include "reports/context.h"
#include "reports/step_chart.h"
#include "session/session.h"

namespace ordvane::reports {

// Draws the spider chart of one output from the ranges it is given.
class OrdvaneGSpider : public StepChart {
 public:
  explicit OrdvaneGSpider(session::Session& session) : StepChart(session) {}

  // Takes the chart's room on the sheet ahead of what is placed below it: enough for so many legend lines.
  void reserve(layout::ReportSheet& PER, std::int32_t lines);
  // Both place the chart where the sheet goes on, unless its room was reserved, and return 0.
  std::int32_t spider(layout::ReportSheet& PER);
  std::int32_t SpiderError(layout::ReportSheet& PER, const std::string& p_ErrorMessage = {});
};

// `output`: position in the context's outputs. Errors go to the caller.
void GenerateSpiderReport(const Context& context, std::int32_t output, const model::RankingRecord& ranking);

}  // namespace ordvane::reports
