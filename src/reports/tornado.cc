// Tornado report: the rows are ranked and formatted first, then the chart takes its place over the table, and
// its bars are drawn from the table's columns.
#include "reports/tornado.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "host/error.h"
#include "model/step_facts.h"
#include "reports/chart_helpers.h"
#include "reports/graph_sheet.h"
#include "reports/report_columns.h"
#include "reports/step_remarks.h"
#include "reports/table_parts.h"
#include "reports/tornado_chart.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

// String ids.
constexpr SheetTexts kSheetTexts = {.sheet_name = 712, .title = 711, .run_line = 716};
constexpr TornadoTexts kChartTexts = {
    .chart_title = 713, .chart_subtitle = 701, .change_axis = 709, .value_axis = 714};
constexpr std::int16_t kInvalidNote = 700;
constexpr std::int16_t kBaseGroup = 702;
constexpr std::int16_t kHighGroup = 703;
constexpr std::int16_t kLowGroup = 704;
constexpr std::int16_t kNoBars = 706;
constexpr std::int16_t kInputGroup = 707;
constexpr std::int16_t kBaseZeroNote = 708;
constexpr std::int16_t kTableSubcaption = 710;
constexpr std::int16_t kTableCaption = 715;
constexpr std::int16_t kBaseInvalidNote = 730;
constexpr std::int16_t kNothingMoves = 731;
constexpr std::int16_t kNoUsableBase = 1007;
constexpr std::int16_t kOutputBaseZero = 1026;
constexpr std::int16_t kNoTornado = 1040;

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
constexpr std::int32_t kHeaderRows = 3;

class TornadoReport {
 public:
  TornadoReport(const Context& context, std::int32_t output, std::int32_t bars, const TornadoStyle& style)
      : context_(context),
        session_(context.session),
        output_index_(output),
        output_(context.outputs(output)),
        bars_(bars),
        chart_(session_, output_, context.in_percent(), context.range_mode, kChartTexts, style),
        remarks_(session_),
        rows_(bars, column(kColumns)),
        input_formats_(bars),
        facts_(bars) {}

  void write(layout::ReportSheet& sheet) {
    fill_rows();
    chart_.choose_bars(rows_, {column(kName), column(low()), column(high())}, facts_, remarks_,
                       [this](std::int32_t row) { return input_ends(row); });
    if (const auto reason = reason_for_no_chart()) {
      CreateMessageChart(sheet, session_.text(kNoTornado) + "\r\n" + session_.text(*reason));
      sheet.SetSheetOption(1);
      remarks_.write(sheet);
      write_table(sheet);
    } else {
      const auto chart = sheet.AddChart(kTornadoChart, kChartWidth,
                                        sheet.ChartHeightForBars(static_cast<std::int16_t>(chart_.bars())));
      sheet.SetSheetOption(1);
      remarks_.write(sheet);
      chart_.draw(*chart, *write_table(sheet));
      SetWatermark(session_, *chart);
    }
    sheet.SheetWorksheet()->range("a1")->select();
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(context_.range_mode) + after_places;
  }
  Column low() const { return context_.in_percent() ? kLowChange : kLow; }
  Column high() const { return context_.in_percent() ? kHighChange : kHigh; }

  // ---- Rows ----

  void fill_rows() {
    for (const model::DralInputOutput& input : context_.inputs) {
      const double rank = input.outputRank(output_index_);
      model::StepFacts facts = step_facts(input, output_index_, output_.BaseValue());
      const bool is_shown = rank <= bars_;
      if (is_shown) {
        fill_row(static_cast<std::int32_t>(std::nearbyint(rank)), input, facts);
        session_.log.line("GenerateTornadoReport cellAddress: " + input.cellAddress);
        CheckUserCancel(session_);
      }
      // A failure is worth a word even where it is what keeps the input off the sheet.
      facts.leaves_out_base = facts.leaves_out_base && is_shown;
      remarks_.add(ItemLabel(input), facts);
    }
  }

  void fill_row(std::int32_t row, const model::DralInputOutput& input, const model::StepFacts& facts) {
    PutPlace(rows_, row, 1, context_.range_mode, input);
    rows_.set_number(row, column(kRank), row);
    rows_.set_text(row, column(kName), ItemLabel(input));
    rows_.set_text(row, column(kCell), input.cellAddress);
    const auto of_output = model::OrdvaneDivisorOutput;
    const auto of_input = model::OrdvaneDivisorInput;
    fill_value(row, kLow, input.outputMinValue(output_index_), of_output);
    fill_value(row, kLowChange, input.outputMinPercentChange(output_index_), of_output);
    fill_value(row, kHigh, input.outputMaxValue(output_index_), of_output);
    fill_value(row, kHighChange, input.outputMaxPercentChange(output_index_), of_output);
    if (facts.without_effect()) {
      // No step is behind either end.
      for (const Column value : {kLowInput, kHighInput}) rows_.set_text(row, column(value), host::kNotShown);
    } else {
      fill_value(row, kLowInput, input.minInputValue(output_index_), of_input);
      fill_value(row, kHighInput, input.maxInputValue(output_index_), of_input);
    }
    fill_value(row, kInputBase, input.BaseValue(), of_input);
    input_formats_(row) = ValueFormat(input);
    facts_(row) = facts;
  }

