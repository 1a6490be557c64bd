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
#include "reports/step_remarks.h"
#include "reports/tornado_chart.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

using host::HAlign;

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

struct TornadoJob {
  const model::DralInputOutput& output;
  std::int32_t output_index;
  const model::Records& inputs;
  model::OrdvaneRangeMode range_mode;
  bool percent;
  std::int32_t bars;
  TornadoStyle style;
};

class TornadoReport {
 public:
  TornadoReport(session::Session& session, const TornadoJob& job)
      : session_(session),
        job_(job),
        chart_(session, job.output, job.percent, job.range_mode, kChartTexts, job.style),
        remarks_(session),
        rows_(job.bars, column(kColumns)),
        input_formats_(job.bars),
        facts_(job.bars) {}

  void write(const std::shared_ptr<layout::ReportSheet>& sheet) {
    fill_rows();
    chart_.choose_bars(rows_, {column(kName), column(low()), column(high())}, facts_, remarks_,
                       [this](std::int32_t row) { return input_ends(row); });
    if (const auto reason = reason_for_no_chart()) {
      CreateMessageChart(*sheet, session_.text(kNoTornado) + "\r\n" + session_.text(*reason));
      sheet->SetSheetOption(1);
      remarks_.write(*sheet);
      write_table(*sheet);
    } else {
      const auto chart = sheet->AddBarChart(
          kChartWidth, sheet->ChartHeightForBars(static_cast<std::int16_t>(chart_.bars())));
      sheet->SetSheetOption(1);
      remarks_.write(*sheet);
      chart_.draw(*chart, *write_table(*sheet));
      SetWatermark(session_, *chart);
    }
    sheet->SheetWorksheet()->range("a1")->select();
  }

 private:
  std::int32_t column(Column after_places) const {
    return static_cast<std::int32_t>(job_.range_mode) + after_places;
  }
  Column low() const { return job_.percent ? kLowChange : kLow; }
  Column high() const { return job_.percent ? kHighChange : kHigh; }

  // ---- Rows ----

