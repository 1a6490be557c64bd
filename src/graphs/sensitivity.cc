// Sensitivity report: the charts take their room first, the step table follows, and each chart is drawn from
// its input's block of the table.
#include "graphs/sensitivity.h"

#include "graphs/chart_helpers.h"
#include "graphs/graph_sheet.h"
#include "graphs/step_table.h"
#include "host/error.h"
#include "tables/utils.h"

namespace ordvane::graphs {
namespace {

// String ids.
constexpr SheetTexts kSheetTexts = {.sheet_name = 509, .title = 512, .run_line = 515};
constexpr StepTableTexts kTableTexts = {
    .caption = 501, .subcaption = 504, .input_base_zero = 506, .output_base_zero = 507, .invalid = 500};
constexpr std::int16_t kNothing = 503;
constexpr std::int16_t kChangeAxis = 505;
constexpr std::int16_t kChartTitle = 510;
constexpr std::int16_t kValueAxis = 513;
constexpr std::int16_t kSecondTitle = 516;
constexpr std::int16_t kNoSensitivity = 1038;

// Position of the first cell that a chart cannot draw: an error value, or the text that stands for one. 0
// when every cell is a number.
std::int32_t first_undrawable_cell(host::Range& range) {
  if (const std::int32_t error = FirstErrorCellIndex(range)) return error;
  const host::CellBlock cells = range.values();
  for (std::int32_t row = 1; row <= cells.rows(); ++row)
    if (cells.at(row, 1).kind != host::CellKind::kNumber) return row;
  return 0;
}

class SensitivityReport {
 public:
  SensitivityReport(session::Session& session, const model::DralInputOutput& output, StepTable& steps,
                    model::OrdvaneRangeMode range_mode, model::OrdvaneOutputMode output_mode)
      : session_(session),
        output_(output),
        steps_(steps),
        range_mode_(range_mode),
        output_mode_(output_mode),
        quantity_(output_mode == model::OrdvaneOutputAsPercentChange ? Quantity::kChange : Quantity::kValue) {
  }

  void write(tables::ReportSheet& sheet) {
    for (const StepTable::Block& block : steps_.blocks())
      if (is_charted(block)) charts_.push_back({block, graph_of(block)});
    for (Charted& charted : charts_) charted.graph.reserve(sheet);
    std::shared_ptr<tables::ReportChart> panel;
    if (charts_.empty()) CreateMessageChart(sheet, NoBaseMessage(session_, kNoSensitivity, output_), &panel);

    steps_.write(sheet, kTableTexts);
    for (Charted& charted : charts_) draw(sheet, charted);

    const double width = tables::TableWidthForChart(steps_.table());
    for (Charted& charted : charts_) FitWidth(*charted.graph.chart(), width);
    if (panel) FitWidth(*panel, width);
  }

 private:
  struct Charted {
    StepTable::Block block;
    OrdvaneGInput graph;
  };

  StepTable::Steps drawn_steps(const StepTable::Block& block) const {
    return steps_.drawable_steps(block, quantity_, true);
  }

  bool is_charted(const StepTable::Block& block) const {
    return steps_.has_base(block) && drawn_steps(block).count > 0;
  }

  OrdvaneGInput graph_of(const StepTable::Block& block) const {
    const std::string input = steps_.input(block).NameOrQualifiedCellAddressName(range_mode_);
    const std::string output = output_.NameOrQualifiedCellAddressName(range_mode_);
    const std::int16_t axis = quantity_ == Quantity::kChange ? kChangeAxis : kValueAxis;
    OrdvaneGInput graph(session_);
    graph.chart_title = session_.text(kChartTitle, input);
    graph.second_title = session_.text(kSecondTitle, output, input);
    graph.x_axis_title = session_.text(axis, input);
    graph.y_axis_title = session_.text(axis, output);
    graph.percent_flag = output_mode_;
    return graph;
  }

  void draw(tables::ReportSheet& sheet, Charted& charted) {
    steps_.fill_range(*charted.graph.ranges.Add(1), charted.block, drawn_steps(charted.block), quantity_);
    if (charted.graph.inputG(sheet) == 0) {
      if (quantity_ == Quantity::kValue) format_axes(charted);
      return;
    }
    // The reader is told why this frame is empty.
    host::Chart& empty = *charted.graph.chart()->Chart();
    if (empty.series_count() == 0) AddPlaceholderSeries(empty);
    charted.graph.chart()->SetTitle(charted.graph.chart_title);
    charted.graph.chart()->SetSubtitle(session_.text(kTableTexts.invalid));
    FormatMessageChart(empty);
  }

  // Figures of values look as in the items' cells.
  void format_axes(const Charted& charted) {
    const auto format = [&](host::AxisType type, const std::string& number_format) {
      if (number_format.empty()) return;
      host::ignoring_errors([&] {
        charted.graph.chart()
            ->Chart()
            ->axis(type, host::AxisGroup::kPrimary)
            ->set_tick_label_format(number_format);
      });
    };
    format(host::AxisType::kCategory, steps_.input(charted.block).numberFormat);
    format(host::AxisType::kValue, output_.numberFormat);
  }

  session::Session& session_;
  const model::DralInputOutput& output_;
  StepTable& steps_;
  model::OrdvaneRangeMode range_mode_;
  model::OrdvaneOutputMode output_mode_;
  Quantity quantity_;
  std::vector<Charted> charts_;
};

}  // namespace

void OrdvaneGInput::reserve(tables::ReportSheet& PER) {
  chart_ = PER.AddChart(kSensitivityChart, kChartWidth, kChartHeight);
}

std::int32_t OrdvaneGInput::inputG(tables::ReportSheet& PER) {
  if (!chart_) reserve(PER);
  SetChartAreaLineWeight(*chart_->Chart());
  std::int32_t first = 1;
  const auto range = ranges.Item(first);
  if (const std::int32_t cell = first_undrawable_cell(*range->xValues())) return cell;
  if (const std::int32_t cell = first_undrawable_cell(*range->yValues())) return cell;
  const std::int32_t status = GetGraphRangeExtent(session_, *range, extent_);
  if (status != 0) return status;
  add_series(*range);
  chart_->SetTitle(chart_title);
  chart_->SetSubtitle(second_title);
  finish(percent_flag != 0 ? tables::PercentFormat() : "");
  return 0;
}

std::int32_t GenerateSensitivityReport(session::Session& session, tables::ReportWorkbook& rWB,
                                       std::int32_t outputIndex,
                                       const model::OneBased<std::int32_t>& /*selectedOutputs*/,
                                       const model::Records& trInputs, const model::Records& trOutputs,
                                       std::int32_t /*numIterations*/, model::OrdvaneRangeMode rangeMode,
                                       model::OrdvaneOutputMode outputMode,
                                       const model::RankingRecord& ranking, std::int32_t runNumber,
                                       std::int32_t totalRuns) {
  const model::DralInputOutput& output = trOutputs(outputIndex);
  const auto sheet = StartGraphSheet(session, rWB, output, kSheetTexts, runNumber, totalRuns);
  if (ranking.input_limit <= 0) {
    sheet->NextCell()->set_value(session.text(kNothing));
  } else {
    StepTable steps(session, trInputs, output, outputIndex, rangeMode, ranking.input_limit);
    SensitivityReport(session, output, steps, rangeMode, outputMode).write(*sheet);
  }
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::graphs
