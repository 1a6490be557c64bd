#include <functional>

#include "office/handles.h"
#include "office/label_macro.h"
#include "office/office.h"
#include "unicode/names.h"

namespace ordvane::office {
namespace {

class Office final : public OfficeApplication {
 public:
  std::string name() override { return "Ordvane"; }
  std::string version() override { return "16.0"; }
  host::Calculation calculation() override { return calculation_; }
  void set_calculation(host::Calculation mode) override { calculation_ = mode; }
  bool screen_updating() override { return screen_updating_; }
  void set_screen_updating(bool on) override { screen_updating_ = on; }
  bool display_alerts() override { return display_alerts_; }
  void set_display_alerts(bool on) override { display_alerts_ = on; }
  host::Cursor cursor() override { return cursor_; }
  void set_cursor(host::Cursor cursor) override { cursor_ = cursor; }
  std::string status_bar() override { return status_bar_; }
  void set_status_bar(const std::string& text) override { status_bar_ = text; }

  std::shared_ptr<host::Workbook> active_workbook() override;
  std::shared_ptr<host::Worksheet> active_sheet() override;
  std::shared_ptr<host::Range> active_cell() override;
  std::shared_ptr<host::Workbook> workbook(const std::string& name) override;
  std::shared_ptr<host::Workbook> add_workbook() override;
  std::shared_ptr<host::Range> range(const std::string& external_address) override;
  host::CellValue evaluate(const std::string& formula) override;
  std::string formatted(double number, const std::string& format) override {
    return displayed_text(number, format, state_.symbols);
  }
  // Values are computed when they are read, so there is never anything left to do.
  void calculate() override {}
  std::string run(const std::string& macro, host::Range& cell, std::int16_t selector) override;
  double min(host::Range& range) override;
  double max(host::Range& range) override;

  std::shared_ptr<host::Workbook> open_workbook(const std::string& name) override;
  std::shared_ptr<host::Worksheet> open_sheet(host::Workbook& book, const std::string& name) override;
  void set_model_cell(host::Range& cell, const std::string& formula, const host::CellValue& value,
                      const std::string& number_format, bool locked) override;
  std::shared_ptr<const BookModel> model(host::Workbook& book) override;
  void close_workbook(host::Workbook& book) override;
  void set_number_symbols(const NumberSymbols& symbols) override { state_.symbols = symbols; }

 private:
  ApplicationState state_;
  host::Calculation calculation_ = host::Calculation::kAutomatic;
  host::Cursor cursor_ = host::Cursor::kDefault;
  bool screen_updating_ = true;
  bool display_alerts_ = true;
  std::string status_bar_;
};

std::shared_ptr<host::Workbook> Office::active_workbook() {
  return state_.active ? std::make_shared<WorkbookHandle>(state_.active) : nullptr;
}

std::shared_ptr<host::Worksheet> Office::active_sheet() {
  const auto sheet = state_.active_sheet();
  return sheet ? std::make_shared<WorksheetHandle>(sheet) : nullptr;
}

std::shared_ptr<host::Range> Office::active_cell() {
  const auto sheet = state_.active_sheet();
  if (!sheet) return nullptr;
  const CellRef cell = sheet->model->active_cell;
  return std::make_shared<RangeHandle>(sheet, Area{cell.row, cell.column, 1, 1});
}

std::shared_ptr<host::Workbook> Office::workbook(const std::string& name) {
  const auto book = state_.find_book(name);
  if (!book) host::raise_subscript_out_of_range("workbook " + name);
  return std::make_shared<WorkbookHandle>(book);
}

std::shared_ptr<host::Workbook> Office::add_workbook() {
  std::string name;
  for (int number = 1; name.empty() || state_.find_book(name); ++number)
    name = "Book" + std::to_string(number);
  const auto book = state_.add_book(name);
  book->add_sheet("Sheet1");
  return std::make_shared<WorkbookHandle>(book);
}

std::shared_ptr<host::Range> Office::range(const std::string& external_address) {
  const auto parts = parse_external_address(external_address);
  if (!parts) refuse("No cell address: " + external_address);
  const auto book = parts->book.empty() ? state_.active : state_.find_book(parts->book);
  std::shared_ptr<Sheet> sheet;
  if (book) sheet = parts->sheet.empty() ? state_.active_sheet() : book->find_sheet(parts->sheet);
  if (!sheet) refuse("There is no such cell: " + external_address);
  return std::make_shared<RangeHandle>(sheet, parts->area);
}

host::CellValue Office::evaluate(const std::string& formula) {
  const auto sheet = state_.active_sheet();
  return sheet ? sheet->evaluate(formula) : host::CellError::kName;
}

std::string Office::run(const std::string& macro, host::Range& cell, std::int16_t selector) {
  if (!unicode::same_name(macro, kFindLabelMacro)) refuse("There is no macro " + macro);
  RangeHandle& range = embedded(cell);
  return find_label(*range.sheet_handle(), {range.area().row, range.area().column}, selector);
}

// Runs over the numbers of a range; throws for an error value among them.
template <class Better>
double best_number(host::Range& range, Better better) {
  RangeHandle& cells = embedded(range);
  std::optional<double> best;
  cells.sheet_handle()->each_value(cells.area(), [&](const host::CellValue& value) {
    if (value.is_error()) refuse("The range holds an error value");
    if (value.is_number() && (!best || better(value.number, *best))) best = value.number;
  });
  return best.value_or(0);
}

double Office::min(host::Range& range) {
  return best_number(range, std::less<double>());
}

double Office::max(host::Range& range) {
  return best_number(range, std::greater<double>());
}

std::shared_ptr<host::Workbook> Office::open_workbook(const std::string& name) {
  return std::make_shared<WorkbookHandle>(state_.add_book(name));
}

std::shared_ptr<host::Worksheet> Office::open_sheet(host::Workbook& book, const std::string& name) {
  return std::make_shared<WorksheetHandle>(embedded(book).book()->add_sheet(name));
}

void Office::set_model_cell(host::Range& cell, const std::string& formula, const host::CellValue& value,
                            const std::string& number_format, bool locked) {
  RangeHandle& range = embedded(cell);
  Sheet& sheet = *range.sheet_handle();
  const Area first{range.area().row, range.area().column, 1, 1};
  sheet.record({first.row, first.column}, formula, value);
  if (formula.starts_with('='))
    sheet.set_formula(first, formula);
  else
    sheet.set_value(first, value);
  sheet.restyle(first, [&](CellStyle& style) {
    style.number_format = number_format.empty() ? "General" : number_format;
    style.locked = locked;
  });
}

std::shared_ptr<const BookModel> Office::model(host::Workbook& book) {
  const auto& open = embedded(book).book();
  for (const auto& sheet : open->sheets) sheet->compute_all();
  return open->model;
}

void Office::close_workbook(host::Workbook& book) {
  const std::shared_ptr<Book> closed = embedded(book).book();
  state_.close(*closed);
}

}  // namespace

std::shared_ptr<OfficeApplication> make_application() {
  return std::make_shared<Office>();
}

}  // namespace ordvane::office
