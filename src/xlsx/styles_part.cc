// xl/styles.xml: fonts, fills, borders and number formats, each once, and a cell format per style.
//
// Cell format N is style N of the workbook's table.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "xlsx/parts.h"
#include "xlsx/style_elements.h"

namespace ordvane::xlsx {
namespace {

using office::CellStyle;

constexpr std::size_t kFirstOwnFormat = 164;

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
    if (const auto known = known_format(format)) return *known;
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
  fills.number(fill_element({}));  // the first two are fixed
  fills.number("<fill><patternFill patternType=\"gray125\"/></fill>");
  std::string cell_formats;
  for (std::size_t i = 0; i < styles.size(); ++i) {
    const CellStyle& style = styles.at(static_cast<office::StyleId>(i));
    cell_formats +=
        cell_format_element(style,
                            {formats.number(style.number_format), fonts.number(font_element(style, true)),
                             fills.number(fill_element(style)), borders.number(border_element(style))},
                            false);
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
