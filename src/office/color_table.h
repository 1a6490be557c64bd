// The spreadsheet's default table of 56 colours.
#pragma once

#include <cstdint>

#include "host/excel.h"

namespace ordvane::office {

// The colour of an index, 1 to 56. Throws for any other.
host::Color indexed_color(std::int32_t index);

}  // namespace ordvane::office
