// Writes well-formed XML into a string: elements, attributes, escaped text, numbers.
//
// Text comes as UTF-8; bytes that are none become U+FFFD, so that what is written always parses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "host/excel.h"

namespace ordvane::xlsx {

enum class Escape {
  kPlain,    // characters that XML cannot hold become a space
  kXstring,  // they become _xHHHH_, as the spreadsheet's string type has it
};

void append_escaped(std::string& out, std::string_view text, Escape escape = Escape::kPlain);
// Shortest decimal that reads back as the same double. The value must be finite.
void append_number(std::string& out, double value);
void append_number(std::string& out, std::int64_t value);
std::string hex_color(host::Color color);  // "RRGGBB"

// Elements are opened and closed in pairs; attributes follow the start of their element.
class Xml {
 public:
  explicit Xml(std::string& out) : out_(out) {}

  Xml& declaration();
  Xml& start(const char* tag);
  Xml& end();
  Xml& empty(const char* tag) { return start(tag).end(); }

  Xml& attr(const char* name, std::string_view value, Escape escape = Escape::kPlain);
  Xml& attr(const char* name, const char* value) { return attr(name, std::string_view(value)); }
  template <class Number>
  requires std::is_arithmetic_v<Number> Xml& attr(const char* name, Number value) {
    begin_attribute(name);
    number(value);
    out_ += '"';
    return *this;
  }

  Xml& text(std::string_view text, Escape escape = Escape::kPlain);
  template <class Number>
  requires std::is_arithmetic_v<Number> Xml& text(Number value) {
    finish_start();
    number(value);
    return *this;
  }

  // <tag val="value"/>
  template <class Value>
  Xml& val(const char* tag, const Value& value) {
    return start(tag).attr("val", value).end();
  }
  // <tag>value</tag>
  template <class Value>
  Xml& leaf(const char* tag, const Value& value) {
    return start(tag).text(value).end();
  }

  // What is being written to, with every start tag complete.
  std::string& raw() {
    finish_start();
    return out_;
  }

 private:
  void begin_attribute(const char* name);
  void finish_start() {
    if (open_) out_ += '>';
    open_ = false;
  }
  template <class Number>
  void number(Number value) {
    if constexpr (std::is_same_v<Number, bool>) {
      out_ += value ? '1' : '0';
    } else if constexpr (std::is_floating_point_v<Number>) {
      append_number(out_, static_cast<double>(value));
    } else {
      append_number(out_, static_cast<std::int64_t>(value));
    }
  }

  std::string& out_;
  std::vector<const char*> tags_;
  bool open_ = false;
};

}  // namespace ordvane::xlsx