  void fill_value(std::int32_t row, Column place, double value, model::OrdvaneDivisorType item) {
    std::int32_t flags = 0;
    FormatTableValue(output_.rules(), rows_, row, column(place), value, flags, 1.0, item);
    if (flags == 0) return;
    const bool change = place == kLowChange || place == kHighChange;
    const bool has_results = rows_.at(row, column(kLow)).kind == host::CellKind::kNumber;
    notes_.add(change && has_results ? note_on_missing_change() : kInvalidNote, row, column(place));
  }

  std::int16_t note_on_missing_change() const {
    return output_.BaseValue() == 0 ? kBaseZeroNote : kBaseInvalidNote;
  }

  // ---- Bars ----

  InputEnds input_ends(std::int32_t row) const {
    const auto value = [&](Column place) {
      const host::CellValue cell = rows_.value(row, column(place));
      return cell.is_number() ? std::optional(cell.number) : std::nullopt;
    };
    return {value(kInputBase), value(kLowInput), value(kHighInput), input_formats_(row)};
  }

  std::optional<std::int16_t> reason_for_no_chart() const {
    if (chart_.bars() == 0) return kNothingMoves;
    if (context_.in_percent() && output_.BaseValue() == 0) return kOutputBaseZero;
    if (!chart_.has_bars()) return context_.in_percent() ? kNoUsableBase : kInvalidNote;
    return std::nullopt;
  }

  // ---- Table ----

  std::shared_ptr<layout::ReportTable> write_table(layout::ReportSheet& sheet) {
    auto table = AddTable(
        sheet, bars_, kHeaderRows,
        {session_.text(kTableCaption, std::to_string(bars_)), session_.text(kTableSubcaption)}, columns());
    table->WrapNames();
    table->PutBody(1, rows_);
    session_.log.line("GenerateTornadoReport t_InputsCount: " + session::log_text(bars_) +
                      "    numberFormat: " + ValueFormat(output_));
    format_input_values(*table);
    for (std::int32_t row = 1; row <= bars_; ++row)
      if (const std::string note = StepNote(session_, facts_(row)); !note.empty())
        table->AddTableNote(row, column(kName), session_.CommonString(12), note);
    notes_.write(session_, *table);
    return table;
  }

  std::vector<layout::Column> columns() const {
    const SharedColumns shared(context_);
    std::vector<layout::Column> input = shared.places();
    layout::append(input, {shared.rank(), shared.name(), shared.cell()});
    std::vector<layout::Column> columns = ruled(layout::grouped(session_.text(kInputGroup), 1, input, 2));
    for (const std::int16_t group : {kLowGroup, kHighGroup}) {
      auto end = ruled(shared.of_outputs(2, {shared.value(ValueFormat(output_)), shared.fraction()}));
      layout::append(end, ruled(shared.of_inputs(2, {shared.value()})));
      layout::append(columns, layout::grouped(session_.text(group), 1, end));
    }
    layout::append(columns, layout::grouped(session_.text(kBaseGroup), 1,
                                            {layout::figure_column(session_.CommonString(16))}, 2));
    return columns;
  }

  // Every row has its own input; neighbours with one format are formatted together.
  void format_input_values(layout::ReportTable& table) {
    for (std::int32_t first = 1, end; first <= bars_; first = end) {
      end = first + 1;
      while (end <= bars_ && input_formats_(end) == input_formats_(first)) ++end;
      if (input_formats_(first).empty()) continue;
      for (const Column value : {kLowInput, kHighInput, kInputBase})
        table.FormatBody(first, end - first, column(value), input_formats_(first));
    }
  }

  const Context& context_;
  session::Session& session_;
  std::int32_t output_index_;
  const model::DralInputOutput& output_;
  std::int32_t bars_;
  TornadoChart chart_;

  StepRemarks remarks_;
  FirstNotes notes_;

  host::CellBlock rows_;
  // By row.
  model::OneBased<std::string> input_formats_;
  model::OneBased<model::StepFacts> facts_;
};

}  // namespace

void GenerateTornadoReport(const Context& context, std::int32_t on, const model::RankingRecord& ranking,
                           const TornadoStyle& style) {
  context.session.log.line("ReportTornado.GenerateTornadoReport");
  const model::DralInputOutput& output = context.outputs(on);
  const auto sheet = StartOutputSheet(context, output.bookName, output, kSheetTexts);
  if (ranking.input_limit <= 0)
    sheet->NextCell()->set_value(context.session.text(kNoBars));
  else
    TornadoReport(context, on, ranking.input_limit, style).write(*sheet);
  sheet->FinishSheet();
}

}  // namespace ordvane::reports
