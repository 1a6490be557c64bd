// What a chart series draws from: references to cells with what they hold, or constants.
#pragma once

#include "office/book.h"
#include "xlsx/sheets_by_name.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

// Numbers: <tag> with c:numRef or c:numLit. What is no number is left out of the points.
void number_source(Xml& xml, const char* tag, const SheetsByName& sheets, const office::SeriesData& data);
// Categories: texts when any cell holds one, else numbers.
void category_source(Xml& xml, const char* tag, const SheetsByName& sheets, const office::SeriesData& data);

}  // namespace ordvane::xlsx
