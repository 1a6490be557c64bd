// The multi-way analysis of a report set: reads the groups of inputs that were varied together, ranks them
// for every selected output, and has a tornado sheet for each output and the table of all combinations
// written.
#include "model/multi_way.h"

#include "model/naming.h"
#include "reports/utils.h"
#include "service/ordvane_reports.h"
#include "service/spreadsheet_state.h"

namespace ordvane::service {
namespace {

using session::log_text;

// Progress texts.

}  // namespace

OrdvaneReports::Long OrdvaneReports::multiReport(layout::ReportWorkbook& rWB,
                                                 const model::OneBased<Long>& isSelectedOutput,
                                                 const model::Records& trInputs,
                                                 const model::Records& trOutputs, Long NumIterations,
                                                 model::OrdvaneOutputMode outputMode, Long runNumber,
                                                 Long totalRuns) {
  Long groups = 0;
  Long recalculations = 0;
  getInputForIteration(rWB, isSelectedOutput, trInputs, trOutputs, trInputs.size(), trOutputs.size(), groups,
                       recalculations, NumIterations, outputMode, runNumber, totalRuns);
  return 0;
}

OrdvaneReports::Long OrdvaneReports::getInputForIteration(
    layout::ReportWorkbook& rWB, const model::OneBased<Long>& isSelectedOutput,
    const model::Records& trInputs, const model::Records& trOutputs, Long inputBound, Long outputBound,
    Long& groupCount, Long& recalculationCount, Long NumIterations, model::OrdvaneOutputMode outputMode,
    Long runNumber, Long totalRuns) {
  session::Session& s = services_->session;
  const auto progress = [&](session::TextId<0> id) {
    reports::ShowProgress(s, s.text(id));
    s.check_cancel();
  };
  s.session_flag = 1;
  const SpreadsheetState found(s.g_XLApp);
  const ReportArguments arguments{s,
                                  rWB,
                                  isSelectedOutput,
                                  trInputs,
                                  trOutputs,
                                  NumIterations,
                                  model::range_mode_of(trInputs),
                                  outputMode,
                                  runNumber,
                                  totalRuns};

  progress(text_id::kProgressReadingGroups);
  const model::MultiWayRun run =
      model::ReadMultiWay(s, trInputs, trOutputs, isSelectedOutput, DefaultMultiGroupSize, runNumber);
  groupCount = run.groups.size();
  recalculationCount = run.recalculations;
  s.log.line(name() + ".getInputForIteration inputs: " + log_text(inputBound) +
             "   outputs: " + log_text(outputBound) + "   groups: " + log_text(groupCount) +
             "   recalculations: " + log_text(recalculationCount));

  model::OneBased<model::GroupEffects> effects;
  for (Long k = 1; k <= isSelectedOutput.size(); ++k) {
    s.check_cancel();
    effects.push_back(model::RankGroups(run, trInputs, trOutputs, k, isSelectedOutput(k)));
  }
  const reports::MultiTornadoLimits limits{MaxInputsPerGraph, InputsChangeThreshold};
  if (groupCount > 0 && reports_.multi_tornado) {
    for (Long k = 1; k <= isSelectedOutput.size(); ++k) {
      progress(text_id::kProgressMultiTornado);
      const Long output = isSelectedOutput(k);
      graph_or_log("multiReport", [&] {
        reports_.multi_tornado(arguments, output, run, effects(k), limits, tornado_style(trOutputs(output)));
      });
    }
  }
  if (reports_.multi_way_detail) {
    progress(text_id::kProgressMultiWay);
    reports_.multi_way_detail(arguments, run, effects);
  }
  return 0;
}

}  // namespace ordvane::service
