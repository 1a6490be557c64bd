// Report workbooks: opened with their first sheet; sheets find a free name or replace an old report.
#include "layout/report_workbook.h"

#include <algorithm>

#include "layout/links.h"
#include "layout/look.h"
#include "layout/report_table.h"
#include "text/utf16.h"

namespace ordvane::layout {
namespace {

constexpr std::int32_t kLongestSheetName = 31;  // UTF-16 units

constexpr std::size_t kMostSheetsWithoutContents = 6;
constexpr std::int32_t kLongestProperty = 255;  // UTF-16 units; of a document property

// What a report's title block says under this label; blank when it has no such line.
host::CellValue line_of(const ReportSheet& report, const std::string& label) {
  for (const TitleLine& line : report.title_lines())
    if (line.label == label) return line.value;
  return {};
}

std::string numbered(const std::string& name, std::int32_t copy) {
  const std::string tail = copy == 1 ? "" : " (" + std::to_string(copy) + ")";
  return std::string(text::left(name, kLongestSheetName - text::utf16_length(tail))) + tail;
}

// Null when there is none.
std::shared_ptr<host::Worksheet> find_sheet(host::Workbook& workbook, const std::string& name) {
  std::shared_ptr<host::Worksheet> found;
  host::ignoring_errors([&] { found = workbook.worksheet(name); });
  return found;
}

}  // namespace

ReportWorkbook::ReportWorkbook(session::Session& session, std::string name,
                               std::shared_ptr<host::Workbook> target,
                               std::shared_ptr<GatheredResults> gathered, std::int32_t /*language_id*/)
    : session_(session), name_(std::move(name)), target_(std::move(target)), gathered_(std::move(gathered)) {}

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
  // A closed workbook does not answer.
  if (gathered_ && gathered_->workbook && host::ignoring_errors([&] { gathered_->workbook->name(); })) {
    workbook_ = gathered_->workbook;
    return;
  }
  workbook_ = session_.application().add_workbook();
  is_new_ = true;
  if (gathered_) gathered_->workbook = workbook_;
  const auto sheets = workbook_->worksheets();
  if (!sheets.empty()) empty_sheet_ = sheets.front();
}

std::string ReportWorkbook::free_name(const std::string& name, const std::string& own_name) {
  std::int32_t& copy = copies_[name];
  while (true) {
    std::string candidate = numbered(name, ++copy);
    const auto found = find_sheet(*workbook_, candidate);
    if (!found) return candidate;
    const std::string taken = found->name();
    if (taken == own_name) return candidate;
    // A sheet that the host does not let go keeps its place and its name.
    if (overwrite_existing_ && !added_.contains(taken) && host::ignoring_errors([&] { found->remove(); }))
      return candidate;
  }
}

std::shared_ptr<host::Worksheet> ReportWorkbook::take_worksheet() {
  if (!empty_sheet_) return workbook_->add_worksheet();
  return std::exchange(empty_sheet_, nullptr);
}

std::shared_ptr<ReportSheet> ReportWorkbook::AddSheet(const std::string& name) {
  open_workbook();
  // Before another sheet goes: a workbook keeps at least one.
  const auto worksheet = take_worksheet();
  std::string given;
  try {
    given = free_name(name, worksheet->name());
    worksheet->set_name(given);
  } catch (const host::Error&) {
    host::ignoring_errors([&] { worksheet->remove(); });
    throw;
  }
  added_.insert(given);
  reports_.push_back(std::make_shared<ReportSheet>(session_, worksheet));
  if (!first_sheet_) first_sheet_ = worksheet;
  return reports_.back();
}

// What the reports' title blocks say under a shared label, in their order, nothing twice.
std::vector<std::string> ReportWorkbook::titles_under(session::TextId<0> label) const {
  std::vector<std::string> texts;
  for (const auto& report : reports_) {
    const host::CellValue line = line_of(*report, session_.text(label));
    if (!line.text.empty() && std::find(texts.begin(), texts.end(), line.text) == texts.end())
      texts.push_back(line.text);
  }
  return texts;
}

