// Writes the elements of a page. What is text is escaped; bytes that are no UTF-8 become U+FFFD.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "xlsx/xml.h"

namespace ordvane::page {

class Html {
 public:
  using Attributes = std::initializer_list<std::pair<const char*, std::string_view>>;

  // An element that more follows in; it is closed by end().
  Html& open(const char* tag, const Attributes& attributes = {}) {
    xml_.start(tag);
    for (const auto& [name, value] : attributes) xml_.attr(name, value);
    xml_.text("");  // no element that has an end tag may be written without it
    return *this;
  }
  Html& end() {
    xml_.end();
    return *this;
  }
  Html& text(std::string_view text) {
    xml_.text(text);
    return *this;
  }
  // An element with a text.
  Html& leaf(const char* tag, std::string_view text, const Attributes& attributes = {}) {
    return open(tag, attributes).text(text).end();
  }
  // A cell of a table, without the end tag that HTML lets go: pages have thousands of them.
  Html& cell(std::string_view text) { return raw("<td>").text(text); }
  // One of those that have no end tag.
  Html& single(const char* tag, const Attributes& attributes) {
    xml_.start(tag);
    for (const auto& [name, value] : attributes) xml_.attr(name, value);
    xml_.end();
    return *this;
  }
  // What is HTML already.
  Html& raw(std::string_view html) {
    xml_.raw() += html;
    return *this;
  }
  std::string take() { return std::move(out_); }

 private:
  std::string out_;
  xlsx::Xml xml_{out_};
};

}  // namespace ordvane::page
