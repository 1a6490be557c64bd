#include "text/json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "text/utf8.h"

namespace ordvane::text {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// With a point or an exponent, by which readers know that it need not be whole.
void append_number(std::string& text, double number) {
  constexpr int kLowest = -4, kHighest = 15;  // places of the point without an exponent
  if (!std::isfinite(number)) {
    text += "null";
    return;
  }
  std::array<char, 32> written;
  const char* const end =
      std::to_chars(written.data(), written.data() + written.size(), number, std::chars_format::scientific)
          .ptr;
  std::string_view digits(written.data(), end);  // "-1.25e-07"
  const std::size_t mark = digits.find('e');
  int point = 0;
  std::from_chars(digits.data() + mark + (digits[mark + 1] == '+' ? 2 : 1), end, point);
  ++point;
  if (number != 0 && (point <= kLowest || point > kHighest)) {
    text += digits;
    return;
  }
  if (digits.front() == '-') text += '-';
  std::string plain;
  for (const char letter : digits.substr(0, mark))
    if (letter >= '0' && letter <= '9') plain += letter;
  if (point <= 0) plain.insert(0, static_cast<std::size_t>(1 - point), '0'), point = 1;
  const auto whole = static_cast<std::size_t>(point);
  plain.resize(std::max(plain.size(), whole + 1), '0');
  text.append(plain, 0, whole).append(1, '.').append(plain, whole);
}

void append_text(std::string& text, std::string_view value) {
  constexpr std::string_view kEscaped = "\"\\\b\f\n\r\t";
  constexpr std::string_view kEscapes = "\"\\bfnrt";
  constexpr std::string_view kHex = "0123456789abcdef";
  text += '"';
  for_each_character(value, [&](const CodePoint& character, std::string_view bytes) {
    const std::size_t escape = bytes.size() == 1 ? kEscaped.find(bytes.front()) : kEscaped.npos;
    if (escape != kEscaped.npos)
      text.append(1, '\\').append(1, kEscapes[escape]);
    else if (character.code < 0x20)
      text.append("\\u00").append(1, kHex[character.code >> 4U]).append(1, kHex[character.code & 15U]);
    else
      text += character.valid ? bytes : kReplacement;
  });
  text += '"';
}

void append_line(std::string& text, int indent, std::size_t before) {
  if (indent >= 0) text.append(1, '\n').append(before, ' ');
}

[[noreturn]] void mismatch(const std::string& problem) {
  throw Json::Mismatch(problem);
}

}  // namespace

Json::Json(std::initializer_list<JsonPiece> pieces) {
  const bool is_fields =
      pieces.size() > 0 && std::all_of(pieces.begin(), pieces.end(), [](const JsonPiece& piece) {
        return piece.value_.is_array() && piece.value_.size() == 2 && piece.value_.front().is_string();
      });
  *this = is_fields ? object() : array();
  for (const JsonPiece& piece : pieces) {
    Json& value = piece.value_;
    if (is_fields)
      add(value.front().string(), std::move(value[1]));
    else
      push_back(std::move(value));
  }
}

Json::Json(const Json& other) {
  std::visit(
      [this]<class T>(const T& value) {
        if constexpr (std::is_copy_constructible_v<T>)
          value_ = value;
        else
          value_ = std::make_unique<typename T::element_type>(*value);
      },
      other.value_);
}

Json Json::object() {
  Json json;
  json.value_ = std::make_unique<Object>();
  return json;
}

bool Json::boolean() const {
  if (const bool* const value = std::get_if<bool>(&value_)) return *value;
  mismatch("true or false is expected");
}

std::int64_t Json::integer() const {
  if (const std::int64_t* const value = std::get_if<std::int64_t>(&value_)) return *value;
  mismatch("a whole number is expected");
}

double Json::number() const {
  if (const double* const value = std::get_if<double>(&value_)) return *value;
  if (const std::int64_t* const value = std::get_if<std::int64_t>(&value_))
    return static_cast<double>(*value);
  mismatch("a number is expected");
}

const std::string& Json::string() const {
  if (!is_string()) mismatch("a text is expected");
  return *std::get<Owned<std::string>>(value_);
}

std::size_t Json::size() const {
  return is_array() ? elements().size() : items().size();
}

const Json::Object& Json::items() const {
  static const Object kNone;
  return is_object() ? *std::get<Owned<Object>>(value_) : kNone;
}

const Json* Json::find(std::string_view field) const {
  for (const auto& [name, value] : items())
    if (name == field) return &value;
  return nullptr;
}

const Json& Json::at(std::string_view field) const {
  if (const Json* const value = find(field)) return *value;
  mismatch("the field \"" + std::string(field) + "\" is missing");
}

Json::Object& Json::fields() {
  if (is_null()) *this = object();
  if (!is_object()) mismatch("an object is expected");
  return *std::get<Owned<Object>>(value_);
}

Json& Json::operator[](std::string_view field) {
  if (Json* const value = find(field)) return *value;
  return add(std::string(field), {});
}

Json& Json::add(std::string field, Json value) {
  return fields().emplace_back(std::move(field), std::move(value)).second;
}

Json& Json::push_back(Json value) {
  if (is_null()) *this = array();
  if (!is_array()) mismatch("an array is expected");
  return std::get<Owned<Array>>(value_)->emplace_back(std::move(value));
}

void Json::update(Json other) {
  for (auto& [name, value] : other.fields()) (*this)[name] = std::move(value);
}

bool Json::operator==(const Json& other) const {
  if (is_number() && other.is_number()) {
    const bool whole = !is_number_float() && !other.is_number_float();
    return whole ? integer() == other.integer() : number() == other.number();
  }
  if (value_.index() != other.value_.index()) return false;
  if (is_string()) return string() == other.string();
  if (is_array()) return elements() == other.elements();
  if (is_object()) return items() == other.items();
  return !is_boolean() || boolean() == other.boolean();
}

std::string Json::dump(int indent) const {
  std::string text;
  append_to(text, indent, 0);
  return text;
}

void Json::append_to(std::string& text, int indent, std::size_t before) const {
  if (is_null()) text += "null";
  if (is_boolean()) text += boolean() ? "true" : "false";
  if (is_number_float()) return append_number(text, number());
  if (is_number()) text += std::to_string(integer());
  if (is_string()) append_text(text, string());
  if (!is_array() && !is_object()) return;
  const std::size_t inside = before + (indent > 0 ? static_cast<std::size_t>(indent) : 0);
  bool first = true;
  const auto begin_one = [&] {
    if (!first) text += ',';
    append_line(text, indent, inside);
    first = false;
  };
  text += is_array() ? '[' : '{';
  for (const Json& element : *this) {
    begin_one();
    element.append_to(text, indent, inside);
  }
  for (const auto& [name, value] : items()) {
    begin_one();
    append_text(text, name);
    text += indent < 0 ? ":" : ": ";
    value.append_to(text, indent, inside);
  }
  if (!first) append_line(text, indent, before);
  text += is_array() ? ']' : '}';
}

}  // namespace ordvane::text
