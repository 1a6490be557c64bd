#include "page/figures.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "embedded/cell_text.h"
#include "layout/format_codes.h"
#include "model/decimal.h"
#include "office/number_format.h"

namespace ordvane::page {
namespace {

using text::Json;

constexpr const char* kWhole = "#,##0";
constexpr const char* kScientific = "0.00000E+00";

office::NumberSymbols symbols_of(const environment::Language& language) {
  return {std::string(1, language.decimal_separator), language.group_separator};
}

std::string text_of(double value, const std::string& code, const office::NumberSymbols& symbols = {}) {
  return office::NumberFormat(code).text(host::CellValue(value), symbols);
}

// The sign that typesetters use: a hyphen is too short for one. Those within dates stay.
std::string with_minus(std::string text, const std::string& code) {
  constexpr const char* kMinus = "−";
  if (!layout::shows_date(code))
    for (std::size_t at = 0; (at = text.find('-', at)) != std::string::npos;) text.replace(at, 1, kMinus);
  return text;
}

std::string plain_code(std::span<const double> values) {
  const embedded::PlainStyle style = embedded::plain_style(values);
  if (style.exponent) return kScientific;
  return style.decimals > 0 ? layout::with_decimals_of(-style.decimals, kWhole) : kWhole;
}

// How the numbers of one sign are written.
struct Manner {
  std::string before, after;
  int decimals = 0, scale = 0;  // scale: powers of ten that the number is multiplied by
  bool groups = false, exponent = false;
  bool operator==(const Manner&) const = default;
};

std::optional<Manner> manner_of_text(const std::string& text, double value) {
  constexpr std::string_view kDigitsAndMarks = "0123456789";
  const std::size_t first = text.find_first_of(kDigitsAndMarks);
  if (first == std::string::npos) return std::nullopt;
  const std::size_t last = text.find_last_of(kDigitsAndMarks);
  Manner manner{.before = text.substr(0, first), .after = text.substr(last + 1)};
  std::string body = text.substr(first, last + 1 - first);
  if (const std::size_t exponent = body.find("E+"); exponent != std::string::npos) {
    if (body.size() - exponent != 4) return std::nullopt;
    manner.exponent = true;
    body.resize(exponent);
  }
  manner.groups = body.find(',') != std::string::npos;
  std::erase(body, ',');
  const std::size_t point = body.find('.');
  if (point != std::string::npos) manner.decimals = static_cast<int>(body.size() - point - 1);
  double shown = 0;
  const auto read = std::from_chars(body.data(), body.data() + body.size(), shown);
  if (read.ec != std::errc() || read.ptr != body.data() + body.size() || shown <= 0) return std::nullopt;
  if (body.front() == '0' && point != 1) return std::nullopt;
  if (!manner.exponent) manner.scale = static_cast<int>(std::lround(std::log10(shown / std::fabs(value))));
  return manner;
}

// The one manner in which a format writes all numbers of a sign; none where there are several.
std::optional<Manner> manner_of_code(const std::string& code, double sign) {
  constexpr double kLong = 7654321, kMany = 2.123456789;
  const auto manner = manner_of_text(text_of(sign * kLong, code), kLong);
  if (!manner) return std::nullopt;
  const double other = kMany * model::power_of_ten(-manner->scale);
  auto same = manner_of_text(text_of(sign * other, code), other);
  if (!same) return std::nullopt;
  same->groups = manner->groups;
  return *same == *manner ? manner : std::nullopt;
}

Json json_of(const Manner& manner) {
  return {with_minus(manner.before, kWhole),
          with_minus(manner.after, kWhole),
          manner.decimals,
          manner.scale,
          manner.groups ? 1 : 0,
          manner.exponent ? 1 : 0};
}

// A format of dates as texts of dates take it: d, m and y in runs.
std::string date_code(const std::string& code) {
  std::string plain;
  for (const char letter : code)
    if (letter != '\\' && letter != '"') plain += letter;
  return plain;
}

bool is_plain_date(const std::string& code) {
  constexpr std::array<double, 3> kDays = {36526, 45987, 51075.75};
  return std::all_of(kDays.begin(), kDays.end(), [&](double day) {
    return environment::date_text(day, date_code(code)) == text_of(day, code);
  });
}

bool can_be_followed(const std::string& code) {
  return layout::shows_date(code)
             ? is_plain_date(code)
             : manner_of_code(code, 1).has_value() && manner_of_code(code, -1).has_value();
}

}  // namespace

std::string formatted(double value, const std::string& code, const environment::Language& language) {
  return with_minus(text_of(value, code, symbols_of(language)), code);
}

Json rules_of(const std::string& code, const environment::Language& language) {
  if (layout::shows_date(code)) return date_code(code);
  return {json_of(*manner_of_code(code, 1)), json_of(*manner_of_code(code, -1)),
          formatted(0, code, language)};
}

std::string change_text(double fraction, const environment::Language& language) {
  if (std::isnan(fraction)) return kNoNumber;
  const std::string text = formatted(fraction, kShareFormat, language);
  return fraction > 0 && text != formatted(0, kShareFormat, language) ? "+" + text : text;
}

Figures::Figures(const runfile::Item& item, std::span<const double> values,
                 const environment::Language& language)
    : code_(layout::without_padding(item.number_format)), language_(language) {
  const bool is_general = office::NumberFormat(code_).is_general();
  if (is_general && item.date) code_ = language.date_format;
  if ((is_general && !item.date) || !can_be_followed(code_)) code_ = plain_code(values);
  shows_dates_ = layout::shows_date(code_);
  difference_code_ = shows_dates_ ? kWhole : code_;
}

std::string Figures::text(double value) const {
  if (std::isnan(value)) return kNoNumber;
  const std::string text = formatted(value, code_, language_);
  // A date before the calendar is a row of hashes.
  return text.find_first_not_of('#') == std::string::npos ? formatted(value, kWhole, language_) : text;
}

std::string Figures::difference(double value) const {
  return std::isnan(value) ? kNoNumber : formatted(value, difference_code_, language_);
}

Json Figures::rules() const {
  return rules_of(code_, language_);
}

}  // namespace ordvane::page
