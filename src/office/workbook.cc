#include "office/handles.h"
#include "unicode/names.h"

namespace ordvane::office {
namespace {

constexpr std::int32_t kLeastScale = 10, kMostScale = 400;  // of a print, percent

}  // namespace

const std::shared_ptr<Book>& WorkbookHandle::book() {
  application_of(*book_);
  return book_;
}

std::string WorkbookHandle::name() {
  return book()->model->name;
}

bool WorkbookHandle::multi_user_editing() {
  return book()->model->multi_user_editing;
}

std::vector<std::shared_ptr<host::Worksheet>> WorkbookHandle::worksheets() {
  std::vector<std::shared_ptr<host::Worksheet>> result;
  for (const auto& sheet : book()->sheets) result.push_back(std::make_shared<WorksheetHandle>(sheet));
  return result;
}

std::shared_ptr<host::Worksheet> WorkbookHandle::worksheet(const std::string& name) {
  const auto sheet = book()->find_sheet(name);
  if (!sheet) host::raise_subscript_out_of_range("worksheet " + name);
  return std::make_shared<WorksheetHandle>(sheet);
}

std::shared_ptr<host::Worksheet> WorkbookHandle::add_worksheet() {
  std::string name;
  for (std::size_t number = book()->sheets.size() + 1; name.empty() || book_->find_sheet(name); ++number)
    name = "Sheet" + std::to_string(number);
  return std::make_shared<WorksheetHandle>(book_->add_sheet(name));
}

void WorkbookHandle::set_properties(const host::DocumentProperties& properties) {
  book()->model->properties = properties;
}

void WorkbookHandle::activate() {
  application_of(*book_).active = book_;
}

WorkbookHandle& embedded(host::Workbook& book) {
  auto* handle = dynamic_cast<WorkbookHandle*>(&book);
  if (!handle) throw host::Error(host::errc::kTypeMismatch, "The workbook belongs to another application");
  return *handle;
}

// ---- Worksheets ----

Sheet& WorksheetHandle::sheet() const {
  book_of(*sheet_);
  return *sheet_;
}

std::shared_ptr<host::Workbook> WorksheetHandle::workbook() {
  return std::make_shared<WorkbookHandle>(book_of(*sheet_).shared_from_this());
}

std::string WorksheetHandle::name() {
  return sheet().model->name;
}

void WorksheetHandle::set_name(const std::string& name) {
  Book& book = book_of(*sheet_);
  if (const auto fault = sheet_name_fault(name)) refuse(*fault);
  // Models may have one, from other programs; a spreadsheet gives the name to no sheet.
  if (unicode::same_name(name, "History")) refuse("The sheet name History is reserved");
  const auto other = book.find_sheet(name);
  if (other && other != sheet_) refuse("The workbook already has a sheet named " + name);
  book.rename_sheet(*sheet_, name);
}

std::int32_t WorksheetHandle::row_limit() {
  sheet();
  return kSheetRows;
}

std::int64_t WorksheetHandle::cell_limit() {
  sheet();
  return CellStore::kMostNewCells;
}

std::int32_t WorksheetHandle::column_limit() {
  sheet();
  return kSheetColumns;
}

std::shared_ptr<host::Range> WorksheetHandle::range(const std::string& address) {
  sheet();
  const auto area = parse_area(address);
  if (!area) refuse("No cell address: " + address);
  return std::make_shared<RangeHandle>(sheet_, *area);
}

std::shared_ptr<host::Range> WorksheetHandle::range(std::int32_t row, std::int32_t column, std::int32_t rows,
                                                    std::int32_t columns) {
  sheet();
  return std::make_shared<RangeHandle>(sheet_, Area{row, column, rows, columns});
}

std::shared_ptr<host::ChartObject> WorksheetHandle::add_chart(double left, double top, double width,
                                                              double height) {
  sheet();
  return make_chart(sheet_, left, top, width, height);
}

void WorksheetHandle::set_page_setup(const host::PageSetup& setup) {
  const auto check = [](const host::Span& titles, std::int32_t limit) {
    if (!titles.is_empty() && (titles.first < 1 || titles.last < titles.first || titles.last > limit))
      refuse("The titles lie outside the sheet");
  };
  check(setup.print_title_rows, kSheetRows);
  check(setup.print_title_columns, kSheetColumns);
  const auto check_breaks = [](const std::vector<std::int32_t>& breaks, std::int32_t limit) {
    for (std::int32_t before = 1; const std::int32_t first : breaks) {
      if (first <= before || first > limit)
        refuse("No page can begin with row or column " + std::to_string(first));
      before = first;
    }
  };
  check_breaks(setup.row_breaks, kSheetRows);
  check_breaks(setup.column_breaks, kSheetColumns);
  if (setup.scale < kLeastScale || setup.scale > kMostScale) refuse("The print cannot have that scale");
  if ((setup.print_rows > 0) != (setup.print_columns > 0) || setup.print_rows > kSheetRows ||
      setup.print_columns > kSheetColumns)
    refuse("The printed area lies outside the sheet");
  sheet().model->page = setup;
}

void WorksheetHandle::freeze_panes(std::int32_t rows, std::int32_t columns) {
  if (rows < 0 || columns < 0 || rows >= kSheetRows || columns >= kSheetColumns)
    refuse("The split lies outside the sheet");
  sheet().model->frozen_rows = rows;
  sheet().model->frozen_columns = columns;
}

void WorksheetHandle::set_display_gridlines(bool shown) {
  sheet().model->gridlines = shown;
}

void WorksheetHandle::activate() {
  Book& book = book_of(*sheet_);
  application_of(book).active = book.shared_from_this();
  book.activate(*sheet_);
}

void WorksheetHandle::move_before(const std::string& name) {
  const auto other = book_of(*sheet_).find_sheet(name);
  if (!other) throw host::Error(host::errc::kSubscriptOutOfRange, "There is no sheet '" + name + "'");
  book_of(*sheet_).move_sheet(*sheet_, *other);
}

void WorksheetHandle::remove() {
  book_of(*sheet_).remove_sheet(*sheet_);
}

}  // namespace ordvane::office
