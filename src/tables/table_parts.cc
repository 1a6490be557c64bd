#include "tables/table_parts.h"

#include <algorithm>
#include <cctype>

#include "model/naming.h"
#include "tables/look.h"
#include "tables/text_estimate.h"
#include "tables/utils.h"

namespace ordvane::tables {
namespace {

constexpr std::int16_t kAddressHeading = 102;

// Cells gathered before they are written: large enough to make a write cheap, small enough to stay in the
// cache.
constexpr std::int32_t kCellsPerBlock = 1 << 16;

// Whether a number format, in its English form, shows parts of a date or time. Quoted and escaped characters
// and what stands in brackets (colours, conditions, currencies) are no parts.
bool shows_date(const std::string& format) {
  if (format == "General") return false;
  for (std::size_t at = 0; at < format.size() && format[at] != ';'; ++at) {
    switch (std::tolower(static_cast<unsigned char>(format[at]))) {
      case '"':
        at = format.find('"', at + 1);
        break;
      case '[':
        at = format.find(']', at);
        break;
      case '\\':
      case '_':
      case '*':
        ++at;
        break;
      case 'd':
      case 'm':
      case 'y':
      case 'h':
      case 's':
        return true;
      default:
        break;
    }
    if (at == std::string::npos) return false;
  }
  return false;
}

}  // namespace

std::string ItemLabel(const model::DralInputOutput& item) {
  return NameWithAddress(item.has_name() ? item.ioName : "", item.cellAddress);
}

std::string ValueFormat(const model::DralInputOutput& item) {
  const bool plain = item.NumberFormatLocal.empty() || item.NumberFormatLocal == "General";
  return plain && item.IsDate ? item.DateFormat : item.NumberFormatLocal;
}

std::string ChangeFormat(const model::DralInputOutput& item) {
  return item.IsDate || shows_date(item.numberFormat) ? "" : item.NumberFormatLocal;
}

void FormatValuesAndChanges(ReportTable& table, std::int32_t first_row, std::int32_t rows,
                            std::int32_t column, const model::DralInputOutput& item) {
  const std::string values = ValueFormat(item), changes = ChangeFormat(item);
  if (!values.empty()) table.FormatBody(first_row, rows, column, values, values == changes ? 2 : 1);
  if (!changes.empty() && changes != values) table.FormatBody(first_row, rows, column + 1, changes);
}

void AddHeaderGroup(ReportTable& table, std::int32_t row, std::int32_t column, std::int32_t rows,
                    std::int32_t columns, const std::string& caption) {
  const auto cells = table.Header(row, column, rows, columns);
  cells->cell(1, 1)->set_value(caption);
  cells->set_alignment(host::HAlign::kCenter, host::VAlign::kCenter);
  if (rows * columns > 1) cells->set_merge(true);
  table.FitGroupCaption(row, column, rows, columns, caption);
}

OutputHeadings::OutputHeadings(const session::Session& session, ReportTable& table, std::int32_t header_row,
                               std::int32_t columns_per_output, model::OrdvaneRangeMode mode)
    : session_(session), table_(table), row_(header_row), columns_(columns_per_output), mode_(mode) {}

void OutputHeadings::add(const model::DralInputOutput& output, std::int32_t column) {
  std::string text = output.ioName;
  if (text.empty())
    text = session_.text(kAddressHeading, model::address_for_range_mode(
                                              mode_, output.bookName, output.sheetName, output.cellAddress));
  const auto cells = table_.Header(row_, column, 1, columns_);
  cells->cell(1, 1)->set_value(text);
  cells->set_merge(true);
  cells->set_wrap_text(true);
  table_.FitGroupCaption(row_, column, 1, columns_, text);
}

void OutputHeadings::fit() {
  table_.Settle();
}

BodyWriter::BodyWriter(ReportTable& table, std::int32_t rows)
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

}  // namespace ordvane::tables
