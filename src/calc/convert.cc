#include "calc/convert.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>

#include "text/calendar.h"
#include "text/edit.h"
#include "text/utf8.h"
#include "unicode/names.h"

namespace ordvane::calc {
namespace {

using text::Date;

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// Reads a text from its beginning on.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}
  bool done() const { return text_.empty(); }
  char peek() const { return text_.empty() ? '\0' : text_[0]; }
  bool take(char c) {
    if (peek() != c) return false;
    text_.remove_prefix(1);
    return true;
  }
  void blanks() {
    while (take(' ')) {
    }
  }
  std::string_view digits() {
    std::size_t length = 0;
    while (length < text_.size() && is_digit(text_[length])) ++length;
    const std::string_view found = text_.substr(0, length);
    text_.remove_prefix(length);
    return found;
  }
  std::string_view letters() {
    std::size_t length = 0;
    while (length < text_.size() && ((text_[length] | 0x20) >= 'a') && ((text_[length] | 0x20) <= 'z'))
      ++length;
    const std::string_view found = text_.substr(0, length);
    text_.remove_prefix(length);
    return found;
  }

 private:
  std::string_view text_;
};

int to_int(std::string_view digits) {
  int number = -1;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

// Digits in groups of three after the first comma.
bool read_groups(Reader& reader, std::string& out) {
  out = reader.digits();
  if (out.empty() || out.size() > 3) return true;
  while (reader.take(',')) {
    const std::string_view group = reader.digits();
    if (group.size() != 3) return false;
    out += group;
  }
  return true;
}

std::optional<double> plain_number(std::string_view text) {
  Reader reader(text);
  std::string number;
  if (!read_groups(reader, number)) return std::nullopt;
  bool has_digits = !number.empty();
  if (reader.take('.')) {
    const std::string_view behind = reader.digits();
    has_digits = has_digits || !behind.empty();
    number += '.';
    number += behind;
  }
  if (!has_digits) return std::nullopt;
  if (reader.take('e') || reader.take('E')) {
    number += 'e';
    if (reader.take('-'))
      number += '-';
    else
      reader.take('+');
    const std::string_view exponent = reader.digits();
    if (exponent.empty() || exponent.size() > 5) return std::nullopt;
    number += exponent;
  }
  if (!reader.done()) return std::nullopt;
  if (number[0] == '.') number.insert(number.begin(), '0');
  double result = 0;
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), result);
  if (error == std::errc::result_out_of_range)
    return number.find("e-") == number.npos ? std::optional(1.7976931348623157e308) : 0;
  return error == std::errc() ? std::optional(result) : std::nullopt;
}

// With its sign, percent and currency signs and parentheses.
std::optional<double> signed_number(std::string_view text) {
  bool negative = false;
  if (text.size() > 2 && text.front() == '(' && text.back() == ')') {
    negative = true;
    text = text.substr(1, text.size() - 2);
  }
  if (!negative && !text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text = text::trimmed(text.substr(1));
  }
  if (!text.empty() && text[0] == '$') text = text::trimmed(text.substr(1));
  bool percent = false;
  if (!text.empty() && text.back() == '%') {
    percent = true;
    text = text::trimmed(text.substr(0, text.size() - 1));
  }
  const auto number = plain_number(text);
  if (!number) return std::nullopt;
  const double value = percent ? *number / 100 : *number;
  return negative ? -value : value;
}

int month_named(std::string_view name) {
  constexpr std::string_view kMonths[] = {"january",   "february", "march",    "april",
                                          "may",       "june",     "july",     "august",
                                          "september", "october",  "november", "december"};
  if (name.size() < 3) return -1;
  const std::string lower = text::lower_ascii(name);
  for (int month = 0; month < 12; ++month) {
    const std::string_view full = kMonths[month];
    if (lower == full || lower == full.substr(0, 3)) return month + 1;
  }
  return -1;
}

int full_year(std::string_view digits) {
  const int year = to_int(digits);
  if (digits.size() > 2) return year;
  return year < 30 ? 2000 + year : 1900 + year;
}

std::optional<Date> checked(const Date& date) {
  return is_date(date) ? std::optional(date) : std::nullopt;
}

// 2020-01-31, 1/31/2020, 5-Jan-2020, Jan 5 2020, Jan 5, 2020.
std::optional<Date> read_date(Reader& reader) {
  Date date;
  if (!is_digit(reader.peek())) {
    date.month = month_named(reader.letters());
    reader.blanks();
    date.day = to_int(reader.digits());
    reader.take(',');
    reader.blanks();
    const std::string_view year = reader.digits();
    if (year.empty()) return std::nullopt;
    date.year = full_year(year);
    return checked(date);
  }
  const std::string_view first = reader.digits();
  if (reader.take('/')) {
    const std::string_view second = reader.digits();
    if (!reader.take('/')) return std::nullopt;
    const std::string_view year = reader.digits();
    if (year.empty()) return std::nullopt;
    return checked({full_year(year), to_int(first), to_int(second)});
  }
  const bool dash = reader.take('-');
  reader.blanks();
  if (is_digit(reader.peek()) && dash && first.size() > 2) {
    const std::string_view month = reader.digits();
    if (!reader.take('-')) return std::nullopt;
    return checked({to_int(first), to_int(month), to_int(reader.digits())});
  }
  date.day = to_int(first);
  date.month = month_named(reader.letters());
  if (dash) reader.take('-');
  reader.blanks();
  const std::string_view year = reader.digits();
  if (year.empty()) return std::nullopt;
  date.year = full_year(year);
  return checked(date);
}

