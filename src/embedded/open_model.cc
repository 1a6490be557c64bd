// The recorded model in the embedded spreadsheet: the cells of the run's items and the labels beside them.
#include <string>

#include "embedded/report_job.h"
#include "office/number_format.h"

namespace ordvane::embedded {
namespace {

constexpr const char* kDefaultSheet = "Sheet1";

// Opens workbooks and sheets as the items name them.
class ModelBuilder {
 public:
  ModelBuilder(office::OfficeApplication& application, const std::string& date_format)
      : application_(application), date_format_(date_format) {}

  void add_labels(const runfile::Item& item) {
    const auto cells = sheet_of(item);
    for (const runfile::LabelCell& label : item.labels)
      cells->range(label.cell)->set_value(host::CellValue(label.text));
  }

  void add_item(const runfile::Item& item) {
    const auto cell = sheet_of(item)->range(item.cell);
    const host::CellValue value =
        item.base ? host::CellValue(*item.base) : host::CellValue(host::CellError::kNA);
    // The reports show values as the cell does, and a date is a date whatever its cell looked like.
    const bool needs_format = item.date && !office::NumberFormat(item.number_format).shows_dates();
    const std::string& format = needs_format ? date_format_ : item.number_format;
    // The value belongs to the item's function; the cell's formula may hold more than that.
    if (!item.function.empty()) application_.set_model_cell(*cell, item.function, value, format, item.locked);
    application_.set_model_cell(*cell, item.formula, value, format, item.locked);
  }

  void show_first_sheet() {
    if (!first_sheet_) return;
    first_sheet_->workbook()->activate();
    first_sheet_->activate();
  }

 private:
  std::shared_ptr<host::Worksheet> sheet_of(const runfile::Item& item) {
    std::shared_ptr<host::Workbook> book;
    if (!host::ignoring_errors([&] { book = application_.workbook(item.book); }))
      book = application_.open_workbook(item.book);
    const std::string name = item.sheet.empty() ? kDefaultSheet : item.sheet;
    std::shared_ptr<host::Worksheet> sheet;
    if (!host::ignoring_errors([&] { sheet = book->worksheet(name); }))
      sheet = application_.open_sheet(*book, name);
    if (!first_sheet_) first_sheet_ = sheet;
    return sheet;
  }

  office::OfficeApplication& application_;
  const std::string& date_format_;
  std::shared_ptr<host::Worksheet> first_sheet_;
};

}  // namespace

std::shared_ptr<office::OfficeApplication> open_model(const runfile::Run& run,
                                                      const std::string& date_format) {
  auto application = office::make_application();
  ModelBuilder builder(*application, date_format);
  const auto each_item = [&](const auto& visit) {
    for (const runfile::Input& input : run.inputs) visit(input);
    for (const runfile::Output& output : run.outputs) visit(output);
  };
  // Items after labels: where both name one cell, the item is what the run saw.
  each_item([&](const runfile::Item& item) { builder.add_labels(item); });
  each_item([&](const runfile::Item& item) { builder.add_item(item); });
  builder.show_first_sheet();
  return application;
}

}  // namespace ordvane::embedded
