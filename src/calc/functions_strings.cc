// Functions that cut, join, search and change texts. Lengths and positions count UTF-16 units, as Excel does.
#include <algorithm>
#include <cmath>
#include <string>

#include "calc/functions.h"
#include "calc/lookup.h"
#include "calc/rounding.h"
#include "text/edit.h"
#include "text/utf16.h"
#include "text/utf8.h"
#include "unicode/letters.h"

namespace ordvane::calc {
namespace {

constexpr std::int32_t kLongest = 32767;

// A text that is too long for a cell is an error.
Operand given(Call& call, std::string text) {
  if (text.size() > static_cast<std::size_t>(kLongest) && text::utf16_length(text) > kLongest)
    return ErrorCode::kTextOverflow;
  return call.make_text(std::move(text));
}

// A count or position; more than a text can have is as good as its limit. Fails below `least`.
std::int32_t count_of(Call& call, int argument, std::int32_t absent, std::int32_t least) {
  if (argument >= call.count()) return absent;
  const double count = floor_of(call.number(argument));
  if (count < least || count > 2147483647) call.fail(ErrorCode::kArgument);
  return static_cast<std::int32_t>(std::clamp(count, 0.0, kLongest + 1.0));
}

Operand call_left(Call& call) {
  const std::string text = call.text(0);
  return call.make_text(std::string(text::left(text, count_of(call, 1, 1, 0))));
}

Operand call_right(Call& call) {
  const std::string text = call.text(0);
  const std::int32_t length = count_of(call, 1, 1, 0);
  const std::int32_t start = std::max(0, text::utf16_length(text) - length);
  return call.make_text(std::string(text::mid(text, start + 1, kLongest)));
}

Operand call_mid(Call& call) {
  const std::string text = call.text(0);
  const std::int32_t start = count_of(call, 1, 1, 1);
  const std::int32_t length = count_of(call, 2, 0, 0);
  if (call.failed()) return 0.0;
  return call.make_text(std::string(text::mid(text, start, length)));
}

Operand call_len(Call& call) {
  return static_cast<double>(text::utf16_length(call.text(0)));
}

Operand call_upper(Call& call) {
  return given(call, unicode::upper(call.text(0)));
}
Operand call_lower(Call& call) {
  return given(call, unicode::lower(call.text(0)));
}

// A capital after everything that is no letter.
Operand call_proper(Call& call) {
  std::string result;
  bool in_word = false;
  text::for_each_character(call.text(0), [&](const text::CodePoint& character, std::string_view bytes) {
    result += in_word ? unicode::lower(bytes) : unicode::upper(bytes);
    in_word = character.valid && unicode::is_letter(character.code);
  });
  return given(call, std::move(result));
}

Operand call_trim(Call& call) {
  const std::string text = call.text(0);
  std::string result;
  for (const char c : text::trimmed(text))
    if (c != ' ' || result.back() != ' ') result += c;
  return call.make_text(std::move(result));
}

Operand call_clean(Call& call) {
  std::string result;
  for (const char c : call.text(0))
    if (static_cast<unsigned char>(c) >= 32) result += c;
  return call.make_text(std::move(result));
}

// ---- Searching ----

// The position in bytes at which a text has this UTF-16 position, counted from 1.
std::size_t bytes_before(std::string_view text, std::int32_t position) {
  return text::left(text, position - 1).size();
}

Operand position_of(Call& call, std::string_view text, std::size_t found) {
  if (found == std::string_view::npos || call.failed()) return ErrorCode::kValue;
  return static_cast<double>(text::utf16_length(text.substr(0, found)) + 1);
}

Operand call_find(Call& call) {
  const std::string wanted = call.text(0), text = call.text(1);
  const std::int32_t start = count_of(call, 2, 1, 1);
  if (call.failed() || start > text::utf16_length(text) + 1) return ErrorCode::kValue;
  return position_of(call, text, text.find(wanted, bytes_before(text, start)));
}

Operand call_search(Call& call) {
  const std::string wanted = call.text(0), text = call.text(1);
  const std::int32_t start = count_of(call, 2, 1, 1);
  if (call.failed() || start > text::utf16_length(text) + 1) return ErrorCode::kValue;
  // A tilde at the end, which nothing follows that it could take the meaning of, is itself.
  const auto tildes =
      std::find_if(wanted.rbegin(), wanted.rend(), [](char letter) { return letter != '~'; }) -
      wanted.rbegin();
  const Pattern pattern(wanted + (tildes % 2 == 1 ? "~*" : "*"));
  for (std::size_t at = bytes_before(text, start); at <= text.size();) {
    if (pattern.matches(std::string_view(text).substr(at))) return position_of(call, text, at);
    if (at == text.size()) break;
    at += text::code_point_at(text, at).bytes;
  }
  return ErrorCode::kValue;
}

Operand call_substitute(Call& call) {
  const std::int32_t which = count_of(call, 3, 0, 1);
  const std::string text = call.text(0), old_part = call.text(1), new_part = call.text(2);
  if (old_part.empty()) return call.make_text(text);
  std::string result;
  std::size_t from = 0;
  for (std::int32_t number = 1;; ++number) {
    const std::size_t found = text.find(old_part, from);
    if (found == std::string::npos || (which > 0 && number > which)) break;
    result.append(text, from, found - from);
    result += which == 0 || number == which ? new_part : old_part;
    from = found + old_part.size();
  }
  return given(call, result.append(text, from));
}

Operand call_replace(Call& call) {
  const std::string inserted = call.text(3), text = call.text(0);
  const std::int32_t start = count_of(call, 1, 1, 1);
  const std::int32_t length = count_of(call, 2, 0, 0);
  if (call.failed()) return 0.0;
  const std::string_view before = text::left(text, start - 1);
  return given(call, std::string(before) + inserted + std::string(text::mid(text, start + length, kLongest)));
}

// ---- Joining ----

Operand call_rept(Call& call) {
  const std::string text = call.text(0);
  const std::int32_t times = count_of(call, 1, 0, 0);
  if (call.failed()) return 0.0;
  if (text.size() * static_cast<std::size_t>(times) > static_cast<std::size_t>(kLongest) * 4)
    return ErrorCode::kTextOverflow;
  std::string result;
  for (std::int32_t i = 0; i < times; ++i) result += text;
  return given(call, std::move(result));
}

Operand call_concatenate(Call& call) {
  std::string result;
  for (int argument = 0; argument < call.count(); ++argument) result += call.text(argument);
  return given(call, std::move(result));
}

Operand call_concat(Call& call) {
  std::string result;
  call.each_from(0, [&](const Value& value, From) {
    if (value.is_blank()) return;
    if (result.size() <= static_cast<std::size_t>(kLongest) * 4) result += call.text_of(value);
  });
  return given(call, std::move(result));
}

// Blank cells between others are empty texts, so every cell of the block is looked at.
Operand call_textjoin(Call& call) {
  const Matrix separators = call.matrix(0);
  const bool without_empty = call.logical(1);
  std::string result;
  std::int64_t joined = 0;
  for (int argument = 2; argument < call.count() && !call.failed(); ++argument) {
    const Matrix values = call.matrix(argument);
    for (std::int64_t i = 0; i < std::min<std::int64_t>(values.size(), kRows); ++i) {
      const Value value = values.at(i);
      const std::string text = value.is_blank() ? std::string() : call.text_of(value);
      if (text.empty() && without_empty) continue;
      if (joined > 0) result += call.text_of(separators.at((joined - 1) % separators.size()));
      result += text;
      ++joined;
      if (result.size() > static_cast<std::size_t>(kLongest) * 4) return ErrorCode::kTextOverflow;
    }
  }
  return given(call, std::move(result));
}

// ---- Characters ----

Operand call_exact(Call& call) {
  const std::string first = call.text(0);
  return Value::boolean(first == call.text(1));
}

// Where a character of Windows' western code page has another number in Unicode.
constexpr char32_t kWestern[32] = {0x20AC, 0x81,   0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                   0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x8D,   0x017D, 0x8F,
                                   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                   0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x9D,   0x017E, 0x0178};

Operand call_char(Call& call) {
  const double number = floor_of(call.number(0));
  if (number < 1 || number > 255) return ErrorCode::kArgument;
  const auto code = static_cast<char32_t>(number);
  return call.make_text(unicode::utf8(code >= 128 && code < 160 ? kWestern[code - 128] : code));
}

Operand call_code(Call& call) {
  const std::string text = call.text(0);
  if (text.empty()) return ErrorCode::kValue;
  const char32_t code = text::code_point_at(text, 0).code;
  for (std::size_t i = 0; i < std::size(kWestern); ++i)
    if (kWestern[i] == code) return static_cast<double>(128 + i);
  return code < 256 ? static_cast<double>(code) : 63.0;  // "?"
}

Operand call_unichar(Call& call) {
  const double number = floor_of(call.number(0));
  if (number < 1 || number > 0x10FFFF || (number >= 0xD800 && number < 0xE000)) return ErrorCode::kArgument;
  return call.make_text(unicode::utf8(static_cast<char32_t>(number)));
}

Operand call_unicode(Call& call) {
  const std::string text = call.text(0);
  return text.empty() ? Operand(ErrorCode::kValue)
                      : Operand(static_cast<double>(text::code_point_at(text, 0).code));
}

constexpr Function kStringsFunctions[] = {
    {"CHAR", 1, 1, "s", call_char},
    {"CLEAN", 1, 1, "s", call_clean},
    {"CODE", 1, 1, "s", call_code},
    {"CONCAT", 1, kAnyNumber, "r", call_concat},
    {"CONCATENATE", 1, kAnyNumber, "s", call_concatenate},
    {"EXACT", 2, 2, "s", call_exact},
    {"FIND", 2, 3, "s", call_find},
    {"LEFT", 1, 2, "s", call_left},
    {"LEN", 1, 1, "s", call_len},
    {"LOWER", 1, 1, "s", call_lower},
    {"MID", 3, 3, "s", call_mid},
    {"PROPER", 1, 1, "s", call_proper},
    {"REPLACE", 4, 4, "s", call_replace},
    {"REPT", 2, 2, "s", call_rept},
    {"RIGHT", 1, 2, "s", call_right},
    {"SEARCH", 2, 3, "s", call_search},
    {"SUBSTITUTE", 3, 4, "s", call_substitute},
    {"TEXTJOIN", 3, kAnyNumber, "rsr", call_textjoin},
    {"TRIM", 1, 1, "s", call_trim},
    {"UNICHAR", 1, 1, "s", call_unichar},
    {"UNICODE", 1, 1, "s", call_unicode},
    {"UPPER", 1, 1, "s", call_upper},
};

}  // namespace

std::span<const Function> text_functions() {
  return kStringsFunctions;
}

}  // namespace ordvane::calc
