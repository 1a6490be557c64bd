// Cell addresses in the way of workbook files: A1, $B$5.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "calc/value.h"

namespace ordvane::calc {

// One end of an address at the beginning of a text. A row or a column alone, as in 3:5 and A:C, leaves the
// other at -1.
struct AddressEnd {
  std::size_t length = 0;  // 0 when there is none
  std::int32_t row = -1, column = -1;
  bool fixed_row = false, fixed_column = false;
};
AddressEnd read_address_end(std::string_view text);

// A1 or A1:B2, the whole of the text, on sheet 0; its corners put in order.
std::optional<Reference> block_of(std::string_view text);

std::string cell_name(std::int32_t row, std::int32_t column);
// A sheet's name as formulas have it, in quotes where they need them.
std::string quoted_sheet(std::string_view name);

}  // namespace ordvane::calc
