// A table of a report sheet: caption, header block, body, with an optional column of row headers to the left.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/excel.h"
#include "layout/column.h"

namespace ordvane::layout {

class ReportSheet;

class ReportTable {
 public:
  // Made by ReportSheet::AddTable.
  ReportTable(ReportSheet& sheet, std::int32_t first_row, std::int32_t rows, std::int32_t columns,
              std::int32_t header_rows, std::int32_t row_header_columns, const std::string& caption,
              const std::string& subcaption);

  std::int32_t rows() const { return rows_; }
  std::int32_t columns() const { return columns_; }
  // The cell above the row headers; the first header cell when there are none.
  std::shared_ptr<host::Range> CornerRange();
  std::shared_ptr<host::Range> HeaderRowRange(std::int32_t header_row);  // 0: the block of header rows
  std::shared_ptr<host::Range> ColumnHeaderRange(std::int32_t column);   // 0: the left edge of the table
  std::shared_ptr<host::Range> BodyRange();  // of a table without rows: one row that stays empty
  std::shared_ptr<host::Range> CaptionRange();
  void SetRowHeader(std::int32_t row_header_column, std::int32_t row, const std::string& text);
  // All columns of the body, from left to right. A table without headers of its own goes on under those of
  // the one above it, whose columns it may be given: it takes no captions, headings and notes from them.
  void SetColumns(const std::vector<Column>& columns);
  // Row 0: the header block.
  void AddTableNote(std::int32_t row, std::int32_t column, const std::string& heading,
                    const std::string& text);
  // Horizontal rule below a body row, through the whole table.
  void AddRowRule(std::int32_t row);

  // Writes whole body rows from `first_row` on; the block has the table's columns, and so have blocks one
  // below the other.
  void PutBody(std::int32_t first_row, const host::CellBlock& block);
  void PutBody(std::int32_t first_row, std::span<const host::CellBlock* const> blocks);
  // A number format for every body row of a column, in English codes.
  void FormatRows(std::int32_t column, const std::vector<std::string>& formats);
  // Number format of a run of body rows, in one column or some side by side, in English codes.
  void FormatBody(std::int32_t first_row, std::int32_t rows, std::int32_t column, const std::string& format,
                  std::int32_t columns = 1);
  // Cells of the body, from (row, column).
  std::shared_ptr<host::Range> Body(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                    std::int32_t columns = 1);
  // Figures that only charts draw from, beside body rows from `first_row` on, in hidden columns. Every block
  // has as many columns as the first one.
  std::shared_ptr<host::Range> PutOutOfSight(std::int32_t first_row, const host::CellBlock& figures);
  // Cells of the header block.
  std::shared_ptr<host::Range> Header(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                      std::int32_t columns = 1);
  // How many of the sheet's first columns say what a row is. They stay in view, and are repeated on printed
  // pages, where the sheet is wide: `all` as long as they leave room for others, else the first `least`. One,
  // until it is told.
  void SetIdentityColumns(std::int32_t all, std::int32_t least);
  // Puts buttons on the captions of all columns that filter and sort the rows. One table of a sheet has them.
  void FilterRows();
  // Names wider than their column may get go on below, in rows that are as high as it takes; without this
  // they are seen as far as the column reaches. In these body rows; without any, in all.
  void WrapNames(std::vector<std::int32_t> rows = {});
  // Fits body columns side by side, with as many rows of the header above them: all in one go, which is
  // faster than Settle with one after another. Settle leaves them as they are. Column 0 is the row header's
  // last.
  void FitColumns(std::int32_t column, std::int32_t columns, std::int32_t header_rows = 0);
  // Fits the columns that are to fit, and the height of the captions, to what the table holds by now. The
  // sheet sees to it before it places something below the table, and at its end.
  void Settle();

 private:
  friend class ReportSheet;

  struct Heading {
    std::int32_t row, column, rows, columns;
    std::string caption;
  };

  std::int32_t body_row() const;     // sheet row of body row 1
  std::int32_t body_column() const;  // sheet column of body column 1
  std::int32_t header_row() const;   // sheet row of header row 1
  std::int32_t rows_on_sheet() const { return rows_ < 1 ? 1 : rows_; }
  std::int32_t sheet_columns() const { return row_header_columns_ + columns_; }
  std::int32_t last_row() const { return body_row() + rows_on_sheet() - 1; }

  std::shared_ptr<host::Range> cells(std::int32_t row, std::int32_t column, std::int32_t rows = 1,
                                     std::int32_t columns = 1);
  void write_captions(const std::string& caption, const std::string& subcaption);
  void format_header();
  void format_body();
  void set_caption(std::int32_t number, const Column& column);
  void set_column(std::int32_t number, const Column& column);
  void add_headings(const std::vector<Column>& columns);
  void add_heading(const Heading& heading);
  void add_column_rule(std::int32_t column);
  double settle_column(std::int32_t column);
  void settle_groups();
  void settle_rows();
  // Each of these sheet columns begins a printed page.
  void part_headings(const std::vector<std::int32_t>& first_columns);
  void measure_names(const host::CellBlock& block);

  ReportSheet& sheet_;
  std::int32_t first_row_;  // sheet row of the caption
  std::int32_t rows_, columns_, header_rows_, row_header_columns_;
  std::int32_t hidden_column_ = 0;  // sheet column of the first figure out of sight; 0: there are none
  std::int32_t identity_columns_, least_identity_columns_;
  bool has_caption_, has_subcaption_;
  std::vector<std::int32_t> column_blocks_;  // sheet columns that they begin with
  std::vector<Heading> headings_;
  bool wraps_names_ = false;
  std::vector<std::int32_t> wrapped_rows_;        // none: all
  bool settled_ = false;                          // nothing was written since the last Settle
  std::map<std::int32_t, std::string> captions_;  // by sheet column
  std::map<std::int32_t, double> widths_to_fit_;  // by sheet column that fits its contents: its width so far
  std::map<std::int32_t, double> name_widths_;    // by sheet column of texts: the widest so far, points
};

}  // namespace ordvane::layout
