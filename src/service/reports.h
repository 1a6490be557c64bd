// The report routines that the pipeline calls, one seam for all of them.
//
// An empty routine stands for a report that this build does not have: the pipeline logs that and goes on.
#pragma once

#include <cstdint>
#include <functional>

#include "model/multi_way.h"
#include "model/ranking.h"
#include "reports/context.h"
#include "reports/multi_tornado.h"

namespace ordvane::service {

// `output`: position in the context's outputs.
struct Reports {
  using Context = reports::Context;
  using TornadoStyle = reports::TornadoStyle;

  std::function<void(const Context&, std::int32_t output, const model::RankingRecord&, const TornadoStyle&)>
      tornado;
  std::function<void(const Context&, std::int32_t output, const model::RankingRecord&)> spider;
  std::function<void(const Context&, std::int32_t output, const model::RankingRecord&)> sensitivity;
  std::function<void(const Context&, std::int32_t output)> output_detail;
  std::function<void(const Context&)> matrix;
  std::function<std::int32_t(const Context&)> detail_by_input;
  std::function<void(const Context&, std::int32_t output, const model::MultiWayRun&,
                     const model::GroupEffects&, const TornadoStyle&)>
      multi_tornado;
  // `selected`: position in the context's selection.
  std::function<void(const Context&, std::int32_t selected, const model::MultiWayRun&,
                     const model::GroupEffects&)>
      grids;
  std::function<void(const Context&, const model::MultiWayRun&, const model::OneBased<model::GroupEffects>&)>
      multi_way_detail;
};

// Those that this build has.
Reports built_in_reports();

}  // namespace ordvane::service
