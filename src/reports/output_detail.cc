#include "reports/output_detail.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "model/naming.h"
#include "reports/gap_notes.h"
#include "reports/table_parts.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

using host::HAlign;

constexpr std::int32_t kHeaderRows = 2;

// Column numbers of the table; workbook and worksheet columns exist in the
// wider range modes only.
struct Columns {
  explicit Columns(std::int32_t mode) : m(mode) {}
  std::int32_t m;
  std::int32_t rank = 1, name = 2, book = 3;
  std::int32_t sheet() const { return m + 2; }
  std::int32_t cell() const { return m + 3; }
  std::int32_t step() const { return m + 4; }
  std::int32_t input_value() const { return m + 5; }
  std::int32_t input_change() const { return m + 6; }
  std::int32_t output_value() const { return m + 7; }
  std::int32_t output_change() const { return m + 8; }
  std::int32_t count() const { return m + 8; }
};

std::vector<layout::TitleLine> title_lines(const session::Session& session, const model::Records& inputs,
                                           const model::DralInputOutput& output, std::int32_t run,
                                           std::int32_t runs) {
  std::vector<layout::TitleLine> lines = {
      {session.text(text_id::kLabelWorkbook), inputs(1).bookName},
      {session.text(text_id::kLabelOutput), ItemLabel(output)},
      {session.text(text_id::kLabelBaseValue), output.BaseValue(), ValueFormat(output)},
  };
  if (!output.rules().is_usable(output.BaseValue())) lines.back().value = host::kNotShown;
  if (runs > 1)
    lines.push_back({session.text(text_id::kLabelRun),
                     session.text(text_id::kOutputDetailRun, std::int64_t{run}, std::int64_t{runs})});
  return lines;
}

void set_headers(const session::Session& session, layout::ReportTable& table, const Columns& c) {
  const auto name_column = [&](std::int32_t column, session::TextId<0> caption) {
    table.SetColumnHeader(column, session.text(caption), HAlign::kLeft, HAlign::kLeft, 0,
                          layout::kNameColumnWidth, "", true);
  };
  const auto figure_column = [&](std::int32_t column, session::TextId<0> caption, HAlign body) {
    table.SetColumnHeader(column, session.text(caption), body, HAlign::kCenter, 0, layout::kFitColumn, "",
                          false);
  };
  figure_column(c.rank, text_id::kHeadingRank, HAlign::kCenter);
  name_column(c.name, text_id::kHeadingName);
  if (c.m == model::OrdvaneRangeBookMode) name_column(c.book, text_id::kHeadingWorkbook);
  if (c.m > model::OrdvaneRangeCellMode) name_column(c.sheet(), text_id::kHeadingWorksheet);
  figure_column(c.cell(), text_id::kHeadingCell, HAlign::kCenter);
  figure_column(c.step(), text_id::kHeadingStep, HAlign::kCenter);
  figure_column(c.input_value(), text_id::kHeadingValue, HAlign::kRight);
  figure_column(c.input_change(), text_id::kHeadingChangePercent, HAlign::kRight);
  figure_column(c.output_value(), text_id::kHeadingValue, HAlign::kRight);
  figure_column(c.output_change(), text_id::kHeadingChangePercent, HAlign::kRight);

  table.Header(1, c.input_value())->set_value(session.text(text_id::kHeadingInput));
  table.Header(1, c.output_value())->set_value(session.text(text_id::kHeadingOutput));
  table.Header(1, c.output_value(), 1, 2)->set_merge(true);
  table.Header(1, c.input_value(), 1, 2)->set_merge(true);
  table.AddColumnRule(c.step(), -1, layout::kRuleLineStyle, layout::kRuleWeight, layout::kRuleColorIndex);
  table.AddColumnRule(c.input_change(), -1, layout::kRuleLineStyle, layout::kRuleWeight,
                      layout::kRuleColorIndex);
}

std::int32_t steps_of(const model::Records& inputs) {
  std::int32_t steps = 0;
  for (const model::DralInputOutput& input : inputs) steps += input.numSteps;
  return steps;
}

// Ranks put results that are no numbers below all others.
bool any_failed(const model::Records& inputs, std::int32_t on) {
  for (const model::DralInputOutput& input : inputs)
    for (std::int32_t s = 1; s <= input.numSteps; ++s)
      if (!input.rules().is_usable(input.OutputValuesCalculated(on, s))) return true;
  return false;
}

