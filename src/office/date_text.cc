#include "office/date_text.h"

#include <array>
#include <cmath>
#include <cstdint>

#include "model/decimal.h"
#include "text/calendar.h"

namespace ordvane::office {
namespace {

using Token = NumberFormat::Token;
using Kind = Token::Kind;

constexpr std::array<const char*, 12> kMonths = {"January",   "February", "March",    "April",
                                                 "May",       "June",     "July",     "August",
                                                 "September", "October",  "November", "December"};
constexpr std::array<const char*, 7> kDays = {"Saturday",  "Sunday",   "Monday", "Tuesday",
                                              "Wednesday", "Thursday", "Friday"};

struct Moment {
  std::int64_t day = 0;  // serial
  text::Date date;
  std::int64_t seconds = 0;  // of the day
  double fraction = 0;       // of the second
};

std::string padded(std::int64_t number, std::size_t digits) {
  std::string text = std::to_string(number);
  if (text.size() < digits) text.insert(0, digits - text.size(), '0');
  return text;
}

std::string month_text(const Moment& moment, std::size_t length) {
  std::string name = kMonths[static_cast<std::size_t>(moment.date.month - 1)];
  switch (length) {
    case 3:
      return name.substr(0, 3);
    case 4:
      return name;
    case 5:
      return name.substr(0, 1);
    default:
      return padded(moment.date.month, length);
  }
}

std::string day_text(const Moment& moment, std::size_t length) {
  std::string name = kDays[static_cast<std::size_t>(moment.day % 7)];
  if (length > 3) return name;
  return length == 3 ? name.substr(0, 3) : padded(moment.date.day, length);
}

std::string date_token_text(const Moment& moment, const std::string& token, bool half_days) {
  const std::size_t length = token.size();
  const std::int64_t hour = moment.seconds / 3600;
  switch (token[0] | 0x20) {
    case 'y':
      return length <= 2 ? padded(moment.date.year % 100, 2) : padded(moment.date.year, 4);
    case 'm':
      return month_text(moment, length);
    case 'd':
      return day_text(moment, length);
    case 'h':
      return padded(half_days ? (hour + 11) % 12 + 1 : hour, std::min<std::size_t>(length, 2));
    case 's':
      return padded(moment.seconds % 60, std::min<std::size_t>(length, 2));
    default:  // AM/PM, A/P
      return token.substr(hour < 12 ? 0 : token.find('/') + 1, token.find('/'));
  }
}

std::string elapsed_text(const Moment& moment, const std::string& token) {
  const std::int64_t seconds = moment.day * 86400 + moment.seconds;
  const char unit = static_cast<char>(token[0] | 0x20);
  return padded(seconds / (unit == 'h' ? 3600 : unit == 'm' ? 60 : 1), token.size());
}

std::string fraction_text(const Moment& moment, std::size_t digits) {
  const double scaled = std::floor(moment.fraction * model::power_of_ten(static_cast<int>(digits)) + 0.5);
  return "." + padded(static_cast<std::int64_t>(scaled), digits);
}

// Rounds to the smallest unit of time that the section shows.
Moment moment_of(double serial, double units_of_second) {
  constexpr double kSecondsOfDay = 86400;
  Moment moment;
  moment.day = static_cast<std::int64_t>(std::floor(serial));
  const double units = std::floor((serial - std::floor(serial)) * kSecondsOfDay * units_of_second + 0.5);
  double seconds = std::floor(units / units_of_second);
  moment.fraction = units / units_of_second - seconds;
  if (seconds >= kSecondsOfDay) {
    seconds = 0;
    ++moment.day;
  }
  moment.seconds = static_cast<std::int64_t>(seconds);
  moment.date = text::spreadsheet_date(moment.day);
  return moment;
}

}  // namespace

std::optional<std::string> date_text(const NumberFormat::Section& section, double serial) {
  constexpr double kEnd = 2958466;  // 1 January 10000
  if (!(serial >= 0 && serial < kEnd)) return std::nullopt;
  bool half_days = false;
  double units_of_second = 1;
  for (const Token& token : section.tokens) {
    half_days = half_days || (token.kind == Kind::kDate && token.text.find('/') != std::string::npos);
    if (token.kind == Kind::kFraction)
      units_of_second = model::power_of_ten(static_cast<int>(token.text.size()) - 1);
  }
  const Moment moment = moment_of(serial, units_of_second);
  std::string text;
  for (const Token& token : section.tokens) {
    switch (token.kind) {
      case Kind::kDate:
        text += date_token_text(moment, token.text, half_days);
        break;
      case Kind::kMinute:
        text += padded(moment.seconds / 60 % 60, token.text.size());
        break;
      case Kind::kElapsed:
        text += elapsed_text(moment, token.text);
        break;
      case Kind::kFraction:
        text += fraction_text(moment, token.text.size() - 1);
        break;
      default:
        text += token.text;
    }
  }
  return text;
}

}  // namespace ordvane::office
