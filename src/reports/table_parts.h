// What tables of several reports have in common: labels and number formats of inputs and outputs, bodies
// written in blocks.
#pragma once

#include <cstdint>
#include <string>

#include "host/cells.h"
#include "layout/report_table.h"
#include "model/input_output.h"

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
