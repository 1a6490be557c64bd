#include "reports/report_columns.h"

#include <utility>

#include "model/naming.h"
#include "reports/table_parts.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

using host::HAlign;
using layout::Column;

// Shared labels, by their small index.
constexpr std::int32_t kWorkbook = 0;
constexpr std::int32_t kWorksheet = 1;
constexpr std::int32_t kName = 2;
constexpr std::int32_t kCell = 3;
constexpr std::int32_t kStep = 4;
constexpr std::int32_t kValue = 5;
constexpr std::int32_t kChange = 6;
constexpr std::int32_t kFraction = 7;
constexpr std::int32_t kRank = 9;
constexpr std::int32_t kInputs = 10;
constexpr std::int32_t kOutputs = 11;

constexpr std::int16_t kAddressHeading = 102;

Column figures(std::string caption, const std::string& format) {
  Column column = layout::figure_column(std::move(caption));
  column.number_format = format;
  return column;
}

}  // namespace

std::vector<Column> SharedColumns::places() const {
  std::vector<Column> columns;
  if (context_.range_mode == model::OrdvaneRangeBookMode)
    columns.push_back(layout::name_column(caption(kWorkbook)));
  if (context_.range_mode != model::OrdvaneRangeCellMode)
    columns.push_back(layout::name_column(caption(kWorksheet)));
  return columns;
}

Column SharedColumns::name() const {
  return layout::name_column(caption(kName));
}

Column SharedColumns::cell() const {
  return layout::figure_column(caption(kCell), HAlign::kCenter);
}

Column SharedColumns::step() const {
  return layout::figure_column(caption(kStep), HAlign::kCenter);
}

Column SharedColumns::rank() const {
  return layout::figure_column(caption(kRank), HAlign::kCenter);
}

Column SharedColumns::value(const std::string& format) const {
  return figures(caption(kValue), format);
}

Column SharedColumns::change(const std::string& format) const {
  return figures(caption(kChange), format);
}

Column SharedColumns::fraction() const {
  return figures(caption(kFraction), PercentFormat());
}

std::vector<Column> SharedColumns::of_inputs(std::int32_t row, std::vector<Column> columns) const {
  return layout::grouped(caption(kInputs), row, std::move(columns));
}

std::vector<Column> SharedColumns::of_outputs(std::int32_t row, std::vector<Column> columns) const {
  return layout::grouped(caption(kOutputs), row, std::move(columns));
}

std::string SharedColumns::heading(const model::DralInputOutput& output) const {
  if (!output.ioName.empty()) return output.ioName;
  return context_.session.text(
      kAddressHeading, model::address_for_range_mode(context_.range_mode, output.bookName, output.sheetName,
                                                     output.cellAddress));
}

std::vector<Column> ruled(std::vector<Column> columns) {
  if (!columns.empty()) columns.back().rule = true;
  return columns;
}

void PutPlace(host::CellBlock& block, std::int32_t row, std::int32_t column, model::OrdvaneRangeMode mode,
              const model::DralInputOutput& item) {
  if (mode == model::OrdvaneRangeBookMode) block.set_text(row, column++, item.bookName);
  if (mode != model::OrdvaneRangeCellMode) block.set_text(row, column, item.sheetName);
}

std::shared_ptr<layout::ReportTable> AddTable(layout::ReportSheet& sheet, std::int32_t rows,
                                              std::int32_t header_rows, const TableCaptions& captions,
                                              const std::vector<Column>& columns) {
  auto table = sheet.AddTable(rows, static_cast<std::int32_t>(columns.size()), header_rows, 0,
                              captions.caption, captions.subcaption);
  table->SetColumns(columns);
  return table;
}

void FormatValuesAndChanges(layout::ReportTable& table, std::int32_t first_row, std::int32_t rows,
                            std::int32_t column, const model::DralInputOutput& item) {
  const std::string values = ValueFormat(item), changes = ChangeFormat(item);
  if (!values.empty()) table.FormatBody(first_row, rows, column, values, values == changes ? 2 : 1);
  if (!changes.empty() && changes != values) table.FormatBody(first_row, rows, column + 1, changes);
}

}  // namespace ordvane::reports
