// Tornado report: the rows are ranked and formatted first, then the chart takes its place over the table, and
// its bars are drawn from the table's columns.
#include "reports/tornado.h"

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "model/answers.h"
#include "reports/answer_columns.h"
#include "reports/answers.h"
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
  kInputBase
};

constexpr std::int32_t kHeaderRows = 3;
constexpr const char* kTurningLine = "* ";

class TornadoReport final : public BarReport {
 public:
  TornadoReport(const Context& context, std::int32_t output, std::int32_t bars, const TornadoStyle& style)
      : BarReport(context, context.outputs(output), "Tornado", kTexts, style, Varied::kInputs),
        output_index_(output),
        answers_(AnswersOf(context, output)),
        answer_columns_(context, answers_, kAnswersOfInputs, column(kInputBase) + 1, std::max(bars, 0)),
        sentence_(
            AnswerSentence(context.session, context.inputs, context.outputs, context.range_mode, answers_)),
        facts_of_(context.inputs.size(), nullptr),
        row_of_(context.inputs.size(), 0),
        input_formats_(std::max(bars, 0)) {
    set_rows(bars, {.name = column(kName),
                    .low = column(kLow),
                    .low_change = column(kLowChange),
                    .high = column(kHigh),
                    .high_change = column(kHighChange),
                    .count = answer_columns_.last()});
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(context_.range_mode) + after_places;
  }

  // The inputs of the first ranks, in the order that is asked for; the others have no rows. Of equal ranks
  // the later input stays.
  void fill_rows() override {
    model::OneBased<std::int32_t> input_at(bars_, 0);
    for (std::int32_t i = 1; i <= context_.inputs.size(); ++i)
      if (const std::int32_t rank = context_.inputs(i).rank(output_index_); rank <= bars_) input_at(rank) = i;
    in_rows_.assign(bars_, nullptr);
    std::int32_t row = 0;
    for (const std::size_t position : sorted_by(context_.settings.sort, answers_.inputs)) {
      const model::InputAnswers& answers = answers_.inputs[position];
      facts_of_(answers.input) = &answers.facts;
      if (answers.rank > bars_ || input_at(answers.rank) != answers.input) continue;
      row = context_.settings.sort == model::SortBy::kSwing ? answers.rank : row + 1;
      row_of_(answers.input) = row;
      in_rows_(row) = &answers;
    }
    write_rows();
  }

  void write_rows() {
    for (std::int32_t i = 1; i <= context_.inputs.size(); ++i) {
      const model::DralInputOutput& input = context_.inputs(i);
      const std::int32_t row = row_of_(i);
      if (row > 0) {
        fill_row(row, input);
        session_.log.line("GenerateTornadoReport cellAddress: " + input.cellAddress);
        CheckUserCancel(session_);
      }
      add_facts(row, ItemLabel(input), *facts_of_(i));
    }
  }

  void fill_row(std::int32_t row, const model::DralInputOutput& input) {
    const model::InputAnswers& answers = *in_rows_(row);
    PutPlace(rows_, row, 1, context_.range_mode, input);
    rows_.set_number(row, column(kRank), answers.rank);
    rows_.set_text(row, column(kName), ItemLabel(input));
    rows_.set_text(row, column(kCell), input.cellAddress);
    put_ends(row, {.low = input.outputMinValue(output_index_),
                   .low_change = input.outputMinPercentChange(output_index_),
                   .high = input.outputMaxValue(output_index_),
                   .high_change = input.outputMaxPercentChange(output_index_)});
    if (answers.facts.without_effect()) {
      // No step is behind either end.
      for (const Column value : {kLowInput, kHighInput}) rows_.set_text(row, column(value), host::kNotShown);
    } else {
      put_value(row, column(kLowInput), input.minInputValue(output_index_));
      put_value(row, column(kHighInput), input.maxInputValue(output_index_));
    }
    put_value(row, column(kInputBase), input.BaseValue());
    answer_columns_.fill(rows_, row, row, answers);
    input_formats_(row) = ValueFormat(input);
  }

  std::function<InputEnds(std::int32_t)> inputs_at_ends() const override {
    return [this](std::int32_t row) -> InputEnds {
      const auto value = [&](Column place) {
        const host::CellValue cell = rows_.value(row, column(place));
        return cell.is_number() ? std::optional(cell.number) : std::nullopt;
      };
      return {value(kInputBase), value(kLowInput), value(kHighInput), input_formats_(row),
              in_rows_(row) != nullptr && in_rows_(row)->shape.turns()};
    };
  }

  std::string description() const override { return sentence_; }

  void write_lines(layout::ReportSheet& sheet) const override {
    sheet.AddLine(sentence_);
    if (context_.settings.sort != model::SortBy::kSwing)
      sheet.AddLine(
          session_.text(text_id::kAnswersSortedBy, session_.text(SortHeading(context_.settings.sort))));
    WriteShapeLines(context_, sheet, answers_, bars_, kTurningLine);
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
    layout::append(
        columns, layout::grouped(session_.text(text_id::kTornadoBaseOfInput), 1,
                                 ruled({layout::figure_column(session_.text(text_id::kLabelBaseValue))}), 2));
    layout::append(columns, answer_columns_.columns(kHeaderRows));
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
    answer_columns_.format(table);
  }

  std::int32_t output_index_;
  model::OutputAnswers answers_;
  AnswerColumns answer_columns_;
  std::string sentence_;
  model::OneBased<const model::InputAnswers*> in_rows_;  // by row
  model::OneBased<const model::StepFacts*> facts_of_;    // by input record
  model::OneBased<std::int32_t> row_of_;                 // of the input records; 0: none
  model::OneBased<std::string> input_formats_;           // by row
};

}  // namespace

void GenerateTornadoReport(const Context& context, std::int32_t output, const model::RankingRecord& ranking,
                           const TornadoStyle& style) {
  TornadoReport(context, output, ranking.input_limit, style).make();
}

}  // namespace ordvane::reports