// Named after the workbooks that the reports are about, and their outputs.
void ReportWorkbook::name_document() {
  const std::vector<std::string> models = titles_under(text_id::kLabelWorkbook);
  const std::vector<std::string> outputs = titles_under(text_id::kLabelOutput);
  host::DocumentProperties properties;
  properties.title =
      models.empty() ? name_ : session_.text(text_id::kDocumentTitle, session_.list_of(models));
  if (!outputs.empty())
    properties.subject = session_.list_of(outputs);
  else if (!reports_.empty())
    properties.subject = reports_.front()->title();
  for (std::string* text : {&properties.title, &properties.subject})
    *text = text::shortened(*text, kLongestProperty);
  host::ignoring_errors([&] { workbook_->set_properties(properties); });
}

// One row a report sheet: a link to it, what it is, and what it is about.
void ReportWorkbook::add_contents() {
  const auto reports = reports_;
  const bool several_runs = titles_under(text_id::kLabelRun).size() > 1;
  const std::int32_t rows = static_cast<std::int32_t>(reports.size());
  const std::int32_t column_count = several_runs ? 4 : 3;
  const std::string first = first_sheet_->name();
  const auto sheet = AddSheet(session_.text(text_id::kContentsTitle));
  sheet->AddTitleBlock(session_.text(text_id::kContentsTitle), {});
  sheet->SetSheetOption(1);
  const auto table = sheet->AddTable(rows, column_count, 1, 0, "", "");
  table->WrapNames();
  std::vector<Column> columns = {name_column(session_.text(text_id::kContentsSheet)),
                                 name_column(session_.text(text_id::kContentsReport)),
                                 name_column(session_.text(text_id::kLabelOutput))};
  if (several_runs) columns.push_back(name_column(session_.text(text_id::kLabelRun)));
  table->SetColumns(columns);
  host::CellBlock body(rows, column_count);
  for (std::int32_t row = 1; const auto& report : reports) {
    body.set_text(row, 1, report->SheetWorksheet()->name());
    body.set_text(row, 2, report->title());
    body.set(row, 3, line_of(*report, session_.text(text_id::kLabelOutput)));
    if (several_runs) body.set(row, 4, line_of(*report, session_.text(text_id::kLabelRun)));
    ++row;
  }
  table->PutBody(1, body);
  const auto links = table->Body(1, 1, rows);
  links->set_number_format("General");  // a formula in a text cell would be shown, not followed
  links->set_font({.color = look::kAccent});
  for (std::int32_t row = 1; const auto& report : reports) {
    const std::string name = report->SheetWorksheet()->name();
    table->Body(row++, 1)->set_formula(LinkFormula(name, 1, name));
  }
  sheet->FinishSheet();
  sheet->SheetWorksheet()->range("a1")->select();
  sheet->SheetWorksheet()->move_before(first);
  first_sheet_ = sheet->SheetWorksheet();
}

void ReportWorkbook::ReportsComplete() {
  if (!first_sheet_) return;
  if (is_new_) name_document();  // others have their properties already
  if (reports_.size() > kMostSheetsWithoutContents) add_contents();
  if (!excel_ready_) return;
  workbook_->activate();
  first_sheet_->activate();
}

std::shared_ptr<ReportWorkbook> ReportWorkbookFactory::CreateReportWorkbook(
    session::Session& session, const std::string& name, std::shared_ptr<host::Workbook> target,
    bool single_workbook_all_results, std::int32_t language_id) {
  if (single_workbook_all_results && !gathered_) gathered_ = std::make_shared<GatheredResults>();
  return std::make_shared<ReportWorkbook>(session, name, std::move(target),
                                          single_workbook_all_results ? gathered_ : nullptr, language_id);
}

}  // namespace ordvane::layout
