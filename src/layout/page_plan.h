// How a report sheet falls into printed pages: which way the paper lies, how small the print is, and with
// which rows and columns pages begin, so that charts and blocks of columns stay whole and tables do not begin
// at the foot of a page.
//
// One plan holds on A4 and on US Letter, and leaves a reserve for what a printer makes of widths and heights:
// no page takes less than is assumed here, so that nothing is cut that the plan keeps together. Lengths are
// points on the sheet, before the print is made smaller. Knows no spreadsheet.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ordvane::layout {

// Points that still read well on a page lying down.
inline constexpr double kPageWidth = 1250;
// The part of a page's width that columns repeated on every page may take.
inline constexpr double kMostRepeated = 0.45;
// The same of pages that begin with blocks of columns, points.
inline constexpr double kMostRepeatedBesideBlocks = 600;

// Of the narrower of the two papers, without its margins. Points on paper.
double printable_width(bool landscape);

// Something on the sheet. Blocks come from the top down.
struct PrintedBlock {
  std::int32_t row = 0;  // its first one
  double top = 0, bottom = 0;
  // What is above this stays on one page: a whole chart, a table's captions and first rows.
  double kept_bottom = 0;
  double header = 0;  // height of its header rows, which later pages may repeat
  bool is_chart = false;
};

struct PrintedSheet {
  double width = 0;
  double repeated_columns = 0;  // width of those on every page, if there are several side by side
  std::vector<PrintedBlock> blocks;
  // Left edges of blocks of columns; rising. Pages side by side begin with one of them; without any, with
  // whatever column comes.
  std::vector<double> column_blocks = {};
};

struct PagePlan {
  bool landscape = false;
  std::int32_t pages_wide = 1;             // side by side; the print is fitted to them unless it has a scale
  std::int32_t scale = 0;                  // percent; 0: fitted
  std::vector<std::size_t> column_breaks;  // blocks of columns that a page begins with
  std::vector<std::int32_t> row_breaks;    // a page begins with each of these rows
  std::vector<bool> goes_on;               // by block: whether it may go on over the end of a page
};

PagePlan plan_pages(const PrintedSheet& sheet);

}  // namespace ordvane::layout
