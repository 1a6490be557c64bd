// Sensitivity report: the step table first, so that it is found at the top, then the charts, as many beside
// each other as a page has room for, each drawn from its input's block of the table.
#include "reports/sensitivity.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "reports/answers.h"
#include "reports/chart_helpers.h"
#include "reports/graph_sheet.h"
#include "reports/item_texts.h"
#include "reports/progress.h"
#include "reports/sheet_opening.h"
#include "reports/step_remarks.h"
#include "reports/step_table.h"
#include "reports/table_values.h"

namespace ordvane::reports {
namespace {

constexpr SheetTexts<1> kSheetTexts = {.sheet_name = text_id::kSensitivitySheetName,
                                       .title = text_id::kSensitivityTitle,
                                       .run_line = text_id::kSensitivityRun};
constexpr StepTableTexts kTableTexts = {.caption = text_id::kSensitivityCaption,
                                        .subcaption = text_id::kSensitivitySubcaption,
                                        .input_base_zero = text_id::kSensitivityInputBaseZero,
                                        .output_base_zero = text_id::kSensitivityOutputBaseZero,
                                        .invalid = text_id::kSensitivityNotShown,
                                        .answers = true};
constexpr StepGraphTexts kGraphTexts = {.drawn = text_id::kSensitivityDrawn,
                                        .base_zero = text_id::kSensitivityBaseZero,
                                        .base_invalid = text_id::kSensitivityBaseNoNumber,
                                        .no_results = text_id::kSensitivityNoResults};

// Points; a chart that stands by itself has the width of the table, within the same bounds.
constexpr double kNarrowestChart = 376, kWidestChart = 476;

// Position of the first cell that a chart cannot draw: an error value, or a text, which it would draw as
// zero. 0 when there is none; a blank cell is a gap.
std::int32_t first_undrawable_cell(host::Range& range) {
  if (const std::int32_t error = FirstErrorCellIndex(range)) return error;
  const host::CellBlock cells = range.values();
  for (std::int32_t row = 1; row <= cells.rows(); ++row)
    if (cells.at(row, 1).kind == host::CellKind::kText) return row;
  return 0;
}

class SensitivityReport {
 public:
  SensitivityReport(const Context& context, StepTable& steps, std::int32_t limit)
      : context_(context),
        session_(context.session),
        steps_(steps),
        limit_(limit),
        quantity_(context.in_percent() ? Quantity::kChange : Quantity::kValue) {
    for (const StepTable::Block& block : steps_.blocks())
      if (steps_.obstacle(block, quantity_) == Obstacle::kNone) drawn_.push_back(block);
  }

  void write(layout::ReportSheet& sheet) {
    if (drawn_.empty()) {
      write_message(sheet);
      return;
    }
    const auto pointer = sheet.AddLine("");
    steps_.write(sheet, kTableTexts);
    const std::int32_t row = sheet.NextCell()->row();
    sheet.PutLink(*pointer, row, session_.text(text_id::kSensitivityChartsBelow, std::int64_t{row}));
    write_lines(sheet);
    draw_charts(sheet);
  }

 private:
  void write_message(layout::ReportSheet& sheet) {
    std::shared_ptr<layout::PointChart> panel;
    CreateMessageChart(sheet, NoGraphMessage(session_, text_id::kMessageNoSensitivity, steps_, quantity_),
                       &panel);
    write_lines(sheet);
    steps_.write(sheet, kTableTexts);
    FitWidth(*panel, TableWidthForChart(steps_.table()));
  }

  void write_lines(layout::ReportSheet& sheet) {
    sheet.AddLine(
        AnswerSentence(session_, context_.inputs, context_.outputs, context_.range_mode, steps_.answers()));
    WriteShapeLines(context_, sheet, steps_.answers(), limit_);
    WriteStepGraphLines(session_, sheet, steps_, quantity_, kGraphTexts);
  }

