#include "xlsx/xml_text.h"

#include <algorithm>
#include <charconv>
#include <set>
#include <utility>

#include "xlsx/xml.h"
#include "xlsx/xml_parser.h"

namespace ordvane::xlsx {
namespace {

constexpr char kSeparator = '\n';  // between the parts of a name; no namespace has line breaks
constexpr std::size_t kLongest = 1U << 30;

constexpr std::size_t kAlwaysGranted = std::size_t{48} << 20;  // bytes of elements, whatever the text
constexpr std::size_t kOfANode = 64;                           // what a name takes beside its letters, about

struct Name {
  std::string_view space, name, prefix;
};

Name split(std::string_view whole) {
  const std::size_t first = whole.find(kSeparator);
  if (first == whole.npos) return {"", whole, ""};
  const std::size_t second = whole.find(kSeparator, first + 1);
  const std::string_view prefix = second == whole.npos ? "" : whole.substr(second + 1);
  return {whole.substr(0, first), whole.substr(first + 1, second - first - 1), prefix};
}

struct Kept {
  std::set<std::string, std::less<>>& names;
  std::deque<XmlElement>& elements;
};

// Writes down where elements begin and end.
class Reader : public XmlParser {
 public:
  Reader(const std::string& text, int depth, Kept kept)
      : XmlParser(kSeparator, Encodings::kUtf8), text_(text), depth_(depth), kept_(kept) {}

  void read() {
    if (text_.size() > kLongest) throw BadPackage("it is longer than 1 GiB");
    parse(text_);
  }

 private:
  std::string_view kept(std::string_view name) {
    auto place = kept_.names.find(name);
    if (place == kept_.names.end()) {
      place = kept_.names.emplace(name).first;
      taken_ += kOfANode + name.size();
    }
    return *place;
  }

  // What the elements take together is bounded by what their text takes.
  void count(const XmlElement& element) {
    taken_ += sizeof element + 2 * sizeof(std::size_t) + element.attributes.size() * sizeof(XmlAttribute);
    for (const XmlAttribute& attribute : element.attributes) taken_ += attribute.value.size();
    if (taken_ > kAlwaysGranted + 2 * text_.size()) stop("more elements than a part of its length may have");
  }

  void on_start(const char* name, const char** attributes) override {
    if (++open_ > depth_) return;
    const Name parts = split(name);
    XmlElement element;
    element.space = kept(parts.space);
    element.name = kept(parts.name);
    if (!parts.prefix.empty()) element.prefix = std::string(parts.prefix) + ":";
    element.begin = place();
    element.inner_begin = place() + length();
    std::size_t count_of_attributes = 0;
    while (attributes[2 * count_of_attributes] != nullptr) ++count_of_attributes;
    element.attributes.reserve(count_of_attributes);
    for (; *attributes != nullptr; attributes += 2) {
      const Name attribute = split(attributes[0]);
      element.attributes.push_back({kept(attribute.space), kept(attribute.name), attributes[1]});
    }
    count(element);
    if (!path_.empty()) kept_.elements[path_.back()].children.push_back(kept_.elements.size());
    path_.push_back(kept_.elements.size());
    kept_.elements.push_back(std::move(element));
  }

  void on_text(std::string_view piece) override {
    if (open_ <= depth_ && !path_.empty()) kept_.elements[path_.back()].text += piece;
  }

  void on_end(const char*) override {
    if (open_-- > depth_) return;
    XmlElement& element = kept_.elements[path_.back()];
    path_.pop_back();
    const bool empty = text_[element.inner_begin - 2] == '/';
    element.inner_end = empty ? element.inner_begin : place();
    element.end = empty ? element.inner_begin : place() + length();
  }

