// What every report is handed.
#pragma once

#include <cstdint>

#include "layout/report_workbook.h"
#include "model/enumerations.h"
#include "model/input_output.h"
#include "model/one_based.h"
#include "reports/settings.h"
#include "session/session.h"

namespace ordvane::reports {

// Where the reports of one run are written, and what of. All that it refers to outlives it.
struct Context {
  session::Session& session;
  layout::ReportWorkbook& workbook;
  const model::OneBased<std::int32_t>& selected;  // positions in `outputs`; 0: not in the model
  // As OrdvaneScan::getData left them.
  const model::Records& inputs;
  const model::Records& outputs;
  Settings settings = {};
  std::int32_t recalculations = 0;  // of steps of single inputs
  model::OrdvaneRangeMode range_mode = model::OrdvaneRangeCellMode;
  model::OrdvaneOutputMode output_mode = model::OrdvaneOutputAsValue;
  std::int32_t run_number = 1;
  std::int32_t total_runs = 1;

  bool in_percent() const { return output_mode == model::OrdvaneOutputAsPercentChange; }
};

}  // namespace ordvane::reports
