// Reads a report workbook back from Excel and compares it with what this program makes of the same run.
#pragma once

#include "excel.h"
#include "office/book.h"

namespace ordvane::acceptance {

// One check each for sheets, values, number formats, column widths, pages, charts, series, axes, plot areas
// and labels.
void check_workbook(Results& results, const LateBound& workbook, const office::BookModel& expected);

// Whether the texts and numbers of all sheets are those expected: throws Wrong, or says how many there are.
std::string compare_values(const LateBound& workbook, const office::BookModel& expected);

}  // namespace ordvane::acceptance
