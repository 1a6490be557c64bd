// The multi-way analysis of a report set: reads the groups of inputs that were varied together, ranks them
// for every selected output, and has the tornado sheets and the table of all combinations written.
#include "model/multi_way.h"

#include "service/ordvane_reports.h"
#include "service/spreadsheet_state.h"

namespace ordvane::service {
namespace {

using session::log_text;

}  // namespace

OrdvaneReports::Long OrdvaneReports::multiReport(const reports::Context& context) {
  Long groups = 0;
  Long recalculations = 0;
  return getInputForIteration(context, context.inputs.size(), context.outputs.size(), groups, recalculations);
}

OrdvaneReports::Long OrdvaneReports::getInputForIteration(const reports::Context& context, Long inputBound,
                                                          Long outputBound, Long& groupCount,
                                                          Long& recalculationCount) {
  session::Session& s = services_->session;
  const auto progress = [&](session::TextId<0> id, const model::DralInputOutput* output = nullptr) {
    begin(id, output);
    s.check_cancel();
  };
  s.session_flag = 1;
  const SpreadsheetState found(s.g_XLApp);
  const model::OneBased<Long>& selected = context.selected;

  progress(text_id::kProgressReadingGroups);
  const model::MultiWayRun run = model::ReadMultiWay(s, context.inputs, context.outputs, selected,
                                                     DefaultMultiGroupSize, context.run_number);
  groupCount = run.groups.size();
  recalculationCount = run.recalculations;
  s.log.line(name() + ".getInputForIteration inputs: " + log_text(inputBound) +
             "   outputs: " + log_text(outputBound) + "   groups: " + log_text(groupCount) +
             "   recalculations: " + log_text(recalculationCount));

  model::OneBased<model::GroupEffects> effects;
  for (Long k = 1; k <= selected.size(); ++k) {
    s.check_cancel();
    effects.push_back(model::RankGroups(run, context.inputs, context.outputs, k, selected(k)));
  }
  if (groupCount > 0 && reports_.multi_tornado) {
    for (Long k = 1; k <= selected.size(); ++k) {
      const Long output = selected(k);
      progress(text_id::kProgressMultiTornado, &context.outputs(output));
      graph_or_log("multiReport", [&] {
        reports_.multi_tornado(context, output, run, effects(k), tornado_style(context.outputs(output)));
      });
    }
  }
  for (Long k = 1; k <= selected.size() && groupCount > 0 && reports_.grids; ++k) {
    progress(text_id::kProgressGrids, &context.outputs(selected(k)));
    graph_or_log("multiReport", [&] { reports_.grids(context, k, run, effects(k)); });
  }
  if (reports_.multi_way_detail) {
    progress(text_id::kProgressMultiWay);
    reports_.multi_way_detail(context, run, effects);
  }
  return 0;
}

}  // namespace ordvane::service
