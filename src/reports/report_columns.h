// Columns that tables of several reports have, and what stands in those that say where an item is.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/cells.h"
#include "layout/column.h"
#include "layout/report_sheet.h"
#include "layout/report_table.h"
#include "model/input_output.h"
#include "reports/context.h"

namespace ordvane::reports {

// Captioned in the session's language. Number formats are in English codes.
class SharedColumns {
 public:
  explicit SharedColumns(const Context& context) : context_(context) {}

  // Workbook and worksheet, as far as inputs differ in them: one column a step of the range mode.
  std::vector<layout::Column> places() const;
  layout::Column name() const;
  layout::Column cell() const;
  layout::Column step() const;
  layout::Column rank() const;
  // Values of an item, their changes from its base value, and these in parts of the base value's size.
  layout::Column value(const std::string& format = {}) const;
  layout::Column change(const std::string& format = {}) const;
  layout::Column fraction() const;
  // Under the captions for inputs and for outputs, in this row of the header.
  std::vector<layout::Column> of_inputs(std::int32_t row, std::vector<layout::Column> columns) const;
  std::vector<layout::Column> of_outputs(std::int32_t row, std::vector<layout::Column> columns) const;
  // Over an output's columns: its name, or its address when it has none.
  std::string heading(const model::DralInputOutput& output) const;

 private:
  std::string caption(session::TextId<0> text) const { return context_.session.text(text); }

  const Context& context_;
};

// With a rule behind the last one.
std::vector<layout::Column> ruled(std::vector<layout::Column> columns);

// Fills the columns of SharedColumns::places for an item, from `column` on.
void PutPlace(host::CellBlock& block, std::int32_t row, std::int32_t column, model::OrdvaneRangeMode mode,
              const model::DralInputOutput& item);

struct TableCaptions {
  std::string caption, subcaption;
};
// A table with these columns, below what the sheet holds so far.
std::shared_ptr<layout::ReportTable> AddTable(layout::ReportSheet& sheet, std::int32_t rows,
                                              std::int32_t header_rows, const TableCaptions& captions,
                                              const std::vector<layout::Column>& columns);

// Formats the column of an item's values and, beside it, that of their changes, in some rows of a table.
void FormatValuesAndChanges(layout::ReportTable& table, std::int32_t first_row, std::int32_t rows,
                            std::int32_t column, const model::DralInputOutput& item);

}  // namespace ordvane::reports
