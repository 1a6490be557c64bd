// Links within a report workbook.
#pragma once

#include <cstdint>
#include <string>

namespace ordvane::layout {

// A formula that shows a text, or as much of it as formulas hold, and leads to the first cell of a row of a sheet of the same workbook.
std::string LinkFormula(const std::string& sheet, std::int32_t row, const std::string& text);

}  // namespace ordvane::layout
