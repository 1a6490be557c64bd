#include "office/handles.h"

namespace ordvane::office {

RangeHandle::RangeHandle(std::shared_ptr<Sheet> sheet, const Area& area)
    : sheet_(std::move(sheet)), area_(area) {
  if (!inside_sheet(area)) refuse("The range lies outside the sheet");
}

Sheet& RangeHandle::sheet() const {
  book_of(*sheet_);
  return *sheet_;
}

const std::shared_ptr<Sheet>& RangeHandle::sheet_handle() {
  sheet();
  return sheet_;
}

std::shared_ptr<RangeHandle> RangeHandle::at(const Area& area) const {
  sheet();
  return std::make_shared<RangeHandle>(sheet_, area);
}

std::shared_ptr<host::Worksheet> RangeHandle::worksheet() {
  return std::make_shared<WorksheetHandle>(sheet_handle());
}

std::int32_t RangeHandle::row() {
  sheet();
  return area_.row;
}

std::int32_t RangeHandle::column() {
  sheet();
  return area_.column;
}

std::int32_t RangeHandle::row_count() {
  sheet();
  return area_.rows;
}

std::int32_t RangeHandle::column_count() {
  sheet();
  return area_.columns;
}

std::string RangeHandle::address(bool absolute, bool external) {
  const Book& book = book_of(*sheet_);
  return external ? external_address(book.model->name, sheet_->model->name, area_, absolute)
                  : area_name(area_, absolute);
}

// Positions come from outside: sums are taken where they cannot overflow, and cut to what no sheet holds.
static std::int32_t moved(std::int32_t from, std::int32_t by) {
  const std::int64_t sum = std::int64_t{from} + by;
  return sum >= 0 && sum <= kSheetRows ? static_cast<std::int32_t>(sum) : 0;
}

std::shared_ptr<host::Range> RangeHandle::cell(std::int32_t row, std::int32_t column) {
  return at({moved(area_.row - 1, row), moved(area_.column - 1, column), 1, 1});
}

std::shared_ptr<host::Range> RangeHandle::offset(std::int32_t rows, std::int32_t columns) {
  return at({moved(area_.row, rows), moved(area_.column, columns), area_.rows, area_.columns});
}

std::shared_ptr<host::Range> RangeHandle::resize(std::int32_t rows, std::int32_t columns) {
  return at({area_.row, area_.column, rows, columns});
}

host::CellValue RangeHandle::value() {
  return sheet().value(area_.row, area_.column);
}

void RangeHandle::set_value(const host::CellValue& value) {
  sheet().set_value(area_, value);
}

host::CellBlock RangeHandle::values() {
  return sheet().values(area_);
}

void RangeHandle::put_blocks(std::span<const host::CellBlock* const> blocks) {
  sheet().put(area_, blocks);
}

std::string RangeHandle::formula() {
  return sheet().formula(area_.row, area_.column);
}

void RangeHandle::set_formula(const std::string& formula) {
  sheet().set_formula(area_, formula);
}

host::CellValue RangeHandle::evaluate(const std::string& formula) {
  return sheet().evaluate({area_.row, area_.column}, formula);
}

std::string RangeHandle::number_format() {
  return sheet().style(area_.row, area_.column).number_format;
}

std::string RangeHandle::number_format_local() {
  return number_format();
}

void RangeHandle::set_number_format(const std::string& format) {
  const std::string kept = format.empty() ? "General" : format;
  sheet().restyle(area_, [&](CellStyle& style) { style.number_format = kept; });
}

void RangeHandle::set_row_formats(const std::vector<std::string>& formats) {
  if (formats.size() != static_cast<std::size_t>(area_.rows))
    refuse("A range of " + std::to_string(area_.rows) + " rows takes as many formats, not " +
           std::to_string(formats.size()));
  for (std::int32_t first = 0, next = 0; first < area_.rows; first = next) {
    const std::string& format = formats[static_cast<std::size_t>(first)];
    while (next < area_.rows && formats[static_cast<std::size_t>(next)] == format) ++next;
    offset(first, 0)->resize(next - first, area_.columns)->set_number_format(format);
  }
}

void RangeHandle::set_font(const host::FontFormat& font) {
  sheet().set_font(area_, font);
}

void RangeHandle::set_interior(const host::InteriorFormat& interior) {
  const auto color = chosen_color(interior.color, interior.color_index);
  const bool cleared = interior.pattern == host::kXlNone || (!color && interior.color_index == host::kXlNone);
  const bool made_solid = interior.pattern && !cleared;
  sheet().restyle(area_, [&](CellStyle& style) {
    if (cleared) {
      style.fill.reset();
    } else if (color) {
      style.fill = color;
    } else if (made_solid && !style.fill) {
      style.fill = 0xFFFFFF;
    }
  });
}

void RangeHandle::set_border(host::Edge edge, const host::BorderFormat& border) {
  sheet().set_border(area_, edge, border);
}

void RangeHandle::add_color_scale(const std::vector<host::ColorStop>& stops) {
  if (!host::is_color_scale(stops)) refuse("A colour scale has two or three stops, their values rising");
  sheet().model->color_scales.push_back({area_, stops});
}

void RangeHandle::set_auto_filter() {
  sheet().model->filter = area_;
}

void RangeHandle::set_alignment(host::HAlign horizontal, host::VAlign vertical) {
  sheet().restyle(area_, [&](CellStyle& style) {
    style.horizontal = horizontal;
    style.vertical = vertical;
  });
}

void RangeHandle::set_indent(std::int32_t level) {
  constexpr std::int32_t kDeepest = 15;
  if (level < 0 || level > kDeepest) refuse("Indents are 0 to 15");
  sheet().restyle(area_, [&](CellStyle& style) { style.indent = level; });
}

void RangeHandle::set_wrap_text(bool wrap) {
  sheet().restyle(area_, [&](CellStyle& style) { style.wrap = wrap; });
}

bool RangeHandle::locked() {
  return sheet().style(area_.row, area_.column).locked;
}

void RangeHandle::set_merge(bool merged) {
  if (merged)
    sheet().merge(area_);
  else
    sheet().unmerge(area_);
}

void RangeHandle::auto_fit_columns() {
  sheet().fit_columns(area_);
}

double RangeHandle::column_width() {
  return sheet().column_width(area_.column);
}

void RangeHandle::set_column_width(double characters) {
  sheet().set_column_width(area_.column, area_.columns, characters);
}

void RangeHandle::set_columns_hidden(bool hidden) {
  sheet().set_columns_hidden(area_.column, area_.columns, hidden);
}

double RangeHandle::row_height() {
  return sheet().row_height(area_.row);
}

void RangeHandle::set_row_height(double points) {
  sheet().set_row_height(area_.row, area_.rows, points);
}

double RangeHandle::left() {
  return sheet().left_of(area_.column);
}

double RangeHandle::top() {
  return sheet().top_of(area_.row);
}

double RangeHandle::width() {
  return sheet().left_of(area_.column + area_.columns) - sheet().left_of(area_.column);
}

double RangeHandle::height() {
  return sheet().top_of(area_.row + area_.rows) - sheet().top_of(area_.row);
}

void RangeHandle::add_comment(const std::string& text) {
  sheet().model->comments[{area_.row, area_.column}] = text;
}

void RangeHandle::require_active_sheet() const {
  if (application_of(book_of(*sheet_)).active_sheet() != sheet_)
    refuse("Only cells of the active sheet can be selected");
}

void RangeHandle::select() {
  require_active_sheet();
  sheet_->model->selection = area_;
  sheet_->model->active_cell = {area_.row, area_.column};
}

// The active cell moves within the selection when the range lies there, and takes the selection
// along when not.
void RangeHandle::activate() {
  require_active_sheet();
  if (!contains(sheet_->model->selection, area_)) sheet_->model->selection = area_;
  sheet_->model->active_cell = {area_.row, area_.column};
}

RangeHandle& embedded(host::Range& range) {
  auto* handle = dynamic_cast<RangeHandle*>(&range);
  if (!handle) throw host::Error(host::errc::kTypeMismatch, "The range belongs to another application");
  return *handle;
}

}  // namespace ordvane::office
