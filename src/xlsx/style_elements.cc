#include "xlsx/style_elements.h"

#include <array>
#include <utility>

#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using office::CellStyle;

// Formats that every spreadsheet knows by number and shows alike in every country.
constexpr std::array<std::pair<const char*, int>, 22> kKnownFormats = {{
    {"General", 0},
    {"0", 1},
    {"0.00", 2},
    {"#,##0", 3},
    {"#,##0.00", 4},
    {"0%", 9},
    {"0.00%", 10},
    {"0.00E+00", 11},
    {"# ?/?", 12},
    {"# ?"
     "?/?"
     "?",
     13},
    {"d-mmm-yy", 15},
    {"d-mmm", 16},
    {"mmm-yy", 17},
    {"h:mm AM/PM", 18},
    {"h:mm:ss AM/PM", 19},
    {"h:mm", 20},
    {"h:mm:ss", 21},
    {"mm:ss", 45},
    {"[h]:mm:ss", 46},
    {"mmss.0", 47},
    {"##0.0E+0", 48},
    {"@", 49},
}};

}  // namespace

std::optional<std::size_t> known_format(const std::string& format) {
  for (const auto& [code, known] : kKnownFormats)
    if (format == code) return static_cast<std::size_t>(known);
  return format.empty() ? std::optional<std::size_t>(0) : std::nullopt;
}

void color_element(Xml& xml, const char* tag, host::Color color) {
  xml.start(tag).attr("rgb", "FF" + hex_color(color)).end();
}

std::string font_element(const CellStyle& style, bool minor) {
  std::string element;
  Xml xml(element);
  xml.start("font");
  if (style.bold) xml.empty("b");
  if (style.italic) xml.empty("i");
  xml.val("sz", style.font_size);
  if (style.font_color) {
    color_element(xml, "color", *style.font_color);
  } else {
    xml.start("color").attr("theme", 1).end();
  }
  xml.val("name", style.font_name);
  if (style.font_name == office::kDefaultFont) xml.val("family", 2);
  if (style.font_name == office::kDefaultFont && minor) xml.val("scheme", "minor");
  xml.end();
  return element;
}

std::string fill_element(const CellStyle& style) {
  std::string element;
  Xml xml(element);
  xml.start("fill").start("patternFill").attr("patternType", style.fill ? "solid" : "none");
  if (style.fill) {
    color_element(xml, "fgColor", *style.fill);
    xml.start("bgColor").attr("indexed", 64).end();
  }
  xml.end().end();
  return element;
}

namespace {

// The border style's name; empty: no line.
const char* edge_style(const office::EdgeLine& edge) {
  const bool medium = edge.weight == static_cast<std::int32_t>(host::LineWeight::kMedium) ||
                      edge.weight == static_cast<std::int32_t>(host::LineWeight::kThick);
  switch (static_cast<host::LineStyle>(edge.line_style)) {
    case host::LineStyle::kNone:
      return "";
    case host::LineStyle::kDash:
      return medium ? "mediumDashed" : "dashed";
    case host::LineStyle::kDot:
      return "dotted";
    case host::LineStyle::kContinuous:
      break;
  }
  switch (static_cast<host::LineWeight>(edge.weight)) {
    case host::LineWeight::kHairline:
      return "hair";
    case host::LineWeight::kMedium:
      return "medium";
    case host::LineWeight::kThick:
      return "thick";
    case host::LineWeight::kThin:
      break;
  }
  return "thin";
}

void edge(Xml& xml, const char* tag, const office::EdgeLine& line) {
  xml.start(tag);
  if (const char* style = edge_style(line); *style != '\0') {
    xml.attr("style", style);
    if (line.color) {
      color_element(xml, "color", *line.color);
    } else {
      xml.start("color").attr("auto", true).end();
    }
  }
  xml.end();
}

}  // namespace

std::string border_element(const CellStyle& style) {
  std::string element;
  Xml xml(element);
  xml.start("border");
  edge(xml, "left", style.left);
  edge(xml, "right", style.right);
  edge(xml, "top", style.top);
  edge(xml, "bottom", style.bottom);
  xml.empty("diagonal").end();
  return element;
}

namespace {

const char* horizontal(host::HAlign align) {
  switch (align) {
    case host::HAlign::kLeft:
      return "left";
    case host::HAlign::kCenter:
      return "center";
    case host::HAlign::kRight:
      return "right";
    case host::HAlign::kGeneral:
      break;
  }
  return "";
}

const char* vertical(host::VAlign align) {
  switch (align) {
    case host::VAlign::kTop:
      return "top";
    case host::VAlign::kCenter:
      return "center";
    case host::VAlign::kBottom:
      break;
  }
  return "";
}

void alignment(Xml& xml, const CellStyle& style) {
  const char* across = horizontal(style.horizontal);
  const char* down = vertical(style.vertical);
  if (*across == '\0' && *down == '\0' && !style.wrap && style.indent == 0) return;
  xml.start("alignment");
  if (*across != '\0') xml.attr("horizontal", across);
  if (*down != '\0') xml.attr("vertical", down);
  if (style.wrap) xml.attr("wrapText", true);
  if (style.indent > 0) xml.attr("indent", style.indent);
  xml.end();
}

}  // namespace

std::string cell_format_element(const CellStyle& style, const StyleNumbers& numbers, bool apply_all) {
  std::string element;
  Xml xml(element);
  xml.start("xf").attr("numFmtId", numbers.format).attr("fontId", numbers.font).attr("fillId", numbers.fill);
  xml.attr("borderId", numbers.border).attr("xfId", numbers.base);
  if (apply_all || numbers.format != 0) xml.attr("applyNumberFormat", true);
  if (apply_all || numbers.font != 0) xml.attr("applyFont", true);
  if (apply_all || numbers.fill != 0) xml.attr("applyFill", true);
  if (apply_all || numbers.border != 0) xml.attr("applyBorder", true);
  std::string inner;
  Xml inside(inner);
  alignment(inside, style);
  if (apply_all || !inner.empty()) xml.attr("applyAlignment", true);
  if (apply_all || !style.locked) xml.attr("applyProtection", true);
  if (!style.locked) inside.start("protection").attr("locked", false).end();
  if (!inner.empty()) xml.raw() += inner;
  xml.end();
  return element;
}

}  // namespace ordvane::xlsx
