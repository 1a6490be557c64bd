#include "reports/output_detail.h"

#include <algorithm>
#include <vector>

#include "reports/gap_notes.h"
#include "reports/item_texts.h"
#include "reports/progress.h"
#include "reports/report_columns.h"
#include "reports/sheet_opening.h"

namespace ordvane::reports {
namespace {

constexpr std::int32_t kHeaderRows = 2;

// Column numbers of the table; workbook and worksheet columns exist in the wider range modes only.
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

std::vector<layout::Column> columns_of(const Context& context, const model::DralInputOutput& output,
                                       const std::string& note) {
  const SharedColumns shared(context);
  std::vector<layout::Column> columns = {shared.rank(), shared.name()};
  layout::append(columns, shared.places());
  layout::append(columns, ruled({shared.cell(), shared.step()}));
  std::vector<layout::Column> inputs = {shared.value(), shared.fraction()};
  inputs.front().note = note;
  layout::append(columns, ruled(shared.of_inputs(1, inputs)));
  layout::append(columns, shared.of_outputs(1, {shared.value(ValueFormat(output)), shared.fraction()}));
  return columns;
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
void fill_body(const Context& context, std::int32_t on, host::CellBlock& body, const Columns& c,
               std::vector<std::string>& input_formats, GapNotes& gaps) {
  session::Session& session = context.session;
  const model::Records& inputs = context.inputs;
  const ItemCells results(context.outputs(on), kOutputGaps);
  for (std::int32_t i = 1; i <= inputs.size(); ++i) {
    const model::DralInputOutput& input = inputs(i);
    session.application().set_status_bar(
        session.text(text_id::kOutputDetailProgress, std::int64_t{i}, std::int64_t{inputs.size()}));
    const auto name = body.add_text(ItemLabel(input));
    const auto book = body.add_text(input.bookName);
    const auto sheet = body.add_text(input.sheetName);
    const auto cell = body.add_text(input.cellAddress);
    const std::string format = ValueFormat(input);
    const ItemCells values(input, kInputGaps);
    for (std::int32_t s = 1; s <= input.numSteps; ++s) {
      const std::int32_t r = input.rank_of_step(on, s);
      if (r <= body.rows()) {
        if (c.m == model::OrdvaneRangeBookMode) body.set_text(r, c.book, book);
        if (c.m > model::OrdvaneRangeCellMode) body.set_text(r, c.sheet(), sheet);
        body.set_number(r, c.rank, r);
        body.set_text(r, c.name, name);
        body.set_text(r, c.cell(), cell);
        body.set_number(r, c.step(), s);
        input_formats[static_cast<std::size_t>(r - 1)] = format;
        const FilledRow row{.block = body, .row = r, .body_row = r, .gaps = gaps};
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

void MakeOutputDetailReport(const Context& context, std::int32_t on) {
  session::Session& session = context.session;
  const model::DralInputOutput& output = context.outputs(on);
  const Columns c(context.range_mode);
  const std::int32_t rows = std::min(context.recalculations, kMostDetailRows);

  host::Application& application = session.application();
  application.set_calculation(host::Calculation::kManual);
  const auto sheet = StartOutputSheet(
      context, context.inputs(1).bookName, output,
      {text_id::kOutputDetailSheetName, text_id::kOutputDetailTitle, text_id::kOutputDetailRun});
  const bool truncated = steps_of(context.inputs) > rows;
  const auto table = AddTable(
      *sheet, rows, kHeaderRows,
      {session.text(text_id::kOutputDetailCaption, output.NameOrQualifiedCellAddressName(context.range_mode)),
       session.text(any_failed(context.inputs, on) ? text_id::kOutputDetailSubcaptionFailedFirst
                                                   : text_id::kOutputDetailSubcaption)},
      columns_of(context, output, truncated ? session.text(text_id::kOutputDetailFull) : ""));

  const host::Cursor cursor = application.cursor();
  application.set_cursor(host::Cursor::kWait);
  if (rows > 0) {
    host::CellBlock body(rows, c.count());
    std::vector<std::string> input_formats(static_cast<std::size_t>(rows));
    GapNotes gaps(c.count());
    fill_body(context, on, body, c, input_formats, gaps);
    table->PutBody(1, body);
    table->FormatRows(c.input_value(), input_formats);
    gaps.write(session, *table, rows);
    table->FilterRows();
  }
  application.set_cursor(cursor);

  table->FitColumns(1, c.count(), kHeaderRows);
  sheet->FinishSheet();
}

}  // namespace ordvane::reports
