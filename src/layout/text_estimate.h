// Rough widths of texts, for what the spreadsheet does not fit by itself: heights of wrapped captions, room
// for chart labels. Good to about a tenth.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace ordvane::layout {

// Width in points of a text in one line of the report typeface.
double estimated_width(std::string_view text, double size, bool bold = false);
// The widest of a text's lines as line feeds break it.
double widest_line(std::string_view text, double size, bool bold = false);
// The widest word of a text, which no wrapping makes narrower.
double widest_word(std::string_view text, double size, bool bold = false);
// Lines that a text takes when it is wrapped at a width in points; line feeds break it too.
std::int32_t wrapped_lines(std::string_view text, double width, double size, bool bold = false);

// Room that a number takes as a format shows it. Local and English formats alike.
double estimated_number_width(double value, std::string_view format, double size);
// Between the labels of inputs that were varied together: "Price (B5) × Volume (B8)".
inline constexpr std::string_view kBetweenMembers = " × ";
// The text, or as much of it as fits a width, cut with "…". An address in brackets at the end stays. Of
// joined labels each is cut, the longest most; where too little of them would be left their addresses stand
// alone: "B5 × B8", as many as fit.
std::string fitted_name(const std::string& text, double width, double size);

// Width of a column's inside in points, and the characters a column needs to hold such a width.
double column_points(double characters);
double column_characters(double points);

}  // namespace ordvane::layout
