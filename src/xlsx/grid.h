// Where points of a sheet fall among its columns and rows.
//
// The spreadsheet lays sheets out in pixels of 3/4 point; a character is 7 pixels of the default font.
#pragma once

#include <cstdint>

#include "office/book.h"

namespace ordvane::xlsx {

inline constexpr double kDigitPixels = 7;  // of Calibri 11, the default font of new workbooks

// Width of a column as the file has it: with the cells' margins, in 256ths of a digit of the workbook's
// default font.
double column_file_width(double characters, double digit_pixels = kDigitPixels);

// A place on a sheet, both parts counted from 0.
struct GridPlace {
  std::int32_t cell = 0;  // column or row
  double offset = 0;      // points from its left or top edge
};

// Positions outside the sheet are brought to its edge.
GridPlace column_at(const office::SheetModel& sheet, double points);
GridPlace row_at(const office::SheetModel& sheet, double points);

// Left edge of a column or top edge of a row, counted from 1, in points.
double column_left(const office::SheetModel& sheet, std::int32_t column);
double row_top(const office::SheetModel& sheet, std::int32_t row);

}  // namespace ordvane::xlsx