// Fills one row of the body for every step that has a rank within it, with the format of its input's values
// in `input_formats`.
void fill_body(session::Session& session, host::CellBlock& body, const Columns& c, std::int32_t on,
               const model::Records& inputs, const model::DralInputOutput& output,
               std::vector<std::string>& input_formats, GapNotes& gaps) {
  const ItemCells results(output, kOutputGaps, gaps);
  for (std::int32_t i = 1; i <= inputs.size(); ++i) {
    const model::DralInputOutput& input = inputs(i);
    session.application().set_status_bar(
        session.text(text_id::kOutputDetailProgress, std::int64_t{i}, std::int64_t{inputs.size()}));
    const auto name = body.add_text(ItemLabel(input));
    const auto book = body.add_text(input.bookName);
    const auto sheet = body.add_text(input.sheetName);
    const auto cell = body.add_text(input.cellAddress);
    const std::string format = ValueFormat(input);
    const ItemCells values(input, kInputGaps, gaps);
    for (std::int32_t s = 1; s <= input.numSteps; ++s) {
      const double rank = input.outputRankPerStep(on, s);
      if (rank <= body.rows()) {
        const auto r = static_cast<std::int32_t>(std::nearbyint(rank));
        if (c.m == model::OrdvaneRangeBookMode) body.set_text(r, c.book, book);
        if (c.m > model::OrdvaneRangeCellMode) body.set_text(r, c.sheet(), sheet);
        body.set_number(r, c.rank, r);
        body.set_text(r, c.name, name);
        body.set_text(r, c.cell(), cell);
        body.set_number(r, c.step(), s);
        input_formats[static_cast<std::size_t>(r - 1)] = format;
        const FilledRow row{.block = body, .row = r, .body_row = r};
        values.put(row, {.value = c.input_value(), .fraction = c.input_change()}, input.InputValuesUsed(s));
        results.put(row, {.value = c.output_value(), .fraction = c.output_change()},
                    input.OutputValuesCalculated(on, s));
      }
      CheckUserCancel(session);
    }
    CheckUserCancel(session);
  }
}

}  // namespace

std::int32_t MakeOutputDetailReport(session::Session& session, layout::ReportWorkbook& rWB,
                                    std::int32_t outputIndex, const model::Records& trInputs,
                                    const model::Records& trOutputs, std::int32_t rowsWanted,
                                    model::OrdvaneRangeMode rangeMode, std::int32_t runNumber,
                                    std::int32_t totalRuns) {
  const model::DralInputOutput& output = trOutputs(outputIndex);
  const Columns c(rangeMode);
  const std::int32_t rows = std::min(rowsWanted, kMostDetailRows);

  host::Application& application = session.application();
  application.set_calculation(host::Calculation::kManual);
  const auto sheet = rWB.AddSheet(
      model::clean_sheet_name(session.text(text_id::kOutputDetailSheetName, output.cellAddress)));
  sheet->AddTitleBlock(session.text(text_id::kOutputDetailTitle),
                       title_lines(session, trInputs, output, runNumber, totalRuns));
  sheet->SheetWorksheet()->range("a1:c6")->set_wrap_text(false);
  sheet->SetSheetOption(1);
  const auto table = sheet->AddTable(
      rows, c.count(), kHeaderRows, 0,
      session.text(text_id::kOutputDetailCaption, output.NameOrQualifiedCellAddressName(rangeMode)),
      session.text(any_failed(trInputs, outputIndex) ? text_id::kOutputDetailSubcaptionFailedFirst
                                                     : text_id::kOutputDetailSubcaption));
  set_headers(session, *table, c);
  if (steps_of(trInputs) > rows)
    table->AddTableNote(0, c.input_value(), session.text(text_id::kNoteTitle),
                        session.text(text_id::kOutputDetailFull));

  const host::Cursor cursor = application.cursor();
  application.set_cursor(host::Cursor::kWait);
  if (rows > 0) {
    host::CellBlock body(rows, c.count());
    std::vector<std::string> input_formats(static_cast<std::size_t>(rows));
    GapNotes gaps(c.count());
    fill_body(session, body, c, outputIndex, trInputs, output, input_formats, gaps);
    table->PutBody(1, body);
    table->FormatRows(c.input_value(), input_formats);
    table->FormatBody(1, rows, c.input_change(), PercentFormat());
    table->FormatBody(1, rows, c.output_value(), ValueFormat(output));
    table->FormatBody(1, rows, c.output_change(), PercentFormat());
    gaps.write(session, *table, rows);
  }
  application.set_cursor(cursor);

  const auto body_range = table->BodyRange();
  body_range->offset(-kHeaderRows, 0)
      ->resize(body_range->row_count() + kHeaderRows, c.count())
      ->auto_fit_columns();
  sheet->FinishSheet();
  return 0;
}

}  // namespace ordvane::reports
