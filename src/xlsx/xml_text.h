// XML that stays as it is written: where its elements stand in the text, and changes to that text which leave
// every other byte alone.
#pragma once

#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "xlsx/archive.h"

namespace ordvane::xlsx {

// The number that an attribute holds; 0 for none.
std::size_t number_of(std::string_view text);

// Names and namespaces are kept once, by the text that they stand in.
struct XmlAttribute {
  std::string_view space, name;  // namespace; empty for attributes without a prefix
  std::string value;
};

struct XmlElement {
  std::string_view space, name;
  std::string prefix;              // as written, with its colon; empty for none
  std::size_t begin = 0, end = 0;  // from "<" to behind the end tag
  std::size_t inner_begin = 0, inner_end = 0;
  std::vector<XmlAttribute> attributes;
  std::string text;                   // between its children, character references resolved
  std::vector<std::size_t> children;  // positions in XmlText::elements()

  bool is_empty_tag() const { return inner_begin == end; }  // <a/>
  // Of an attribute without a prefix, unless a namespace is given; empty when it is not there.
  const std::string& attribute(std::string_view name, std::string_view space = {}) const;
  bool has_attribute(std::string_view name) const;
};

// UTF-8 text. Throws BadPackage with the line for what is not well-formed, for other encodings, for document
// type definitions, which no workbook has, for elements within more than 256 others, and for a text whose
// elements take more than 48 MiB and twice the memory of the text.
class XmlText {
 public:
  // Elements deeper than `depth` (1: the root) are passed over.
  explicit XmlText(std::string text, int depth = std::numeric_limits<int>::max());
  XmlText(const XmlText&) = delete;
  XmlText& operator=(const XmlText&) = delete;

  const std::string& text() const { return text_; }
  const std::deque<XmlElement>& elements() const { return elements_; }
  const XmlElement& root() const { return elements_.front(); }
  // In the parent's namespace. Null when there is none.
  const XmlElement* child(const XmlElement& parent, std::string_view name) const;
  std::vector<const XmlElement*> children(const XmlElement& parent, std::string_view name) const;
  std::string_view source(const XmlElement& element) const {
    return std::string_view(text_).substr(element.begin, element.end - element.begin);
  }

 private:
  std::string text_;
  std::set<std::string, std::less<>> names_;
  std::deque<XmlElement> elements_;
};

// A piece of XML without prefixes, for use beside or in an element: in the element's namespace.
std::string beside(const XmlElement& element, std::string xml);

// Changes to one text, made all at once at the end. Elements are those of the text.
class XmlEdits {
 public:
  explicit XmlEdits(const XmlText& xml) : xml_(xml) {}
  // Behind what the element holds.
  void append(const XmlElement& element, const std::string& xml) { appended_[&element] += xml; }
  // Before what the element holds; it must not be an empty tag.
  void prepend(const XmlElement& element, const std::string& xml) { inserted_[element.inner_begin] += xml; }
  void insert_after(const XmlElement& element, const std::string& xml) { inserted_[element.end] += xml; }
  // Of an element that holds text only.
  void replace_text(const XmlElement& element, const std::string& text) {
    removed_[element.inner_begin] = element.inner_end;
    inserted_[element.inner_begin] = text;
  }
  void remove(const XmlElement& element) { removed_[element.begin] = element.end; }
  // An attribute without a prefix; `value` is plain text.
  void set_attribute(const XmlElement& element, const std::string& name, const std::string& value) {
    attributes_[&element][name] = value;
  }
  bool is_empty() const {
    return appended_.empty() && inserted_.empty() && removed_.empty() && attributes_.empty();
  }
  std::string result() const;

 private:
  struct Change {
    std::size_t begin, end;
    std::string text;
  };
  Change start_tag(const XmlElement& element) const;

  const XmlText& xml_;
  std::map<const XmlElement*, std::string> appended_;
  std::map<std::size_t, std::string> inserted_;
  std::map<std::size_t, std::size_t> removed_;
  std::map<const XmlElement*, std::map<std::string, std::string>> attributes_;
};

}  // namespace ordvane::xlsx
