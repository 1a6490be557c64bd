// Links within a report workbook.
#pragma once

#include <cstdint>
#include <string>

namespace ordvane::layout {

// A formula that shows as much of a text as formulas hold, and leads to a row of a sheet of its workbook.
std::string LinkFormula(const std::string& sheet, std::int32_t row, const std::string& text);

}  // namespace ordvane::layout
