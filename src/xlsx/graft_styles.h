// Cell formats of report sheets, added to the styles that a workbook has.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "office/book.h"
#include "xlsx/xml_text.h"

namespace ordvane::xlsx {

struct GraftedStyles {
  std::string part;                    // xl/styles.xml with what was added
  std::vector<std::uint32_t> formats;  // cell format by style of the book; of used styles only
};

// What the workbook has already, letter for letter, is used again. Throws BadPackage for styles that are
// damaged or full.
GraftedStyles graft_styles(const XmlText& styles, const office::StyleTable& table,
                           const std::vector<bool>& used);

// Width of a digit in the font of the Normal style, in whole pixels: what column widths are counted in.
double default_digit_pixels(const XmlText& styles);

}  // namespace ordvane::xlsx
