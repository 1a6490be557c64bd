// A workbook file that reports go into, as the embedded spreadsheet sees it: the active workbook, with the
// names of the file's sheets taken.
#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <vector>

#include "office/office.h"
#include "runfile/run.h"
#include "xlsx/existing_workbook.h"

namespace ordvane::embedded {

class ReportTarget {
 public:
  // The run's model is open in the application. The file's sheets stand beside the model's, in its workbook
  // of the file's name or else in its active one, so that labels and names are found as they are without the
  // file. The sheets cannot be removed, apart from those of the file that are reports.
  ReportTarget(office::OfficeApplication& application, const runfile::Run& run,
               const xlsx::ExistingWorkbook& existing);

  // Positions of the sheets that the workbook has now and did not have before. They are marked as reports.
  std::vector<std::size_t> reports(const office::BookModel& book) const;
  // Throws xlsx::BadWorkbook where those sheets hold dates that the file would count otherwise.
  void check_dates(const office::BookModel& book) const;

 private:
  const xlsx::ExistingWorkbook& existing_;
  bool is_model_ = false;  // the file is a workbook of the run's model
  std::set<std::shared_ptr<const office::SheetModel>>
      before_;  // held, so that none is mistaken for a later one
};

}  // namespace ordvane::embedded
