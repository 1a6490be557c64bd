// Functions between numbers and texts: formats, dates and times in words, other number systems.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>
#include <string>

#include "calc/convert.h"
#include "calc/functions.h"
#include "calc/rounding.h"
#include "office/number_format.h"
#include "text/edit.h"

namespace ordvane::calc {
namespace {

// ---- Formats ----

std::string in_format(double number, const std::string& format) {
  return office::displayed_text(host::CellValue(number), format);
}

// Formats count days from 31 December 1899 with a 29 February 1900; from March 1900 on that is the same day
// number.
double day_for_formats(Call& call, double number) {
  if (call.counts_from_1904()) return number + 1462;
  return number;
}

Operand call_text(Call& call) {
  const Value value = call.value(0);
  const std::string format = call.text(1);
  if (value.is_error()) return value;
  if (format.empty()) return call.make_text("");
  if (value.is_text()) {
    const auto number = number_of_text(value.text(), call.counts_from_1904());
    if (!number) return call.make_text(office::displayed_text(host::CellValue(value.text()), format));
    return call.make_text(in_format(*number, format));
  }
  const office::NumberFormat read(format);
  const double number = read.shows_dates() ? day_for_formats(call, value.number()) : value.number();
  std::string text = read.text(host::CellValue(number));
  // What is rounded to nothing has no sign.
  if (read.adds_sign(number) && text.find_first_of("123456789") == text.npos) text.erase(0, 1);
  return call.make_text(std::move(text));
}

std::string with_decimals(double number, int decimals, bool groups) {
  const double shown = rounded(number, decimals);
  const std::string format = groups ? "#,##0" : "0";
  return in_format(
      shown, decimals > 0 ? format + "." + std::string(static_cast<std::size_t>(decimals), '0') : format);
}

int decimals_of(Call& call, int argument) {
  const double decimals = call.missing(argument) ? 2 : floor_of(call.number(argument));
  if (std::fabs(decimals) > 127) call.fail(ErrorCode::kArgument);
  return static_cast<int>(std::clamp(decimals, -127.0, 127.0));
}

Operand call_fixed(Call& call) {
  const double number = call.number(0);
  const int decimals = decimals_of(call, 1);
  return call.make_text(with_decimals(number, decimals, !call.logical(2, false)));
}

Operand call_dollar(Call& call) {
  const double number = call.number(0);
  const int decimals = decimals_of(call, 1);
  const std::string text = with_decimals(std::fabs(number), decimals, true);
  return call.make_text(rounded(number, decimals) < 0 ? "-$" + text : "$" + text);
}

// ---- Numbers in texts ----

Operand call_value(Call& call) {
  const Value value = call.value(0);
  if (value.is_error()) return value;
  if (value.is_numeric()) return value.number();
  const auto number = number_of_text(value.text(), call.counts_from_1904());
  return number ? Operand(*number) : Operand(ErrorCode::kValue);
}

std::string first_character(Call& call, int argument, std::string_view absent) {
  const std::string text = call.missing(argument) ? std::string(absent) : call.text(argument);
  return text.substr(0, 1);
}

Operand call_numbervalue(Call& call) {
  const std::string given = call.text(0);
  const std::string decimal = first_character(call, 1, "."), group = first_character(call, 2, ",");
  if (decimal.empty() || decimal == group) return ErrorCode::kValue;
  std::string text;
  bool after_point = false;
  for (const char c : given) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
    if (!group.empty() && c == group[0]) {
      if (after_point) return ErrorCode::kValue;
      continue;
    }
    after_point = after_point || c == decimal[0];
    text += c == decimal[0] ? '.' : c;
  }
  int percents = 0;
  for (; !text.empty() && text.back() == '%'; text.pop_back()) ++percents;
  double number = 0;
  const std::size_t sign = text.starts_with('+') ? 1 : 0;
  const auto read = std::from_chars(text.data() + sign, text.data() + text.size(), number);
  if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size())
    return ErrorCode::kValue;
  return number / std::pow(100.0, percents);
}