  void draw_charts(layout::ReportSheet& sheet) {
    std::int32_t columns = 1;
    double width = TableWidthForChart(steps_.table());
    if (drawn_.size() > 1) {
      const auto table = steps_.table().HeaderRowRange(1);
      const double room = table->width() + layout::kBetweenCharts;
      columns = std::max(2, static_cast<std::int32_t>(room / (kNarrowestChart + layout::kBetweenCharts)));
      width = std::clamp(room / columns - layout::kBetweenCharts, kNarrowestChart, kWidestChart);
    }
    sheet.PlaceChartsSideBySide(columns);
    for (const StepTable::Block& block : drawn_) {
      OrdvaneGInput graph = graph_of(block);
      graph.width = width;
      steps_.fill_range(*graph.ranges.Add(1), block, quantity_, &graph.marks);
      graph.inputG(sheet);
      CheckUserCancel(session_);
    }
  }

  OrdvaneGInput graph_of(const StepTable::Block& block) const {
    const model::DralInputOutput& in = steps_.input(block);
    const std::string input = in.NameOrQualifiedCellAddressName(context_.range_mode);
    const std::string output = steps_.output().NameOrQualifiedCellAddressName(context_.range_mode);
    const session::TextId<1> axis =
        quantity_ == Quantity::kChange ? text_id::kSensitivityChangeAxis : text_id::kSensitivityValueAxis;
    OrdvaneGInput graph(session_);
    graph.chart_title = session_.text(
        in.has_name() ? text_id::kSensitivityChartTitle : text_id::kSensitivityChartTitleOfCell, input);
    graph.second_title = session_.text(text_id::kSensitivityChartSubtitle, output);
    const std::string failed = StepNote(session_, {.steps = block.facts.steps, .failed = block.facts.failed});
    if (!failed.empty()) graph.second_title += "\n" + failed;
    graph.description = TargetSentence(session_, context_.inputs, context_.outputs, context_.range_mode,
                                       steps_.answers(), {&steps_.answers(block), 1});
    if (!graph.description.empty()) graph.second_title += "\n" + graph.description;
    graph.x_axis_title = session_.text(axis, input);
    graph.y_axis_title = session_.text(axis, output);
    graph.percent_flag = context_.output_mode;
    if (quantity_ == Quantity::kValue) {
      graph.x_format = ValueFormat(in);
      graph.y_format = ValueFormat(steps_.output());
    }
    return graph;
  }

  const Context& context_;
  session::Session& session_;
  StepTable& steps_;
  std::int32_t limit_;
  Quantity quantity_;
  std::vector<StepTable::Block> drawn_;
};

}  // namespace

std::int32_t OrdvaneGInput::inputG(layout::ReportSheet& PER) {
  chart_ = PER.AddPointChart(width, kChartHeight);
  SetChartAreaLineWeight(*chart_->Chart());
  std::int32_t first = 1;
  const auto range = ranges.Item(first);
  if (const std::int32_t cell = first_undrawable_cell(*range->xValues())) return cell;
  if (const std::int32_t cell = first_undrawable_cell(*range->yValues())) return cell;
  const std::int32_t status = GetGraphRangeExtent(session_, *range, extent_);
  if (status != 0) return status;
  add_series(*range);
  if (marks.numValues() > 0)
    host::ignoring_errors([&] { chart_->AddMarks(*marks.xValues(), *marks.yValues(), description); });
  chart_->SetTitle(chart_title);
  chart_->SetSubtitle(second_title);
  const bool percent = percent_flag != 0;
  finish(percent ? PercentFormat() : x_format, percent ? PercentFormat() : y_format);
  return 0;
}

void GenerateSensitivityReport(const Context& context, std::int32_t on, const model::RankingRecord& ranking) {
  const model::DralInputOutput& output = context.outputs(on);
  const auto sheet = StartOutputSheet(context, output.bookName, output, kSheetTexts);
  if (ranking.input_limit <= 0) {
    sheet->NextCell()->set_value(context.session.text(text_id::kSensitivityNoInputs));
  } else {
    const model::OutputAnswers answers = AnswersOf(context, on);
    StepTable steps(context, on, ranking.input_limit, answers);
    SensitivityReport(context, steps, ranking.input_limit).write(*sheet);
  }
  sheet->FinishSheet();
}

}  // namespace ordvane::reports
