#include "xlsx/graft_styles.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <stdexcept>

#include "office/office.h"
#include "xlsx/parts.h"
#include "xlsx/style_elements.h"

namespace ordvane::xlsx {
namespace {

constexpr std::size_t kMostFormats = 65430;  // cell formats that the spreadsheet takes
constexpr std::size_t kFirstOwnFormat = 164;

std::size_t number_of(const std::string& text) {
  std::size_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// One list of a styles part: what it holds, and what is added behind it.
class StyleList {
 public:
  StyleList(const XmlText& styles, const char* name) : list_(styles.child(styles.root(), name)), name_(name) {
    if (list_ == nullptr || list_->is_empty_tag())
      throw BadPackage(std::string("its styles have no ") + name);
    for (const std::size_t child : list_->children)
      numbers_.emplace(std::string(styles.source(styles.elements()[child])), count_++);
  }
  std::size_t number(const std::string& element) {
    const std::string source = beside(*list_, element);
    const auto [found, is_new] = numbers_.emplace(source, count_);
    if (!is_new) return found->second;
    if (++count_ > kMostFormats) throw BadPackage(std::string("its styles are full: ") + name_);
    added_ += source;
    return found->second;
  }
  void apply(XmlEdits& edits) const {
    if (added_.empty()) return;
    edits.append(*list_, added_);
    edits.set_attribute(*list_, "count", std::to_string(count_));
  }

 private:
  const XmlElement* list_;
  const char* name_;
  std::map<std::string, std::size_t> numbers_;
  std::size_t count_ = 0;
  std::string added_;
};

class FormatList {
 public:
  explicit FormatList(const XmlText& styles) : root_(styles.root()), list_(styles.child(root_, "numFmts")) {
    if (list_ == nullptr) return;
    for (const XmlElement* format : styles.children(*list_, "numFmt")) {
      const std::size_t id = number_of(format->attribute("numFmtId"));
      numbers_.emplace(format->attribute("formatCode"), id);
      last_ = std::max(last_, id);
      ++count_;
    }
  }
  std::size_t number(const std::string& format) {
    if (const auto known = known_format(format)) return *known;
    std::string element;
    Xml(element)
        .start("numFmt")
        .attr("numFmtId", last_ + 1)
        .attr("formatCode", format, Escape::kXstring)
        .end();
    const auto [found, is_new] = numbers_.emplace(format, last_ + 1);
    if (is_new) {
      ++last_;
      ++count_;
      added_ += list_ != nullptr ? beside(*list_, element) : element;
    }
    return found->second;
  }
  void apply(XmlEdits& edits) const {
    if (added_.empty()) return;
    if (list_ == nullptr) {
      std::string list = "<numFmts count=\"" + std::to_string(count_) + "\">" + added_ + "</numFmts>";
      edits.prepend(root_, beside(root_, std::move(list)));
      return;
    }
    edits.append(*list_, added_);
    edits.set_attribute(*list_, "count", std::to_string(count_));
  }

 private:
  const XmlElement& root_;
  const XmlElement* list_;
  std::map<std::string, std::size_t> numbers_;
  std::size_t last_ = kFirstOwnFormat - 1, count_ = 0;
  std::string added_;
};

// The Normal style's number among the named styles' formats.
std::size_t normal_style(const XmlText& styles) {
  const XmlElement* named = styles.child(styles.root(), "cellStyles");
  if (named == nullptr) return 0;
  for (const XmlElement* style : styles.children(*named, "cellStyle"))
    if (style->attribute("builtinId") == "0") return number_of(style->attribute("xfId"));
  return 0;
}

const XmlElement* element_at(const XmlText& styles, const char* list, const char* name,
                             std::size_t position) {
  const XmlElement* parent = styles.child(styles.root(), list);
  if (parent == nullptr) return nullptr;
  const auto elements = styles.children(*parent, name);
  return position < elements.size() ? elements[position] : nullptr;
}

}  // namespace

GraftedStyles graft_styles(const XmlText& styles, const office::StyleTable& table,
                           const std::vector<bool>& used) {
  StyleList fonts(styles, "fonts"), fills(styles, "fills"), borders(styles, "borders"),
      formats(styles, "cellXfs");
  FormatList number_formats(styles);
  const std::size_t base = normal_style(styles);
  GraftedStyles grafted;
  grafted.formats.resize(table.size());
  for (std::size_t i = 0; i < used.size(); ++i) {
    if (!used[i]) continue;
    const office::CellStyle& style = table.at(static_cast<office::StyleId>(i));
    StyleNumbers numbers;
    numbers.format = number_formats.number(style.number_format);
    numbers.font = fonts.number(font_element(style, false));
    numbers.fill = style.fill ? fills.number(fill_element(style)) : 0;
    numbers.border = borders.number(border_element(style));
    numbers.base = base;
    grafted.formats[i] =
        static_cast<std::uint32_t>(formats.number(cell_format_element(style, numbers, true)));
  }
  XmlEdits edits(styles);
  number_formats.apply(edits);
  for (const StyleList* list : {&fonts, &fills, &borders, &formats}) list->apply(edits);
  grafted.part = edits.result();
  return grafted;
}

double default_digit_pixels(const XmlText& styles) {
  const XmlElement* format = element_at(styles, "cellStyleXfs", "xf", normal_style(styles));
  const XmlElement* font = element_at(
      styles, "fonts", "font", format != nullptr ? number_of(format->attribute("fontId")) : std::size_t{0});
  if (font == nullptr) return kDigitPixels;
  const XmlElement* name = styles.child(*font, "name");
  const XmlElement* size = styles.child(*font, "sz");
  double points = office::kDefaultFontSize;
  if (size != nullptr) {
    const std::string& text = size->attribute("val");
    std::from_chars(text.data(), text.data() + text.size(), points);
  }
  const double width =
      office::text_width("0", name != nullptr ? name->attribute("val") : office::kDefaultFont, points, false);
  return std::clamp(std::round(width / 0.75), 3.0, 60.0);
}

}  // namespace ordvane::xlsx
