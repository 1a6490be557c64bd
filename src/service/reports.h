// The report routines that the pipeline calls, one seam for all of them.
//
// An empty routine stands for a report that this build does not have: the pipeline logs that and goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "layout/report_workbook.h"
#include "model/input_output.h"
#include "model/multi_way.h"
#include "model/ranking.h"
#include "model/summary.h"
#include "reports/multi_tornado.h"
#include "session/session.h"

namespace ordvane::service {

// What every report routine is handed.
struct ReportArguments {
  session::Session& session;
  layout::ReportWorkbook& rWB;
  const model::OneBased<std::int32_t>& selOut;  // positions in trOutputs
  const model::Records& trInputs;
  const model::Records& trOutputs;
  std::int32_t NumIterations;
  model::OrdvaneRangeMode rangeMode;
  model::OrdvaneOutputMode outputMode;
  std::int32_t runNumber;
  std::int32_t totalRuns;
};

using reports::TornadoStyle;

struct Reports {
  std::function<void(const ReportArguments&, std::int32_t output, const model::RankingRecord&,
                     const TornadoStyle&)>
      tornado;
  std::function<void(const ReportArguments&, std::int32_t output, const model::RankingRecord&)> spider;
  std::function<void(const ReportArguments&, std::int32_t output, const model::RankingRecord&)> sensitivity;
  std::function<void(const ReportArguments&, std::int32_t output)> output_detail;
  std::function<std::int32_t(const ReportArguments&)> detail_by_input;
  std::function<void(const ReportArguments&, std::int32_t output, const model::MultiWayRun&,
                     const model::GroupEffects&, const reports::MultiTornadoLimits&, const TornadoStyle&)>
      multi_tornado;
  std::function<void(const ReportArguments&, const model::MultiWayRun&,
                     const model::OneBased<model::GroupEffects>&)>
      multi_way_detail;
};

// Those that this build has.
Reports built_in_reports();

}  // namespace ordvane::service
