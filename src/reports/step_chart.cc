// The parts of the charts over a step table that do not differ from report to report.
#include "reports/step_chart.h"

#include <algorithm>
#include <map>
#include <vector>

#include "host/error.h"
#include "reports/graph_sheet.h"
#include "reports/item_texts.h"
#include "reports/step_remarks.h"

namespace ordvane::reports {

void StepChart::add_series(const model::OrdvaneGraphRange& range) {
  host::ignoring_errors([&] { chart_->AddSeries(*range.xValues(), *range.yValues(), range.rName()); });
}

void StepChart::finish(const std::string& x_format, const std::string& y_format) {
  chart_->SetXAxis(x_axis_title, x_format);
  chart_->SetYAxis(y_axis_title, y_format);
  chart_->FinishChart();
  SetWatermark(session_, *chart_);
}

void WriteStepGraphLines(session::Session& session, layout::ReportSheet& sheet, const StepTable& steps,
                         Quantity quantity, const StepGraphTexts& texts) {
  std::map<Obstacle, std::vector<std::string>> inputs;
  StepRemarks remarks(session);
  for (const StepTable::Block& block : steps.blocks()) {
    const std::string label = ItemLabel(steps.input(block));
    const Obstacle obstacle = steps.obstacle(block, quantity);
    inputs[obstacle].push_back(label);
    if (obstacle == Obstacle::kNoEffect) remarks.add_left_out(label);
    remarks.add(label, block.facts);
  }
  if (inputs.contains(Obstacle::kNone)) sheet.AddLine(session.text(texts.drawn));
  for (const auto& [obstacle, text] : std::initializer_list<std::pair<Obstacle, session::TextId<1>>>{
           {Obstacle::kBaseZero, texts.base_zero},
           {Obstacle::kBaseInvalid, texts.base_invalid},
           {Obstacle::kNoResults, texts.no_results}})
    if (const auto found = inputs.find(obstacle); found != inputs.end())
      sheet.AddLine(session.text(text, session.list_of(found->second)));
  remarks.write(sheet);
}

std::string NoGraphMessage(session::Session& session, session::TextId<0> none, const StepTable& steps,
                           Quantity quantity) {
  const auto& blocks = steps.blocks();
  const auto any = [&](std::initializer_list<Obstacle> obstacles) {
    return std::any_of(blocks.begin(), blocks.end(), [&](const StepTable::Block& block) {
      const Obstacle found = steps.obstacle(block, quantity);
      return std::find(obstacles.begin(), obstacles.end(), found) != obstacles.end();
    });
  };
  session::TextId<0> reason = text_id::kStepsNoEffects;
  if (any({Obstacle::kOutputBase}))
    reason =
        steps.output().BaseValue() == 0 ? text_id::kMessageOutputBaseZero : text_id::kMessageNoUsableBase;
  else if (any({Obstacle::kBaseZero, Obstacle::kBaseInvalid}))
    reason = text_id::kMessageNoUsableBase;
  else if (any({Obstacle::kNoResults}))
    reason = text_id::kStepsNoResults;
  return session.text(none) + "\r\n" + session.text(reason);
}

}  // namespace ordvane::reports
