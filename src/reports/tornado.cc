// Tornado report: the rows are ranked and formatted first, then the chart takes its place over the table, and
// its bars are drawn from the table's columns.
#include "reports/tornado.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "model/step_facts.h"
#include "reports/bar_report.h"
#include "reports/item_texts.h"
#include "reports/progress.h"

namespace ordvane::reports {
namespace {

constexpr BarReportTexts kTexts = {.sheet = {.sheet_name = text_id::kTornadoSheetName,
                                             .title = text_id::kTornadoTitle,
                                             .run_line = text_id::kTornadoRun},
                                   .chart = {.chart_title = text_id::kTornadoChartTitle,
                                             .chart_subtitle = text_id::kTornadoChartSubtitle,
                                             .change_axis = text_id::kTornadoChangeAxis,
                                             .value_axis = text_id::kTornadoValueAxis},
                                   .no_bars = text_id::kTornadoNoBars,
                                   .no_chart = text_id::kMessageNoTornado,
                                   .nothing_moves = text_id::kTornadoNothingMoves,
                                   .invalid = text_id::kTornadoNotShown,
                                   .base_zero = text_id::kTornadoOutputBaseZero,
                                   .base_invalid = text_id::kTornadoOutputBaseNoNumber};

// Columns of the table, after those that say where an input is (one a step of the range mode).
enum Column : std::int32_t {
  kRank = 1,
  kName,
  kCell,
  kLow,
  kLowChange,
  kLowInput,
  kHigh,
  kHighChange,
  kHighInput,
  kInputBase,
  kColumns = kInputBase
};

class TornadoReport final : public BarReport {
 public:
  TornadoReport(const Context& context, std::int32_t output, std::int32_t bars, const TornadoStyle& style)
      : BarReport(context, context.outputs(output), "Tornado", kTexts, style, Varied::kInputs),
        output_index_(output),
        input_formats_(std::max(bars, 0)) {
    set_rows(bars, {.name = column(kName),
                    .low = column(kLow),
                    .low_change = column(kLowChange),
                    .high = column(kHigh),
                    .high_change = column(kHighChange),
                    .count = column(kColumns)});
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(context_.range_mode) + after_places;
  }

  void fill_rows() override {
    for (const model::DralInputOutput& input : context_.inputs) {
      const std::int32_t rank = input.rank(output_index_);
      const model::StepFacts facts = step_facts(input, output_index_, output_.BaseValue());
      const std::int32_t row = rank <= bars_ ? rank : 0;
      if (row > 0) {
        fill_row(row, input, facts);
        session_.log.line("GenerateTornadoReport cellAddress: " + input.cellAddress);
        CheckUserCancel(session_);
      }
      add_facts(row, ItemLabel(input), facts);
    }
  }

  void fill_row(std::int32_t row, const model::DralInputOutput& input, const model::StepFacts& facts) {
    PutPlace(rows_, row, 1, context_.range_mode, input);
    rows_.set_number(row, column(kRank), row);
    rows_.set_text(row, column(kName), ItemLabel(input));
    rows_.set_text(row, column(kCell), input.cellAddress);
    put_ends(row, {.low = input.outputMinValue(output_index_),
                   .low_change = input.outputMinPercentChange(output_index_),
                   .high = input.outputMaxValue(output_index_),
                   .high_change = input.outputMaxPercentChange(output_index_)});
    if (facts.without_effect()) {
      // No step is behind either end.
      for (const Column value : {kLowInput, kHighInput}) rows_.set_text(row, column(value), host::kNotShown);
    } else {
      put_value(row, column(kLowInput), input.minInputValue(output_index_));
      put_value(row, column(kHighInput), input.maxInputValue(output_index_));
    }
    put_value(row, column(kInputBase), input.BaseValue());
    input_formats_(row) = ValueFormat(input);
  }

  std::function<InputEnds(std::int32_t)> inputs_at_ends() const override {
    return [this](std::int32_t row) -> InputEnds {
      const auto value = [&](Column place) {
        const host::CellValue cell = rows_.value(row, column(place));
        return cell.is_number() ? std::optional(cell.number) : std::nullopt;
      };
      return {value(kInputBase), value(kLowInput), value(kHighInput), input_formats_(row)};
    };
  }

  TableCaptions captions() const override {
    return {session_.text(text_id::kTornadoCaption, std::to_string(bars_)),
            session_.text(text_id::kTornadoSubcaption)};
  }

  std::vector<layout::Column> columns() const override {
    const SharedColumns shared(context_);
    std::vector<layout::Column> input = shared.places();
    layout::append(input, {shared.rank(), shared.name(), shared.cell()});
    std::vector<layout::Column> columns =
        ruled(layout::grouped(session_.text(text_id::kTornadoInput), 1, input, 2));
    for (const session::TextId<0> group : {text_id::kTornadoLowestOutput, text_id::kTornadoHighestOutput}) {
      auto end = ruled(shared.of_outputs(2, {shared.value(ValueFormat(output_)), shared.fraction()}));
      layout::append(end, ruled(shared.of_inputs(2, {shared.value()})));
      layout::append(columns, layout::grouped(session_.text(group), 1, end));
    }
    layout::append(columns,
                   layout::grouped(session_.text(text_id::kTornadoBaseOfInput), 1,
                                   {layout::figure_column(session_.text(text_id::kLabelBaseValue))}, 2));
    return columns;
  }

  // Every row has its own input; neighbours with one format are formatted together.
  void finish(layout::ReportSheet& /*sheet*/, layout::ReportTable& table,
              const std::vector<std::string>& /*notes*/) override {
    for (std::int32_t first = 1, end; first <= bars_; first = end) {
      end = first + 1;
      while (end <= bars_ && input_formats_(end) == input_formats_(first)) ++end;
      if (input_formats_(first).empty()) continue;
      for (const Column value : {kLowInput, kHighInput, kInputBase})
        table.FormatBody(first, end - first, column(value), input_formats_(first));
    }
  }

  std::int32_t output_index_;
  model::OneBased<std::string> input_formats_;  // by row
};

}  // namespace

void GenerateTornadoReport(const Context& context, std::int32_t output, const model::RankingRecord& ranking,
                           const TornadoStyle& style) {
  TornadoReport(context, output, ranking.input_limit, style).make();
}

}  // namespace ordvane::reports
