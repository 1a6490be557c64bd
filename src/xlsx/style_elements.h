// The elements of a style: what a styles part is made from, each as its XML.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "office/book.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

// Formats that every spreadsheet knows by number and shows alike in every country. Nothing for others.
std::optional<std::size_t> known_format(const std::string& format);

// A colour that nothing shines through.
void color_element(Xml& xml, const char* tag, host::Color color);

// `minor`: the default font follows the theme, as it does where the theme is ours.
std::string font_element(const office::CellStyle& style, bool minor);
std::string fill_element(const office::CellStyle& style);
std::string border_element(const office::CellStyle& style);

struct StyleNumbers {
  std::size_t format = 0, font = 0, fill = 0, border = 0;
  std::size_t base = 0;  // the named style it is made from
};
// `apply_all`: says of everything that it is the cell's own, whatever the named style has.
std::string cell_format_element(const office::CellStyle& style, const StyleNumbers& numbers, bool apply_all);

}  // namespace ordvane::xlsx
