#include "reports/table_parts.h"

#include <algorithm>

#include "layout/format_codes.h"
#include "layout/look.h"
#include "layout/text_estimate.h"
#include "model/naming.h"
#include "reports/utils.h"

namespace ordvane::reports {
namespace {

// Cells gathered before they are written: large enough to make a write cheap, small enough to stay in the
// cache.
constexpr std::int32_t kCellsPerBlock = 1 << 16;

}  // namespace

std::string ItemLabel(const model::DralInputOutput& item) {
  return NameWithAddress(item.has_name() ? item.ioName : "", item.cellAddress);
}

std::string ValueFormat(const model::DralInputOutput& item) {
  const bool plain = item.NumberFormatLocal.empty() || item.NumberFormatLocal == "General";
  return plain && item.IsDate ? item.DateFormat : item.NumberFormatLocal;
}

std::string AxisFormat(const model::DralInputOutput& item) {
  const bool plain = item.numberFormat.empty() || item.numberFormat == "General";
  return plain && item.IsDate ? item.DateFormat : item.numberFormat;
}

std::string ChangeFormat(const model::DralInputOutput& item) {
  return item.IsDate || layout::shows_date(item.numberFormat) ? "" : item.NumberFormatLocal;
}

void FormatValuesAndChanges(layout::ReportTable& table, std::int32_t first_row, std::int32_t rows,
                            std::int32_t column, const model::DralInputOutput& item) {
  const std::string values = ValueFormat(item), changes = ChangeFormat(item);
  if (!values.empty()) table.FormatBody(first_row, rows, column, values, values == changes ? 2 : 1);
  if (!changes.empty() && changes != values) table.FormatBody(first_row, rows, column + 1, changes);
}

void AddHeaderGroup(layout::ReportTable& table, std::int32_t row, std::int32_t column, std::int32_t rows,
                    std::int32_t columns, const std::string& caption) {
  table.AddHeading({row, column, rows, columns, caption});
}

OutputHeadings::OutputHeadings(const session::Session& session, layout::ReportTable& table,
                               std::int32_t header_row, std::int32_t columns_per_output,
                               model::OrdvaneRangeMode mode)
    : session_(session), table_(table), row_(header_row), columns_(columns_per_output), mode_(mode) {}

void OutputHeadings::add(const model::DralInputOutput& output, std::int32_t column) {
  std::string text = output.ioName;
  if (text.empty())
    text = session_.text(
        text_id::kOutputInCell,
        model::address_for_range_mode(mode_, output.bookName, output.sheetName, output.cellAddress));
  table_.AddHeading({row_, column, 1, columns_, text});
}

void OutputHeadings::fit() {
  table_.Settle();
}

BodyWriter::BodyWriter(layout::ReportTable& table, std::int32_t rows)
    : table_(table),
      block_(std::clamp(kCellsPerBlock / table.columns(), 1, std::max(rows, 1)), table.columns()) {}

std::int32_t BodyWriter::next_row() {
  if (filled_ == block_.rows()) flush();
  return ++filled_;
}

void BodyWriter::flush() {
  if (filled_ < 1) return;
  if (filled_ < block_.rows()) block_.truncate(filled_);  // the last block
  table_.PutBody(written_ + 1, block_);
  written_ += filled_;
  filled_ = 0;
  block_.clear();
}

}  // namespace ordvane::reports
