#include "xlsx/xml.h"

#include <array>
#include <charconv>

#include "text/utf8.h"

namespace ordvane::xlsx {
namespace {

constexpr const char* kReplacement = "\uFFFD";  // for bytes that are no UTF-8

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

void replace_from(std::string& text, std::size_t begin, char character, std::string_view by) {
  for (std::size_t at = text.find(character, begin); at != std::string::npos;
       at = text.find(character, at + by.size()))
    text.replace(at, 1, by);
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
    const text::CodePoint character = text::code_point_at(text, at);
    if (!character.valid)
      out += kReplacement;
    else if (character.code < 0x80 || character.code == 0xFFFE || character.code == 0xFFFF)
      append_special(out, character.code, escape);
    else
      out += text.substr(at, character.bytes);
    at += character.bytes;
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
  const std::size_t begin = out_.size();
  append_escaped(out_, value, escape);
  // A parser would turn these into spaces.
  replace_from(out_, begin, '\n', "&#10;");
  replace_from(out_, begin, '\t', "&#9;");
  out_ += '"';
  return *this;
}

Xml& Xml::text(std::string_view text, Escape escape) {
  finish_start();
  append_escaped(out_, text, escape);
  return *this;
}

}  // namespace ordvane::xlsx
