// Spider report: the chart takes its room first, lines about what it draws and the step table follow, and the
// lines of the chart are drawn from the table's percent columns.
#include "reports/spider.h"

#include <algorithm>

#include "reports/answers.h"
#include "reports/chart_helpers.h"
#include "reports/graph_sheet.h"
#include "reports/sheet_opening.h"
#include "reports/step_table.h"

namespace ordvane::reports {
namespace {

constexpr SheetTexts<1> kSheetTexts = {
    .sheet_name = text_id::kSpiderSheetName, .title = text_id::kSpiderTitle, .run_line = text_id::kSpiderRun};
constexpr StepTableTexts kTableTexts = {.caption = text_id::kSpiderCaption,
                                        .subcaption = text_id::kSpiderSubcaption,
                                        .input_base_zero = text_id::kNoteInputBaseZero,
                                        .output_base_zero = text_id::kNoteOutputBaseZero,
                                        .invalid = text_id::kNoteNotShown};
constexpr StepGraphTexts kGraphTexts = {.drawn = text_id::kSpiderDrawn,
                                        .base_zero = text_id::kSpiderBaseZero,
                                        .base_invalid = text_id::kSpiderBaseNoNumber,
                                        .no_results = text_id::kSpiderNoResults};

constexpr const char* kTickLabelFormat = "0%";

// Lines that the legend of a chart of the usual height has room for, and what each further one needs.
constexpr std::int32_t kLinesInUsualHeight = 16;
constexpr double kHeightOfLine = 13.0;  // points

double height_for(std::int32_t lines) {
  return kChartHeight + std::max(0, lines - kLinesInUsualHeight) * kHeightOfLine;
}

class SpiderReport {
 public:
  SpiderReport(const Context& context, StepTable& steps)
      : context_(context), session_(context.session), steps_(steps), spider_(session_) {
    const model::DralInputOutput& output = steps.output();
    spider_.chart_title =
        session_.text(output.has_name() ? text_id::kSpiderChartTitle : text_id::kSpiderChartTitleOfCell,
                      output.NameOrQualifiedCellAddressName(context.range_mode));
    spider_.x_axis_title = session_.text(text_id::kSpiderXAxis);
    spider_.y_axis_title = session_.text(text_id::kSpiderYAxis);
    for (const StepTable::Block& block : steps.blocks())
      if (steps.obstacle(block, Quantity::kChange) == Obstacle::kNone) drawn_.push_back(block);
  }

  void write(layout::ReportSheet& sheet) {
    if (drawn_.empty())
      spider_.SpiderError(sheet,
                          NoGraphMessage(session_, text_id::kMessageNoSpider, steps_, Quantity::kChange));
    else
      spider_.reserve(sheet, static_cast<std::int32_t>(drawn_.size()));
    const std::string sentence =
        AnswerSentence(session_, context_.inputs, context_.outputs, context_.range_mode, steps_.answers());
    sheet.AddLine(sentence);
    WriteStepGraphLines(session_, sheet, steps_, Quantity::kChange, kGraphTexts);
    steps_.write(sheet, kTableTexts);
    FitWidth(*spider_.chart(), TableWidthForChart(steps_.table()));
    for (const StepTable::Block& block : drawn_)
      steps_.fill_range(*spider_.ranges.Add(block.input), block, Quantity::kChange);
    if (drawn_.empty()) return;
    spider_.spider(sheet);
    spider_.chart()->SetDescription(sentence);
  }

 private:
  const Context& context_;
  session::Session& session_;
  StepTable& steps_;
  std::vector<StepTable::Block> drawn_;
  OrdvaneGSpider spider_;
};

}  // namespace

void OrdvaneGSpider::reserve(layout::ReportSheet& PER, std::int32_t lines) {
  chart_ = PER.AddPointChart(kChartWidth, height_for(lines));
  chart_->ShowLegend();
}

std::int32_t OrdvaneGSpider::spider(layout::ReportSheet& PER) {
  if (!chart_) reserve(PER, ranges.Count());
  SetChartAreaLineWeight(*chart_->Chart());
  for (std::int32_t i = 1; i <= ranges.Count(); ++i) add_series(*ranges.Item(i));
  const std::int32_t status = GetGraphRangesExtent(session_, ranges, extent_);
  if (status != 0) return status;

  chart_->SetTitle(chart_title);
  finish(kTickLabelFormat, kTickLabelFormat);
  return status;
}

std::int32_t OrdvaneGSpider::SpiderError(layout::ReportSheet& PER, const std::string& p_ErrorMessage) {
  return CreateMessageChart(PER, p_ErrorMessage, &chart_);
}

void GenerateSpiderReport(const Context& context, std::int32_t on, const model::RankingRecord& ranking) {
  const model::DralInputOutput& output = context.outputs(on);
  const auto sheet = StartOutputSheet(context, output.bookName, output, kSheetTexts);
  if (ranking.input_limit <= 0) {
    sheet->NextCell()->set_value(context.session.text(text_id::kSpiderNoInputs));
  } else {
    const model::OutputAnswers answers = AnswersOf(context, on);
    StepTable steps(context, on, ranking.input_limit, answers);
    SpiderReport(context, steps).write(*sheet);
  }
  sheet->FinishSheet();
}

}  // namespace ordvane::reports
