// The add-in's label search, for a host without the add-in.
#pragma once

#include <cstdint>
#include <string>

#include "office/sheet.h"

namespace ordvane::office {

inline constexpr const char* kFindLabelMacro = "Dral4FindLabelVBDebug";

// The labels of a cell are the nearest text to its left in its row and the nearest text above it in its
// column. Selector 1: their texts, joined with " / ", left first; 2: the address of the first label cell; 3:
// that of the second. Empty where there is none.
std::string find_label(Sheet& sheet, const CellRef& cell, std::int16_t selector);

}  // namespace ordvane::office