// A date or time in words: nothing for texts that are plain numbers, amounts or percentages.
std::optional<double> date_in(Call& call) {
  const std::string given = call.text(0);
  const std::string_view text = text::trimmed(given);
  double plain = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), plain);
  if (read.ptr == text.data() + text.size() || text.find_first_of("$%()") != text.npos) return std::nullopt;
  const bool has_parts = text.find_first_of("/:") != text.npos || text.find('-', 1) != text.npos;
  const bool has_letters =
      std::any_of(text.begin(), text.end(), [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; });
  if (!has_parts && !(has_letters && text.find_first_of("0123456789") != text.npos)) return std::nullopt;
  return number_of_text(text, call.counts_from_1904());
}

Operand call_datevalue(Call& call) {
  const auto number = date_in(call);
  return number ? Operand(std::floor(*number)) : Operand(ErrorCode::kValue);
}

Operand call_timevalue(Call& call) {
  const auto number = date_in(call);
  return number ? Operand(*number - std::floor(*number)) : Operand(ErrorCode::kValue);
}

// ---- Other number systems ----

constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

std::string in_base(double number, int base) {
  std::string text;
  do {
    text += kDigits[static_cast<std::size_t>(std::fmod(number, base))];
    number = std::floor(number / base);
  } while (number > 0);
  std::reverse(text.begin(), text.end());
  return text;
}

// -1 for what is no number of this base.
double of_base(const std::string& text, int base) {
  double number = 0;
  for (const char c : text) {
    const char capital = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    const std::size_t digit = kDigits.find(capital);
    if (digit >= static_cast<std::size_t>(base)) return -1;
    number = number * base + static_cast<double>(digit);
  }
  return number;
}

Operand call_base(Call& call) {
  const double number = floor_of(call.number(0));
  const double base = floor_of(call.number(1));
  const double length = call.missing(2) ? 1 : floor_of(call.number(2));
  if (number < 0 || number >= 9007199254740992.0 || base < 2 || base > 36 || length < 0 || length > 255)
    return ErrorCode::kArgument;
  const std::string text = in_base(number, static_cast<int>(base));
  const auto least = static_cast<std::size_t>(length);
  return call.make_text(text.size() < least ? std::string(least - text.size(), '0') + text : text);
}

Operand call_decimal(Call& call) {
  const std::string text = call.text(0);
  const double base = floor_of(call.number(1));
  if (base < 2 || base > 36 || text.size() > 255) return ErrorCode::kArgument;
  if (text.empty()) return 0.0;
  const double number = of_base(text, static_cast<int>(base));
  return number < 0 ? Operand(ErrorCode::kArgument) : Operand(number);
}

// Ten digits hold numbers of both signs, the upper half being negative.
template <int base>
Operand call_to_decimal(Call& call) {
  const std::string text = call.text(0);
  if (text.size() > 10) return ErrorCode::kArgument;
  const double number = of_base(text, base), range = std::pow(base, 10);
  if (number < 0) return ErrorCode::kArgument;
  return number >= range / 2 ? number - range : number;
}

Operand padded_in_base(Call& call, double number, int base, int places_argument) {
  const double range = std::pow(base, 10);
  if (number < -range / 2 || number >= range / 2) return ErrorCode::kArgument;
  std::string text = in_base(number < 0 ? number + range : number, base);
  if (number >= 0 && !call.missing(places_argument)) {
    const double places = floor_of(call.number(places_argument));
    if (places < static_cast<double>(text.size()) || places > 10) return ErrorCode::kArgument;
    text.insert(0, static_cast<std::size_t>(places) - text.size(), '0');
  }
  return call.make_text(std::move(text));
}

template <int base>
Operand call_from_decimal(Call& call) {
  return padded_in_base(call, whole_part(call.number(0)), base, 1);
}

template <int from, int to>
Operand call_between(Call& call) {
  const Operand number = call_to_decimal<from>(call);
  if (number.value.is_error() || call.failed()) return number;
  return padded_in_base(call, number.value.number(), to, 1);
}

struct RomanDigit {
  std::string_view text;
  int value;
};
constexpr RomanDigit kRoman[] = {{"M", 1000}, {"CM", 900}, {"D", 500}, {"CD", 400}, {"C", 100},
                                 {"XC", 90},  {"L", 50},   {"XL", 40}, {"X", 10},   {"IX", 9},
                                 {"V", 5},    {"IV", 4},   {"I", 1}};

