// Bodies of tables, written in blocks.
#pragma once

#include <cstdint>

#include "host/cells.h"
#include "layout/report_table.h"

namespace ordvane::reports {

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