  const std::string& text_;
  const int depth_;
  Kept kept_;
  std::vector<std::size_t> path_;  // of the open elements
  int open_ = 0;
  std::size_t taken_ = 0;  // bytes
};

// Where the value of an attribute stands in a start tag, without its quotes; nothing when it is not there.
// The tag is known to be well-formed.
std::pair<std::size_t, std::size_t> find_value(std::string_view tag, std::string_view name) {
  constexpr std::string_view kBlanks = " \t\r\n";
  std::size_t at = tag.find_first_of(" \t\r\n/>");
  while (true) {
    at = tag.find_first_not_of(kBlanks, at);
    if (at == tag.npos || tag[at] == '/' || tag[at] == '>') return {tag.npos, tag.npos};
    const std::size_t end = tag.find_first_of(" \t\r\n=", at);
    const std::size_t quote = tag.find_first_of("\"'", end);
    const std::size_t closing = tag.find(tag[quote], quote + 1);
    if (tag.substr(at, end - at) == name) return {quote + 1, closing};
    at = closing + 1;
  }
}

}  // namespace

std::size_t number_of(std::string_view text) {
  std::size_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

const std::string& XmlElement::attribute(std::string_view wanted, std::string_view wanted_space) const {
  static const std::string kNone;
  for (const XmlAttribute& a : attributes)
    if (a.name == wanted && a.space == wanted_space) return a.value;
  return kNone;
}

bool XmlElement::has_attribute(std::string_view wanted) const {
  return std::any_of(attributes.begin(), attributes.end(),
                     [&](const XmlAttribute& a) { return a.space.empty() && a.name == wanted; });
}

XmlText::XmlText(std::string text, int depth) : text_(std::move(text)) {
  Reader(text_, depth, {names_, elements_}).read();
}

const XmlElement* XmlText::child(const XmlElement& parent, std::string_view name) const {
  for (const std::size_t position : parent.children)
    if (elements_[position].name == name && elements_[position].space == parent.space)
      return &elements_[position];
  return nullptr;
}

std::vector<const XmlElement*> XmlText::children(const XmlElement& parent, std::string_view name) const {
  std::vector<const XmlElement*> found;
  for (const std::size_t position : parent.children)
    if (elements_[position].name == name && elements_[position].space == parent.space)
      found.push_back(&elements_[position]);
  return found;
}

std::string beside(const XmlElement& element, std::string xml) {
  if (element.prefix.empty()) return xml;
  return xml.insert(xml.find_first_of(" />"), " xmlns=\"" + std::string(element.space) + "\"");
}

// The start tag as it is to be, with what is appended to an element that held nothing.
XmlEdits::Change XmlEdits::start_tag(const XmlElement& element) const {
  std::string tag = xml_.text().substr(element.begin, element.inner_begin - element.begin);
  if (const auto set = attributes_.find(&element); set != attributes_.end()) {
    for (const auto& [name, value] : set->second) {
      std::string escaped;
      append_escaped(escaped, value);
      if (const auto [begin, end] = find_value(tag, name); begin != tag.npos)
        tag.replace(begin, end - begin, escaped);
      else
        tag.insert(tag.size() - (element.is_empty_tag() ? 2 : 1), " " + name + "=\"" + escaped + "\"");
    }
  }
  if (const auto added = appended_.find(&element); added != appended_.end() && element.is_empty_tag()) {
    tag.erase(tag.size() - 2, 1);
    tag.append(added->second).append("</").append(element.prefix).append(element.name).append(">");
  }
  return {element.begin, element.inner_begin, std::move(tag)};
}

std::string XmlEdits::result() const {
  std::vector<Change> changes;
  std::set<const XmlElement*> tags;
  for (const auto& [element, values] : attributes_) tags.insert(element);
  for (const auto& [element, text] : appended_) {
    if (element->is_empty_tag())
      tags.insert(element);
    else
      changes.push_back({element->inner_end, element->inner_end, text});
  }
  for (const XmlElement* element : tags) changes.push_back(start_tag(*element));
  for (const auto& [place, text] : inserted_) changes.push_back({place, place, text});
  for (const auto& [begin, end] : removed_) changes.push_back({begin, end, ""});
  std::stable_sort(changes.begin(), changes.end(),
                   [](const Change& a, const Change& b) { return a.begin < b.begin; });
  std::string result;
  std::size_t at = 0;
  for (const Change& change : changes) {
    if (change.begin < at) continue;  // inside of what is removed
    result.append(xml_.text(), at, change.begin - at);
    result += change.text;
    at = change.end;
  }
  return result.append(xml_.text(), at);
}

}  // namespace ordvane::xlsx
