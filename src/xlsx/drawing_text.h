// Elements of drawings that charts and text boxes share: fills, lines, fonts and text bodies.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "office/book.h"
#include "xlsx/xml.h"

namespace ordvane::xlsx {

std::int64_t emu(double points);             // the unit of drawings: 12,700 to a point
double fraction(double part, double whole);  // 0 to 1

void solid_fill(Xml& xml, host::Color color);
void fill(Xml& xml, const office::FillProps& fill);  // nothing for an automatic one
void line(Xml& xml, const office::LineProps& line);
// Shape properties; left out when both are absent.
void shape_properties(Xml& xml, const office::FillProps* fill, const office::LineProps* line);

// `tag`: "a:rPr", "a:defRPr" or "a:endParaRPr".
void font_element(Xml& xml, const char* tag, const office::FontProps& font);
// What `font` leaves open is taken from `base`.
office::FontProps over(const office::FontProps& font, const office::FontProps& base);
bool is_plain(const office::FontProps& font);  // nothing is set

// One paragraph a line; line breaks end one wherever in a run they stand.
void paragraphs(Xml& xml, const std::vector<office::TextRun>& runs, const office::FontProps& base);
// Font of the texts of an axis, legend or chart: a body without text.
void text_properties(Xml& xml, const office::FontProps& font);

}  // namespace ordvane::xlsx
