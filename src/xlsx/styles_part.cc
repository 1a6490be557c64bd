// xl/styles.xml: fonts, fills, borders and number formats, each once, and a cell format per style.
//
// Cell format N is style N of the workbook's table.
#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

using office::CellStyle;

constexpr std::size_t kFirstOwnFormat = 164;

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

// Elements of one kind, each different one once, numbered from 0 in the order of first use.
class Elements {
 public:
  std::size_t number(const std::string& element) {
    const auto [found, added] = numbers_.emplace(element, order_.size());
    if (added) order_.push_back(&found->first);
    return found->second;
  }
  void write(Xml& xml, const char* tag) const {
    xml.start(tag).attr("count", order_.size());
    for (const std::string* element : order_) xml.raw() += *element;
    xml.end();
  }

 private:
  std::map<std::string, std::size_t> numbers_;
  std::vector<const std::string*> order_;
};

class NumberFormats {
 public:
  std::size_t number(const std::string& format) {
    for (const auto& [code, known] : kKnownFormats)
      if (format == code) return static_cast<std::size_t>(known);
    if (format.empty()) return 0;
    const auto [found, added] = numbers_.emplace(format, kFirstOwnFormat + order_.size());
    if (added) order_.push_back(&found->first);
    return found->second;
  }
  void write(Xml& xml) const {
    if (order_.empty()) return;
    xml.start("numFmts").attr("count", order_.size());
    for (std::size_t i = 0; i < order_.size(); ++i)
      xml.start("numFmt")
          .attr("numFmtId", kFirstOwnFormat + i)
          .attr("formatCode", *order_[i], Escape::kXstring)
          .end();
    xml.end();
  }

 private:
  std::map<std::string, std::size_t> numbers_;
  std::vector<const std::string*> order_;
};

void opaque_color(Xml& xml, const char* tag, host::Color color) {
  xml.start(tag).attr("rgb", "FF" + hex_color(color)).end();
}

std::string font(const CellStyle& style) {
  std::string element;
  Xml xml(element);
  xml.start("font");
  if (style.bold) xml.empty("b");
  if (style.italic) xml.empty("i");
  xml.val("sz", style.font_size);
  if (style.font_color) {
    opaque_color(xml, "color", *style.font_color);
  } else {
    xml.start("color").attr("theme", 1).end();
  }
  xml.val("name", style.font_name);
  if (style.font_name == office::kDefaultFont) xml.val("family", 2).val("scheme", "minor");
  xml.end();
  return element;
}

std::string pattern(const char* type, const std::optional<host::Color>& color) {
  std::string element;
  Xml xml(element);
  xml.start("fill").start("patternFill").attr("patternType", type);
  if (color) {
    opaque_color(xml, "fgColor", *color);
    xml.start("bgColor").attr("indexed", 64).end();
  }
  xml.end().end();
  return element;
}

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
      opaque_color(xml, "color", *line.color);
    } else {
      xml.start("color").attr("auto", true).end();
    }
  }
  xml.end();
}

std::string border(const CellStyle& style) {
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

struct Numbers {
  std::size_t format, font, fill, border;
};

void cell_format(Xml& xml, const CellStyle& style, const Numbers& numbers) {
  xml.start("xf").attr("numFmtId", numbers.format).attr("fontId", numbers.font).attr("fillId", numbers.fill);
  xml.attr("borderId", numbers.border).attr("xfId", 0);
  if (numbers.format != 0) xml.attr("applyNumberFormat", true);
  if (numbers.font != 0) xml.attr("applyFont", true);
  if (numbers.fill != 0) xml.attr("applyFill", true);
  if (numbers.border != 0) xml.attr("applyBorder", true);
  std::string inner;
  Xml inside(inner);
  alignment(inside, style);
  if (!inner.empty()) xml.attr("applyAlignment", true);
  if (!style.locked) {
    xml.attr("applyProtection", true);
    inside.start("protection").attr("locked", false).end();
  }
  if (!inner.empty()) xml.raw() += inner;
  xml.end();
}

void base_styles(Xml& xml) {
  xml.start("cellStyleXfs").attr("count", 1);
  xml.start("xf").attr("numFmtId", 0).attr("fontId", 0).attr("fillId", 0).attr("borderId", 0).end().end();
}

void named_styles(Xml& xml) {
  xml.start("cellStyles").attr("count", 1);
  xml.start("cellStyle").attr("name", "Normal").attr("xfId", 0).attr("builtinId", 0).end().end();
  xml.start("dxfs").attr("count", 0).end();
}

}  // namespace

std::string styles_part(const office::StyleTable& styles) {
  NumberFormats formats;
  Elements fonts, fills, borders;
  fills.number(pattern("none", {}));  // the first two are fixed
  fills.number(pattern("gray125", {}));
  std::string cell_formats;
  Xml cells(cell_formats);
  for (std::size_t i = 0; i < styles.size(); ++i) {
    const CellStyle& style = styles.at(static_cast<office::StyleId>(i));
    const std::size_t fill = style.fill ? fills.number(pattern("solid", style.fill)) : 0;
    cell_format(cells, style,
                {formats.number(style.number_format), fonts.number(font(style)), fill,
                 borders.number(border(style))});
  }
  std::string part;
  Xml xml(part);
  xml.declaration().start("styleSheet").attr("xmlns", kMainSpace);
  formats.write(xml);
  fonts.write(xml, "fonts");
  fills.write(xml, "fills");
  borders.write(xml, "borders");
  base_styles(xml);
  xml.start("cellXfs").attr("count", styles.size());
  xml.raw() += cell_formats;
  xml.end();
  named_styles(xml);
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
