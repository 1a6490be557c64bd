#include "xlsx/drawing_text.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace ordvane::xlsx {
namespace {

constexpr double kEmuPerPoint = 12700;

const char* dash(std::int32_t style) {
  switch (static_cast<host::LineStyle>(style)) {
    case host::LineStyle::kDash:
      return "dash";
    case host::LineStyle::kDot:
      return "sysDot";
    case host::LineStyle::kContinuous:
    case host::LineStyle::kNone:
      break;
  }
  return "solid";
}

struct LinePiece {
  std::string_view text;
  const office::FontProps* font;
};

// The runs, cut at their line breaks.
std::vector<std::vector<LinePiece>> lines_of(const std::vector<office::TextRun>& runs) {
  std::vector<std::vector<LinePiece>> lines(1);
  for (const office::TextRun& run : runs) {
    std::string_view rest = run.text;
    for (std::size_t end = rest.find_first_of("\r\n"); end != rest.npos; end = rest.find_first_of("\r\n")) {
      if (end > 0) lines.back().push_back({rest.substr(0, end), &run.font});
      lines.emplace_back();
      rest.remove_prefix(end + (rest.substr(end, 2) == "\r\n" ? 2 : 1));
    }
    if (!rest.empty()) lines.back().push_back({rest, &run.font});
  }
  return lines;
}

}  // namespace

std::int64_t emu(double points) {
  return std::llround(points * kEmuPerPoint);
}

double fraction(double part, double whole) {
  return whole > 0 ? std::clamp(part / whole, 0.0, 1.0) : 0;
}

void solid_fill(Xml& xml, host::Color color) {
  xml.start("a:solidFill").val("a:srgbClr", hex_color(color)).end();
}

void fill(Xml& xml, const office::FillProps& fill) {
  if (fill.none) {
    xml.empty("a:noFill");
  } else if (fill.color) {
    solid_fill(xml, *fill.color);
  }
}

void line(Xml& xml, const office::LineProps& line) {
  xml.start("a:ln");
  if (line.line_style == host::kXlNone) {
    xml.empty("a:noFill");
  } else {
    xml.attr("w", emu(line.width));
    if (line.color) solid_fill(xml, *line.color);
    xml.val("a:prstDash", dash(line.line_style));
  }
  xml.end();
}

void shape_properties(Xml& xml, const office::FillProps* inside, const office::LineProps* outline) {
  const bool filled = inside != nullptr && (inside->none || inside->color);
  if (!filled && outline == nullptr) return;
  xml.start("c:spPr");
  if (filled) fill(xml, *inside);
  if (outline != nullptr) line(xml, *outline);
  xml.end();
}

void font_element(Xml& xml, const char* tag, const office::FontProps& font) {
  xml.start(tag);
  if (font.size) xml.attr("sz", std::lround(*font.size * 100));
  if (font.bold) xml.attr("b", *font.bold);
  if (font.italic) xml.attr("i", *font.italic);
  if (font.color) solid_fill(xml, *font.color);
  if (font.name) {
    xml.start("a:latin").attr("typeface", *font.name).end();
    xml.start("a:ea").attr("typeface", "+mn-ea").end();  // the theme's
  }
  xml.end();
}

office::FontProps over(const office::FontProps& font, const office::FontProps& base) {
  office::FontProps both = font;
  if (!both.name) both.name = base.name;
  if (!both.size) both.size = base.size;
  if (!both.bold) both.bold = base.bold;
  if (!both.italic) both.italic = base.italic;
  if (!both.color) both.color = base.color;
  return both;
}

bool is_plain(const office::FontProps& font) {
  return !font.name && !font.size && !font.bold && !font.italic && !font.color;
}

void paragraphs(Xml& xml, const std::vector<office::TextRun>& runs, const office::FontProps& base) {
  for (const std::vector<LinePiece>& pieces : lines_of(runs)) {
    xml.start("a:p").start("a:pPr");
    font_element(xml, "a:defRPr", base);
    xml.end();
    for (const LinePiece& piece : pieces) {
      xml.start("a:r");
      font_element(xml, "a:rPr", over(*piece.font, base));
      xml.leaf("a:t", piece.text).end();
    }
    if (pieces.empty()) font_element(xml, "a:endParaRPr", base);
    xml.end();
  }
}

void text_properties(Xml& xml, const office::FontProps& font) {
  xml.start("c:txPr").empty("a:bodyPr").empty("a:lstStyle");
  xml.start("a:p").start("a:pPr");
  font_element(xml, "a:defRPr", font);
  xml.end().empty("a:endParaRPr").end().end();
}

}  // namespace ordvane::xlsx