Operand call_roman(Call& call) {
  const double number = floor_of(call.number(0));
  if (number < 0 || number > 3999) return ErrorCode::kValue;
  if (!call.missing(1) && call.number(1) != 0) return ErrorCode::kArgument;  // shortened forms
  int rest = static_cast<int>(number);
  std::string text;
  for (const RomanDigit& digit : kRoman)
    for (; rest >= digit.value; rest -= digit.value) text += digit.text;
  return call.make_text(std::move(text));
}

int roman_value(char letter) {
  for (const RomanDigit& digit : kRoman)
    if (digit.text.size() == 1 && digit.text[0] == (letter & ~0x20)) return digit.value;
  return 0;
}

Operand call_arabic(Call& call) {
  const std::string given = call.text(0);
  const std::string_view text = text::trimmed(given);
  double number = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const int value = roman_value(text[i]);
    if (value == 0) return ErrorCode::kValue;
    const bool subtracted = i + 1 < text.size() && roman_value(text[i + 1]) > value;
    number += subtracted ? -value : value;
  }
  return number;
}

// ---- Bits ----

constexpr double kBits = 281474976710656.0;  // 2^48

std::uint64_t bits_of(Call& call, int argument) {
  const double number = call.number(argument);
  if (number < 0 || number >= kBits || number != std::floor(number)) call.fail(ErrorCode::kArgument);
  return call.failed() ? 0 : static_cast<std::uint64_t>(number);
}

template <char operation>
Operand call_bits(Call& call) {
  const std::uint64_t a = bits_of(call, 0), b = bits_of(call, 1);
  return static_cast<double>(operation == '&' ? (a & b) : operation == '|' ? (a | b) : (a ^ b));
}

template <int direction>
Operand call_shift(Call& call) {
  const std::uint64_t bits = bits_of(call, 0);
  const double places = floor_of(call.number(1)) * direction;
  if (places > 53) return ErrorCode::kArgument;
  if (places < -53) return 0.0;
  const double result = std::floor(std::ldexp(static_cast<double>(bits), static_cast<int>(places)));
  return result >= kBits ? Operand(ErrorCode::kArgument) : Operand(result);
}

constexpr Function kNumberTextFunctions[] = {
    {"ARABIC", 1, 1, "s", call_arabic},
    {"BASE", 2, 3, "s", call_base},
    {"BIN2DEC", 1, 1, "s", call_to_decimal<2>},
    {"BIN2HEX", 1, 2, "s", call_between<2, 16>},
    {"BIN2OCT", 1, 2, "s", call_between<2, 8>},
    {"BITAND", 2, 2, "s", call_bits<'&'>},
    {"BITLSHIFT", 2, 2, "s", call_shift<1>},
    {"BITOR", 2, 2, "s", call_bits<'|'>},
    {"BITRSHIFT", 2, 2, "s", call_shift<-1>},
    {"BITXOR", 2, 2, "s", call_bits<'^'>},
    {"DATEVALUE", 1, 1, "s", call_datevalue},
    {"DEC2BIN", 1, 2, "s", call_from_decimal<2>},
    {"DEC2HEX", 1, 2, "s", call_from_decimal<16>},
    {"DEC2OCT", 1, 2, "s", call_from_decimal<8>},
    {"DECIMAL", 2, 2, "s", call_decimal},
    {"DOLLAR", 1, 2, "s", call_dollar},
    {"FIXED", 1, 3, "s", call_fixed},
    {"HEX2BIN", 1, 2, "s", call_between<16, 2>},
    {"HEX2DEC", 1, 1, "s", call_to_decimal<16>},
    {"HEX2OCT", 1, 2, "s", call_between<16, 8>},
    {"NUMBERVALUE", 1, 3, "s", call_numbervalue},
    {"OCT2BIN", 1, 2, "s", call_between<8, 2>},
    {"OCT2DEC", 1, 1, "s", call_to_decimal<8>},
    {"OCT2HEX", 1, 2, "s", call_between<8, 16>},
    {"ROMAN", 1, 2, "s", call_roman},
    {"TEXT", 2, 2, "s", call_text},
    {"TIMEVALUE", 1, 1, "s", call_timevalue},
    {"VALUE", 1, 1, "s", call_value},
};

}  // namespace

std::span<const Function> number_text_functions() {
  return kNumberTextFunctions;
}

}  // namespace ordvane::calc
