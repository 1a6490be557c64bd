// What tables of several reports have in common: labels and number formats of inputs and outputs, headings
// over groups of columns, bodies written in blocks.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/cells.h"
#include "layout/report_table.h"
#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::reports {

// The item's name with its address; the address alone for an item without a name.
std::string ItemLabel(const model::DralInputOutput& item);
// Format of an item's values in cells, local form: the cell's own, or the date format of a date whose cell
// has none.
std::string ValueFormat(const model::DralInputOutput& item);
// The same for an axis: English codes.
std::string AxisFormat(const model::DralInputOutput& item);
// Format of differences of an item's values: days between dates are plain numbers.
std::string ChangeFormat(const model::DralInputOutput& item);

// Formats the column of an item's values and, beside it, that of their changes.
void FormatValuesAndChanges(layout::ReportTable& table, std::int32_t first_row, std::int32_t rows,
                            std::int32_t column, const model::DralInputOutput& item);

// A caption over a group of columns, centred in one merged cell of a table's header.
void AddHeaderGroup(layout::ReportTable& table, std::int32_t row, std::int32_t column, std::int32_t rows,
                    std::int32_t columns, const std::string& caption);

// The outputs' names over their groups of columns, in one header row.
class OutputHeadings {
 public:
  OutputHeadings(const session::Session& session, layout::ReportTable& table, std::int32_t header_row,
                 std::int32_t columns_per_output, model::OrdvaneRangeMode mode);
  // An output without a name is headed by its address.
  void add(const model::DralInputOutput& output, std::int32_t column);
  // Once the columns have their widths: the row takes the height of the heading with the most lines.
  void fit();

 private:
  const session::Session& session_;
  layout::ReportTable& table_;
  std::int32_t row_, columns_;
  model::OrdvaneRangeMode mode_;
};

// Fills a table's body from the top, one row after another, and writes it in blocks: never cell by cell, and
// never the whole table at once.
class BodyWriter {
 public:
  // For at most `rows` rows.
  BodyWriter(layout::ReportTable& table, std::int32_t rows);
  // Begins the next row of the body; returns its number in block().
  std::int32_t next_row();
  host::CellBlock& block() { return block_; }
  // Rows begun so far.
  std::int32_t rows() const { return written_ + filled_; }
  // Writes what is left.
  void flush();

 private:
  layout::ReportTable& table_;
  host::CellBlock block_;
  std::int32_t written_ = 0;  // body rows on the sheet
  std::int32_t filled_ = 0;   // rows of the block
};

}  // namespace ordvane::reports
