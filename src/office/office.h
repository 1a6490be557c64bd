// The embedded spreadsheet: an in-memory implementation of host/excel.h.
//
// Keeps workbooks as plain data (office/book.h). Computes no formulas of its own beyond constants, the few
// functions that reports write, and the recorded results of model formulas; it measures text with font
// metrics, merges, fits columns, and runs the label macro itself. Nothing is drawn; xlsx/ writes a workbook
// to a file.
#pragma once

#include <memory>
#include <string>

#include "host/excel.h"
#include "office/book.h"
#include "office/number_format.h"

namespace ordvane::office {

class OfficeApplication : public host::Application {
 public:
  // Adds a workbook of this name, with no sheets yet, and makes it active. Names are unique, case ignored.
  virtual std::shared_ptr<host::Workbook> open_workbook(const std::string& name) = 0;
  // A sheet of this name in it, which becomes the active sheet.
  virtual std::shared_ptr<host::Worksheet> open_sheet(host::Workbook& book, const std::string& name) = 0;
  // A model cell: shows `value`; whenever `formula` (with or without its "=") is entered or evaluated in this
  // very cell, the result is `value` again, because that is what the recorded run saw.
  virtual void set_model_cell(host::Range& cell, const std::string& formula, const host::CellValue& value,
                              const std::string& number_format, bool locked) = 0;
  // The data behind a workbook of this application.
  virtual std::shared_ptr<const BookModel> model(host::Workbook& book) = 0;
  virtual void close_workbook(host::Workbook& book) = 0;
  // How TEXT writes numbers; as English does unless told.
  virtual void set_number_symbols(const NumberSymbols& symbols) = 0;
};

std::shared_ptr<OfficeApplication> make_application();

// Width in points of a text in one line.
double text_width(std::string_view text, const std::string& font, double size, bool bold);

}  // namespace ordvane::office
