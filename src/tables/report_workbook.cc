// Report workbooks: opened with their first sheet; sheets find a free name or replace an old report.
#include "tables/report_workbook.h"

#include "model/text.h"

namespace ordvane::tables {
namespace {

constexpr std::int32_t kLongestSheetName = 31;  // UTF-16 units

std::string numbered(const std::string& name, std::int32_t copy) {
  const std::string tail = copy == 1 ? "" : " (" + std::to_string(copy) + ")";
  return std::string(model::left(name, kLongestSheetName - model::utf16_length(tail))) + tail;
}

// Null when there is none.
std::shared_ptr<host::Worksheet> find_sheet(host::Workbook& workbook, const std::string& name) {
  std::shared_ptr<host::Worksheet> found;
  host::ignoring_errors([&] { found = workbook.worksheet(name); });
  return found;
}

}  // namespace

ReportWorkbook::ReportWorkbook(session::Session& session, std::string name,
                               std::shared_ptr<host::Workbook> target, bool /*single_workbook_all_results*/,
                               std::int32_t /*language_id*/)
    : session_(session), name_(std::move(name)), target_(std::move(target)) {}

void ReportWorkbook::SetExcelReady(bool ready) {
  excel_ready_ = ready;
}

void ReportWorkbook::OverwriteExisting() {
  overwrite_existing_ = true;
}

void ReportWorkbook::open_workbook() {
  if (workbook_) return;
  if (target_) {
    workbook_ = target_;
    return;
  }
  workbook_ = session_.application().add_workbook();
  const auto sheets = workbook_->worksheets();
  if (!sheets.empty()) empty_sheet_ = sheets.front();
}

ReportWorkbook::SheetPlace ReportWorkbook::place_for(const std::string& name) {
  std::int32_t& copy = copies_[name];
  while (true) {
    const std::string candidate = numbered(name, ++copy);
    const auto found = find_sheet(*workbook_, candidate);
    if (!found) return {candidate, nullptr};
    const std::string taken = found->name();
    if (empty_sheet_ && taken == empty_sheet_->name()) return {candidate, nullptr};
    if (overwrite_existing_ && !added_.contains(taken)) return {candidate, found};
  }
}

std::shared_ptr<host::Worksheet> ReportWorkbook::take_worksheet() {
  if (!empty_sheet_) return workbook_->add_worksheet();
  return std::exchange(empty_sheet_, nullptr);
}

std::shared_ptr<ReportSheet> ReportWorkbook::AddSheet(const std::string& name) {
  open_workbook();
  const SheetPlace place = place_for(name);
  const auto worksheet = take_worksheet();
  try {
    // After the new sheet is there: a workbook keeps at least one.
    if (place.replaced) place.replaced->remove();
    worksheet->set_name(place.name);
  } catch (const host::Error&) {
    host::ignoring_errors([&] { worksheet->remove(); });
    throw;
  }
  added_.insert(place.name);
  if (!first_sheet_) first_sheet_ = worksheet;
  return std::make_shared<ReportSheet>(session_, worksheet);
}

void ReportWorkbook::ReportsComplete() {
  if (!first_sheet_) return;
  // A workbook of the user's own keeps its properties.
  if (!target_) {
    host::DocumentProperties properties;
    properties.title = name_;
    properties.subject = first_sheet_->range(1, 1, 1, 1)->value().text;
    workbook_->set_properties(properties);
  }
  if (!excel_ready_) return;
  workbook_->activate();
  first_sheet_->activate();
}

std::shared_ptr<ReportWorkbook> ReportWorkbookFactory::CreateReportWorkbook(
    session::Session& session, const std::string& name, std::shared_ptr<host::Workbook> target,
    bool single_workbook_all_results, std::int32_t language_id) {
  return std::make_shared<ReportWorkbook>(session, name, std::move(target), single_workbook_all_results,
                                          language_id);
}

}  // namespace ordvane::tables
