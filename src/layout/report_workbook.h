// The report layer: report workbook, sheets, tables and charts, on the host's spreadsheet.
//
// A report asks the workbook for a sheet, writes a title block, then adds charts and tables, each below what
// the sheet holds so far, and finishes the sheet. The layer owns the look of everything it places: fonts,
// fills, rules, print set-up. Reports fill bodies in blocks and format columns in runs; nothing here writes
// cell by cell.
//
// Rows and columns of a table count from 1 within the part that an operation addresses. Every operation
// throws host::Error when the host refuses. Objects hold references to the session and must not outlive it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/excel.h"
#include "layout/report_sheet.h"
#include "session/session.h"

namespace ordvane::layout {

// The workbook that holds the results of several report workbooks; null until one is made.
struct GatheredResults {
  std::shared_ptr<host::Workbook> workbook;
};

class ReportWorkbook {
 public:
  // Into `target`; when it is null, into the workbook of `gathered` as long as that is open, else into a new
  // one, which becomes that of `gathered`. Without `gathered`, the new workbook is for these results alone.
  // Texts come in the session's language, whatever the last argument says.
  ReportWorkbook(session::Session& session, std::string name, std::shared_ptr<host::Workbook> target,
                 std::shared_ptr<GatheredResults> gathered, std::int32_t language_id);

  // Whether the spreadsheet may be told to show the finished reports.
  void SetExcelReady(bool ready);
  // Report sheets replace sheets of the same name instead of taking a free name. Sheets that this object has
  // added, and those that the host does not let go, are never replaced.
  void OverwriteExisting();
  // A sheet after the last one. A name that is taken gets " (2)", " (3)" … within the
  // spreadsheet's 31 characters.
  std::shared_ptr<ReportSheet> AddSheet(const std::string& name);
  // Adds a list of the report sheets with links where there are many, before the first one; sets the document
  // properties of a new workbook; shows the first report sheet, or the list.
  void ReportsComplete();

  // The workbook that holds the reports; null until the first sheet is added.
  std::shared_ptr<host::Workbook> workbook() const { return workbook_; }

 private:
  void open_workbook();
  std::vector<std::string> titles_under(session::TextId<0> label) const;
  void name_document();
  void add_contents();
  std::string free_name(const std::string& name, const std::string& own_name);
  std::shared_ptr<host::Worksheet> take_worksheet();

  session::Session& session_;
  std::string name_;
  std::shared_ptr<host::Workbook> target_;
  std::shared_ptr<GatheredResults> gathered_;  // may be null
  bool is_new_ = false;                        // the workbook was made here
  bool excel_ready_ = false;
  bool overwrite_existing_ = false;
  std::shared_ptr<host::Workbook> workbook_;
  std::shared_ptr<host::Worksheet> empty_sheet_;  // the one a new workbook comes with, until it is used
  std::shared_ptr<host::Worksheet> first_sheet_;
  std::vector<std::shared_ptr<ReportSheet>> reports_;
  std::set<std::string> added_;                 // names of the sheets added here
  std::map<std::string, std::int32_t> copies_;  // by wanted name: how many names were tried
};

class ReportWorkbookFactory {
 public:
  // With `single_workbook_all_results`, all results that go into no target are gathered in one workbook.
  std::shared_ptr<ReportWorkbook> CreateReportWorkbook(session::Session& session, const std::string& name,
                                                       std::shared_ptr<host::Workbook> target,
                                                       bool single_workbook_all_results,
                                                       std::int32_t language_id);
  // Later results are gathered in another workbook.
  void ForgetResults() { gathered_.reset(); }

 private:
  std::shared_ptr<GatheredResults> gathered_;
};

}  // namespace ordvane::layout
