#include "embedded/report_target.h"

#include <algorithm>
#include <memory>

#include "host/error.h"
#include "office/number_format.h"
#include "unicode/names.h"

namespace ordvane::embedded {
namespace {

bool holds_dates(const office::BookModel& book, const office::SheetModel& sheet) {
  for (const office::RowBand& band : sheet.bands)
    for (std::size_t cell = 0; cell < band.cells.size(); ++cell)
      if (band.cells[cell].is_number() &&
          office::NumberFormat(book.styles.at(band.style(cell)).number_format).shows_dates())
        return true;
  return false;
}

}  // namespace

ReportTarget::ReportTarget(office::OfficeApplication& application, const runfile::Run& run,
                           const xlsx::ExistingWorkbook& existing)
    : existing_(existing) {
  const std::string name = existing.path().filename().string();
  const auto is_named_so = [&](const runfile::Item& item) { return unicode::same_name(item.book, name); };
  is_model_ = std::any_of(run.inputs.begin(), run.inputs.end(), is_named_so) ||
              std::any_of(run.outputs.begin(), run.outputs.end(), is_named_so);
  const auto book = is_model_ ? application.workbook(name) : application.active_workbook();
  const auto shown = application.active_sheet();
  const auto model = application.model(*book);
  for (const auto& sheet : model->sheets) sheet->is_kept = true;
  for (const xlsx::ExistingWorkbook::Sheet& sheet : existing.sheets()) {
    // A name that the model has, or that no report can have, needs no sheet.
    host::ignoring_errors([&] {
      application.open_sheet(*book, sheet.name);
      model->sheets.back()->is_kept = !sheet.is_report;
    });
  }
  for (const auto& sheet : model->sheets) before_.insert(sheet);
  book->worksheets().front()->activate();
  book->activate();
  // The sheet that was shown is the one that names in formulas are read from.
  if (shown && shown->workbook()->name() == book->name()) shown->activate();
}

std::vector<std::size_t> ReportTarget::reports(const office::BookModel& book) const {
  std::vector<std::size_t> added;
  for (std::size_t i = 0; i < book.sheets.size(); ++i) {
    if (before_.contains(book.sheets[i])) continue;
    book.sheets[i]->is_report = true;
    added.push_back(i);
  }
  return added;
}

void ReportTarget::check_dates(const office::BookModel& book) const {
  if (!existing_.counts_dates_from_1904() || is_model_) return;
  for (const std::size_t position : reports(book))
    if (holds_dates(book, *book.sheets[position]))
      throw xlsx::BadWorkbook(existing_.path().string() +
                              ": it counts dates from 1904 and the run's model does not, so the dates in the "
                              "reports would be four years off; name a workbook that counts from 1900");
}

}  // namespace ordvane::embedded
