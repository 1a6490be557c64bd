#include "xlsx/xml.h"

#include <array>
#include <charconv>

namespace ordvane::xlsx {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// The character that starts at `at`, which moves behind it.
char32_t next_character(std::string_view text, std::size_t& at) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  const std::size_t size = lead < 0x80   ? 1
                           : lead < 0xC2 ? 0
                           : lead < 0xE0 ? 2
                           : lead < 0xF0 ? 3
                           : lead < 0xF5 ? 4
                                         : 0;
  if (size == 1) return static_cast<char32_t>(text[at++]);
  const std::size_t start = at++;
  if (size == 0 || start + size > text.size()) return kReplacement;
  char32_t code = lead & (0xFFU >> (size + 1));
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(start + i) & 0xC0U) != 0x80U) return kReplacement;
    code = code << 6U | (byte(start + i) & 0x3FU);
  }
  const bool overlong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  if (overlong || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) return kReplacement;
  at = start + size;
  return code;
}

void append_hex_escape(std::string& out, char32_t code) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  out += "_x";
  for (const unsigned shift : {12U, 8U, 4U, 0U}) out += kDigits[code >> shift & 15U];
  out += '_';
}

bool is_hex_digit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// A text that reads like an escape: "_x0041_".
bool looks_escaped(std::string_view text) {
  return text.size() >= 7 && text[1] == 'x' && is_hex_digit(text[2]) && is_hex_digit(text[3]) &&
         is_hex_digit(text[4]) && is_hex_digit(text[5]) && text[6] == '_';
}

// Bytes that go out as they are, whatever the escape.
bool is_ordinary(char c) {
  return c >= 0x20 && c != '&' && c != '<' && c != '>' && c != '"' && c != '_';
}

void append_special(std::string& out, char32_t code, Escape escape) {
  const bool unwritable = (code < 0x20 && code != '\t' && code != '\n') || code == 0xFFFE || code == 0xFFFF;
  if (unwritable && escape == Escape::kXstring) return append_hex_escape(out, code);
  if (unwritable) {
    out += ' ';
    return;
  }
  switch (code) {
    case '&':
      out += "&amp;";
      break;
    case '<':
      out += "&lt;";
      break;
    case '>':
      out += "&gt;";
      break;
    case '"':
      out += "&quot;";
      break;
    default:
      out += static_cast<char>(code);
  }
}

void append_utf8(std::string& out, std::string_view text, std::size_t start, std::size_t end, char32_t code) {
  if (code == kReplacement) {
    out += "\xEF\xBF\xBD";
  } else {
    out += text.substr(start, end - start);
  }
}

}  // namespace

void append_escaped(std::string& out, std::string_view text, Escape escape) {
  for (std::size_t at = 0; at < text.size();) {
    std::size_t run = at;
    while (run < text.size() && is_ordinary(text[run])) ++run;
    out += text.substr(at, run - at);
    if (run == text.size()) return;
    at = run;
    if (escape == Escape::kXstring && text[at] == '_' && looks_escaped(text.substr(at))) {
      append_hex_escape(out, '_');
      ++at;
      continue;
    }
    const char32_t code = next_character(text, at);
    if (code < 0x80 || code == 0xFFFE || code == 0xFFFF) {
      append_special(out, code, escape);
    } else {
      append_utf8(out, text, run, at, code);
    }
  }
}

void append_number(std::string& out, double value) {
  std::array<char, 32> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  out.append(digits.data(), result.ptr);
}

void append_number(std::string& out, std::int64_t value) {
  std::array<char, 24> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  out.append(digits.data(), result.ptr);
}

std::string hex_color(host::Color color) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const unsigned shift : {4U, 0U, 12U, 8U, 20U, 16U})
    text += kDigits[static_cast<std::uint32_t>(color) >> shift & 15U];
  return text;
}

Xml& Xml::declaration() {
  out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
  return *this;
}

Xml& Xml::start(const char* tag) {
  finish_start();
  out_ += '<';
  out_ += tag;
  tags_.push_back(tag);
  open_ = true;
  return *this;
}

Xml& Xml::end() {
  if (open_) {
    out_ += "/>";
    open_ = false;
  } else {
    out_ += "</";
    out_ += tags_.back();
    out_ += '>';
  }
  tags_.pop_back();
  return *this;
}

void Xml::begin_attribute(const char* name) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
}

Xml& Xml::attr(const char* name, std::string_view value, Escape escape) {
  begin_attribute(name);
  std::string escaped;
  append_escaped(escaped, value, escape);
  for (const char c : escaped) {  // a parser would turn these into spaces
    if (c == '\n') {
      out_ += "&#10;";
    } else if (c == '\t') {
      out_ += "&#9;";
    } else {
      out_ += c;
    }
  }
  out_ += '"';
  return *this;
}

Xml& Xml::text(std::string_view text, Escape escape) {
  finish_start();
  append_escaped(out_, text, escape);
  return *this;
}

}  // namespace ordvane::xlsx
