#include "reports/table_parts.h"

#include <algorithm>

#include "layout/format_codes.h"
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
