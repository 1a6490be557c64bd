#include "reports/bar_report.h"

#include <utility>

#include "reports/chart_helpers.h"
#include "reports/graph_sheet.h"
#include "reports/item_texts.h"
#include "reports/table_values.h"

namespace ordvane::reports {
namespace {

constexpr std::int32_t kHeaderRows = 3;

}  // namespace

BarReport::BarReport(const Context& context, const model::DralInputOutput& output, std::string name,
                     const BarReportTexts& texts, const TornadoStyle& style, Varied varied)
    : context_(context),
      session_(context.session),
      output_(output),
      name_(std::move(name)),
      texts_(texts),
      varied_(varied),
      chart_(context, output, texts.chart, style),
      remarks_(session_, varied) {}

void BarReport::make() {
  session_.log.line("Report" + name_ + ".Generate" + name_ + "Report");
  const auto sheet = StartOutputSheet(context_, output_.bookName, output_, texts_.sheet);
  if (bars_ > 0)
    write(*sheet);
  else
    sheet->NextCell()->set_value(session_.text(texts_.no_bars));
  sheet->FinishSheet();
}

void BarReport::write(layout::ReportSheet& sheet) {
  fill_rows();
  const bool percent = context_.in_percent();
  chart_.choose_bars(rows_,
                     {columns_.name, percent ? columns_.low_change : columns_.low,
                      percent ? columns_.high_change : columns_.high},
                     facts_, remarks_, inputs_at_ends());
  if (const auto reason = reason_for_no_chart()) {
    CreateMessageChart(sheet, session_.text(texts_.no_chart) + "\r\n" + session_.text(*reason));
    sheet.SetSheetOption(1);
    write_lines(sheet);
    remarks_.write(sheet);
    write_table(sheet);
  } else {
    const auto chart =
        sheet.AddBarChart(kChartWidth, sheet.ChartHeightForBars(static_cast<std::int16_t>(chart_.bars())));
    sheet.SetSheetOption(1);
    write_lines(sheet);
    remarks_.write(sheet);
    const auto table = write_table(sheet);
    // Names of groups are long.
    if (varied_ == Varied::kGroups) FitWidth(*chart, TableWidthForChart(*table));
    chart->SetDescription(description());
    chart_.draw(*chart, *table);
    SetWatermark(session_, *chart);
  }
  host::ignoring_errors([&] { sheet.SheetWorksheet()->range("a1")->select(); });
}

// ---- Rows ----

void BarReport::set_rows(std::int32_t bars, const RowColumns& columns) {
  bars_ = bars;
  columns_ = columns;
  if (bars < 1) return;
  rows_ = host::CellBlock(bars, columns.count);
  facts_.resize(bars);
}

bool BarReport::has_base() const {
  return output_.BaseValue() != 0 && output_.rules().is_usable(output_.BaseValue());
}

void BarReport::put_ends(std::int32_t row, const Ends& ends) {
  const bool has_results = put(row, columns_.low, ends.low);
  const session::TextId<0> without_base = output_.BaseValue() == 0 ? texts_.base_zero : texts_.base_invalid;
  const auto put_change = [&](std::int32_t column, double change) {
    if (!put(row, column, change)) notes_.add(has_results ? without_base : texts_.invalid, row, column);
  };
  if (!has_results) notes_.add(texts_.invalid, row, columns_.low);
  put_value(row, columns_.high, ends.high);
  put_change(columns_.low_change, ends.low_change);
  put_change(columns_.high_change, ends.high_change);
}

void BarReport::put_value(std::int32_t row, std::int32_t column, double value) {
  if (!put(row, column, value)) notes_.add(texts_.invalid, row, column);
}

// Whether it is a number.
bool BarReport::put(std::int32_t row, std::int32_t column, double value) {
  std::int32_t flags = 0;
  FormatTableValue(output_.rules(), rows_, row, column, value, flags, 1.0, model::OrdvaneDivisorOutput);
  return flags == 0;
}

// A failure is worth a word even where it is what keeps an item off the sheet.
void BarReport::add_facts(std::int32_t row, const std::string& label, model::StepFacts facts) {
  if (row > 0)
    facts_(row) = facts;
  else
    facts.leaves_out_base = false;
  remarks_.add(label, facts);
}

std::optional<session::TextId<0>> BarReport::reason_for_no_chart() const {
  if (chart_.bars() == 0) return texts_.nothing_moves;
  if (context_.in_percent() && !has_base())
    return output_.BaseValue() == 0 ? text_id::kMessageOutputBaseZero : text_id::kMessageNoUsableBase;
  if (!chart_.has_bars()) return texts_.invalid;
  return std::nullopt;
}

// ---- Table ----

std::shared_ptr<layout::ReportTable> BarReport::write_table(layout::ReportSheet& sheet) {
  auto table = AddTable(sheet, bars_, kHeaderRows, captions(), columns());
  table->WrapNames();
  table->PutBody(1, rows_);
  session_.log.line("Generate" + name_ + "Report t_InputsCount: " + session::log_text(bars_) +
                    "    numberFormat: " + ValueFormat(output_));
  for (std::int32_t row = 1; row <= bars_; ++row)
    if (const std::string note = StepNote(session_, facts_(row), varied_); !note.empty())
      table->AddTableNote(row, columns_.name, session_.text(text_id::kNoteTitle), note);
  table->FilterRows();
  finish(sheet, *table, notes_.write(session_, *table));
  return table;
}

}  // namespace ordvane::reports