  void fill_rows() {
    for (const model::DralInputOutput& input : job_.inputs) {
      const double rank = input.outputRank(job_.output_index);
      model::StepFacts facts = step_facts(input, job_.output_index, job_.output.BaseValue());
      const bool is_shown = rank <= job_.bars;
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
    if (job_.range_mode == model::OrdvaneRangeBookMode) rows_.set_text(row, 1, input.bookName);
    if (job_.range_mode != model::OrdvaneRangeCellMode) rows_.set_text(row, job_.range_mode, input.sheetName);
    rows_.set_number(row, column(kRank), row);
    rows_.set_text(row, column(kName), ItemLabel(input));
    rows_.set_text(row, column(kCell), input.cellAddress);
    const auto of_output = model::OrdvaneDivisorOutput;
    const auto of_input = model::OrdvaneDivisorInput;
    fill_value(row, kLow, input.outputMinValue(job_.output_index), of_output);
    fill_value(row, kLowChange, input.outputMinPercentChange(job_.output_index), of_output);
    fill_value(row, kHigh, input.outputMaxValue(job_.output_index), of_output);
    fill_value(row, kHighChange, input.outputMaxPercentChange(job_.output_index), of_output);
    if (facts.without_effect()) {
      // No step is behind either end.
      for (const Column value : {kLowInput, kHighInput}) rows_.set_text(row, column(value), host::kNotShown);
    } else {
      fill_value(row, kLowInput, input.minInputValue(job_.output_index), of_input);
      fill_value(row, kHighInput, input.maxInputValue(job_.output_index), of_input);
    }
    fill_value(row, kInputBase, input.BaseValue(), of_input);
    input_formats_(row) = ValueFormat(input);
    facts_(row) = facts;
  }

  void fill_value(std::int32_t row, Column place, double value, model::OrdvaneDivisorType item) {
    std::int32_t flags = 0;
    FormatTableValue(job_.output.rules(), rows_, row, column(place), value, flags, 1.0, item);
    if (flags == 0) return;
    const bool change = place == kLowChange || place == kHighChange;
    const bool has_results = rows_.at(row, column(kLow)).kind == host::CellKind::kNumber;
    notes_.add(change && has_results ? note_on_missing_change() : kInvalidNote, row, column(place));
  }

  std::int16_t note_on_missing_change() const {
    return job_.output.BaseValue() == 0 ? kBaseZeroNote : kBaseInvalidNote;
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
    if (job_.percent && job_.output.BaseValue() == 0) return kOutputBaseZero;
    if (!chart_.has_bars()) return job_.percent ? kNoUsableBase : kInvalidNote;
    return std::nullopt;
  }

  // ---- Table ----

  std::shared_ptr<layout::ReportTable> write_table(layout::ReportSheet& sheet) {
    auto table = sheet.AddTable(job_.bars, column(kColumns), kHeaderRows, 0,
                                session_.text(kTableCaption, std::to_string(job_.bars)),
                                session_.text(kTableSubcaption));
    table->WrapNames();
    write_headers(*table);
    table->PutBody(1, rows_);
    format_values(*table);
    for (const Column last : {kCell, kLowChange, kLowInput, kHighChange, kHighInput})
      table->AddColumnRule(column(last), -1, layout::kRuleLineStyle, layout::kRuleWeight,
                           layout::kRuleColorIndex);
    for (std::int32_t row = 1; row <= job_.bars; ++row)
      if (const std::string note = StepNote(session_, facts_(row)); !note.empty())
        table->AddTableNote(row, column(kName), session_.CommonString(12), note);
    notes_.write(session_, *table);
    return table;
  }

  void write_headers(layout::ReportTable& table) {
    const auto figures = [&](Column place, std::int32_t caption, HAlign body = HAlign::kRight) {
      table.SetColumnHeader(column(place), session_.CommonString(caption), body, HAlign::kCenter, 0,
                            layout::kFitColumn, "", false);
    };
    const auto names = [&](std::int32_t place, std::int32_t caption) {
      table.SetColumnHeader(place, session_.CommonString(caption), HAlign::kLeft, HAlign::kLeft, 0,
                            layout::kNameColumnWidth, "", true);
    };
    if (job_.range_mode == model::OrdvaneRangeBookMode) names(1, 0);
    if (job_.range_mode != model::OrdvaneRangeCellMode) names(job_.range_mode, 1);
    figures(kRank, 9, HAlign::kCenter);
    names(column(kName), 2);
    figures(kCell, 3, HAlign::kCenter);
    for (const Column value : {kLow, kLowInput, kHigh, kHighInput}) figures(value, 5);
    for (const Column change : {kLowChange, kHighChange}) figures(change, 7);
    figures(kInputBase, 16);

    AddHeaderGroup(table, 1, 1, 2, column(kCell), session_.text(kInputGroup));
    AddHeaderGroup(table, 1, column(kLow), 1, 3, session_.text(kLowGroup));
    AddHeaderGroup(table, 1, column(kHigh), 1, 3, session_.text(kHighGroup));
    AddHeaderGroup(table, 1, column(kInputBase), 2, 1, session_.text(kBaseGroup));
    for (const Column value : {kLow, kHigh}) {
      AddHeaderGroup(table, 2, column(value), 1, 2, session_.CommonString(11));
      AddHeaderGroup(table, 2, column(value) + 2, 1, 1, session_.CommonString(10));
    }
  }

  void format_values(layout::ReportTable& table) {
    const std::string format = ValueFormat(job_.output);
    session_.log.line("GenerateTornadoReport t_InputsCount: " + session::log_text(job_.bars) +
                      "    numberFormat: " + format);
    for (const Column value : {kLow, kHigh})
      if (!format.empty()) table.FormatBody(1, job_.bars, column(value), format);
    for (const Column change : {kLowChange, kHighChange})
      table.FormatBody(1, job_.bars, column(change), PercentFormat());
    format_input_values(table);
  }

  // Every row has its own input; neighbours with one format are formatted together.
  void format_input_values(layout::ReportTable& table) {
    for (std::int32_t first = 1, end; first <= job_.bars; first = end) {
      end = first + 1;
      while (end <= job_.bars && input_formats_(end) == input_formats_(first)) ++end;
      if (input_formats_(first).empty()) continue;
      for (const Column value : {kLowInput, kHighInput, kInputBase})
        table.FormatBody(first, end - first, column(value), input_formats_(first));
    }
  }

  session::Session& session_;
  TornadoJob job_;
  TornadoChart chart_;

  StepRemarks remarks_;
  FirstNotes notes_;

  host::CellBlock rows_;
  // By row.
  model::OneBased<std::string> input_formats_;
  model::OneBased<model::StepFacts> facts_;
};

}  // namespace

std::int32_t GenerateTornadoReport(session::Session& session, layout::ReportWorkbook& rWB,
                                   std::int32_t outputIndex,
                                   const model::OneBased<std::int32_t>& /*selectedOutputs*/,
                                   const model::Records& trInputs, const model::Records& trOutputs,
                                   std::int32_t /*numIterations*/, model::OrdvaneRangeMode rangeMode,
                                   model::OrdvaneOutputMode outputMode, const model::RankingRecord& ranking,
                                   std::int32_t runNumber, std::int32_t totalRuns, double baseValue,
                                   const std::string& baseLabel, host::Color barColor,
                                   host::Color baselineColor) {
  session.log.line("ReportTornado.GenerateTornadoReport");
  const model::DralInputOutput& output = trOutputs(outputIndex);
  const auto sheet = StartGraphSheet(session, rWB, output, kSheetTexts, runNumber, totalRuns);
  const std::int32_t bars = ranking.input_limit;
  if (bars <= 0)
    sheet->NextCell()->set_value(session.text(kNoBars));
  else
    TornadoReport(session, {.output = output,
                            .output_index = outputIndex,
                            .inputs = trInputs,
                            .range_mode = rangeMode,
                            .percent = outputMode == model::OrdvaneOutputAsPercentChange,
                            .bars = bars,
                            .style = {baseValue, baseLabel, barColor, baselineColor}})
        .write(sheet);
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::reports