// 12:30, 12:30:15.5, 1:00 PM; a part of a day.
std::optional<double> read_time(Reader& reader) {
  const int hours = to_int(reader.digits());
  if (hours < 0 || !reader.take(':')) return std::nullopt;
  const int minutes = to_int(reader.digits());
  if (minutes < 0 || minutes > 59) return std::nullopt;
  double seconds = 0;
  if (reader.take(':')) {
    std::string text(reader.digits());
    if (reader.take('.')) text += "." + std::string(reader.digits());
    const auto number = plain_number(text);
    if (!number || *number >= 60) return std::nullopt;
    seconds = *number;
  }
  int shown = hours;
  reader.blanks();
  if (const std::string half = text::lower_ascii(reader.letters()); !half.empty()) {
    if ((half != "am" && half != "pm") || hours > 12) return std::nullopt;
    shown = hours % 12 + (half == "pm" ? 12 : 0);
  }
  return (shown * 3600.0 + minutes * 60.0 + seconds) / 86400;
}

std::optional<double> date_or_time(std::string_view text, bool counts_from_1904) {
  Reader time_only(text);
  if (const auto time = read_time(time_only); time && time_only.done()) return time;
  Reader reader(text);
  const auto date = read_date(reader);
  if (!date) return std::nullopt;
  const auto day = static_cast<double>(text::Calendar(counts_from_1904).day(*date));
  if (reader.done()) return day;
  if (!reader.take('T') && !reader.take(' ')) return std::nullopt;
  reader.blanks();
  const auto time = read_time(reader);
  return time && reader.done() ? std::optional(day + *time) : std::nullopt;
}

// Of the texts without a digit these two are numbers.
std::optional<double> truth_value(std::string_view text) {
  if (text.size() > 5) return std::nullopt;
  const std::string lower = text::lower_ascii(text);
  if (lower == "true") return 1;
  if (lower == "false") return 0;
  return std::nullopt;
}

// Digits of a number, the first of them times ten to the exponent.
struct Decimal {
  std::string digits;
  int exponent = 0;

  // To so many digits, a half upwards; zeros at the end are left out.
  void round(int count) {
    const auto kept = static_cast<std::size_t>(std::max(count, 0));
    if (digits.size() > kept) {
      const bool up = digits[kept] >= '5';
      digits.resize(kept);
      if (up) increment();
    }
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
  }

  std::string plain() const {
    const auto before = static_cast<std::size_t>(std::max(exponent + 1, 0));
    std::string text = digits;
    if (exponent < 0) return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + text;
    if (text.size() < before) return text + std::string(before - text.size(), '0');
    return text.size() == before ? text : text.insert(before, 1, '.');
  }

 private:
  void increment() {
    while (!digits.empty() && digits.back() == '9') digits.pop_back();
    if (digits.empty()) {
      digits = "1";
      ++exponent;
    } else {
      ++digits.back();
    }
  }
};

// The fewest digits that read back as the number.
Decimal shortest_decimal(double positive) {
  std::array<char, 40> text{};
  const auto written =
      std::to_chars(text.data(), text.data() + text.size(), positive, std::chars_format::scientific);
  const std::string_view whole(text.data(), static_cast<std::size_t>(written.ptr - text.data()));
  const std::size_t e = whole.find('e');
  Decimal result;
  for (const char c : whole.substr(0, e))
    if (is_digit(c)) result.digits += c;
  const std::string_view power = whole.substr(e + (whole[e + 1] == '+' ? 2 : 1));
  std::from_chars(power.data(), power.data() + power.size(), result.exponent);
  return result;
}

// Places of the characters in the order of texts; letters and what is beyond ASCII follow.
int place_of(char32_t code) {
  constexpr std::string_view kSigns = "\t\n\v\f\r _-,;:!?.'\"()[]{}@*/\\&#%`^+<=>|~$";
  if (code < 0x80) {
    const std::size_t at = kSigns.find(static_cast<char>(code));
    if (at != kSigns.npos) return static_cast<int>(at) + 1;
    return 0x80 + static_cast<int>(code);
  }
  return 0x100 + static_cast<int>(code);
}

}  // namespace

std::optional<double> number_of_text(std::string_view text, bool counts_from_1904) {
  text = text::trimmed(text);
  if (text.empty() || text.size() > 255) return std::nullopt;
  if (std::none_of(text.begin(), text.end(), is_digit)) return truth_value(text);
  if (const auto number = signed_number(text)) return number;
  return date_or_time(text, counts_from_1904);
}

std::string text_of_number(double number) {
  if (number == 0) return "0";
  std::array<char, 512> text{};
  const double size = std::fabs(number);
  if (size < 0x1p53 && std::trunc(number) == number) {
    std::snprintf(text.data(), text.size(), "%.0f", number);
    return text.data();
  }
  const std::string sign = number < 0 ? "-" : "";
  Decimal shown = shortest_decimal(size);
  const bool plain = shown.exponent < 15 && shown.exponent > -15;
  shown.round(plain ? std::min(15, 21 + shown.exponent) : 15);
  if (plain) return sign + shown.plain();
  std::snprintf(text.data(), text.size(), "E%c%03d", shown.exponent < 0 ? '-' : '+',
                std::abs(shown.exponent));
  if (shown.digits.size() > 1) shown.digits.insert(1, 1, '.');
  return sign + shown.digits + text.data();
}

int compare_texts(std::string_view a, std::string_view b) {
  if (a == b) return 0;
  const std::string x = unicode::folded(a), y = unicode::folded(b);
  std::size_t i = 0, j = 0;
  while (i < x.size() && j < y.size()) {
    const text::CodePoint p = text::code_point_at(x, i), q = text::code_point_at(y, j);
    if (p.code != q.code) return place_of(p.code) < place_of(q.code) ? -1 : 1;
    i += p.bytes;
    j += q.bytes;
  }
  if (i < x.size()) return 1;
  return j < y.size() ? -1 : 0;
}

}  // namespace ordvane::calc
