#include "text/calendar.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace ordvane::text {
namespace {

// From 1 March of year 0, with years that begin in March, to 30 December 1899.
constexpr std::int64_t kMarchYearZero = 693899;

std::int64_t floor_division(std::int64_t number, std::int64_t divisor) {
  return number / divisor - (number % divisor < 0 ? 1 : 0);
}

}  // namespace

bool is_leap(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int days_in_month(std::int64_t year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap(year) ? 29 : kDays[month - 1];
}

bool is_date(const Date& date) {
  return date.month >= 1 && date.month <= 12 && date.day >= 1 &&
         date.day <= days_in_month(date.year, date.month);
}

std::int64_t Calendar::day(std::int64_t year, std::int64_t month, std::int64_t day) const {
  const std::int64_t months = year * 12 + month - 3;  // since March of year 0
  const std::int64_t march_year = floor_division(months, 12);
  const std::int64_t in_year = months - march_year * 12;
  const std::int64_t days = march_year * 365 + floor_division(march_year, 4) -
                            floor_division(march_year, 100) + floor_division(march_year, 400) +
                            (in_year * 153 + 2) / 5 + day - 1;
  return days - kMarchYearZero - first_;
}

Date Calendar::date(std::int64_t day) const {
  const std::int64_t days = day + first_ + kMarchYearZero;
  const std::int64_t era = floor_division(days, 146097);  // 400 years
  const std::int64_t in_era = days - era * 146097;
  const std::int64_t year_of_era = (in_era - in_era / 1460 + in_era / 36524 - in_era / 146096) / 365;
  const std::int64_t in_year = in_era - (year_of_era * 365 + year_of_era / 4 - year_of_era / 100);
  const std::int64_t month = (in_year * 5 + 2) / 153;  // from March
  Date result;
  result.day = static_cast<int>(in_year - (month * 153 + 2) / 5 + 1);
  result.month = static_cast<int>(month < 10 ? month + 3 : month - 9);
  result.year = year_of_era + era * 400 + (result.month <= 2 ? 1 : 0);
  return result;
}

int Calendar::weekday(std::int64_t day) const {
  const std::int64_t days = day + first_ + 5;  // 30 December 1899 was a Saturday
  return static_cast<int>(days - floor_division(days, 7) * 7);
}

Date spreadsheet_date(std::int64_t serial) {
  constexpr std::int64_t kLeapDay = kFirstOfMarch1900 - 1;  // 29 February 1900, which never was
  if (serial == 0) return {1900, 1, 0};
  if (serial == kLeapDay) return {1900, 2, 29};
  return Calendar().date(serial + (serial < kLeapDay ? 1 : 0));
}

Date date_of(std::chrono::sys_days day) {
  const std::chrono::year_month_day date(day);
  return {static_cast<int>(date.year()), static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day()))};
}

namespace {

std::string padded(std::int64_t number, std::size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

// Digits up to `end`, which is taken too; 0: the end of the text.
template <class Number>
bool take_number(std::string_view& text, Number& number, char end) {
  if (text.empty() || text.front() == '-') return false;
  const char* const last = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), last, number);
  if (error != std::errc() || (end == '\0') != (stop == last) || (stop != last && *stop != end)) return false;
  text.remove_prefix(static_cast<std::size_t>(stop - text.data()) + (stop == last ? 0 : 1));
  return true;
}

}  // namespace

std::string iso_date(const Date& date) {
  return padded(date.year, 4) + "-" + padded(date.month, 2) + "-" + padded(date.day, 2);
}

std::optional<Date> date_of_iso(std::string_view text) {
  Date date;
  if (!take_number(text, date.year, '-') || !take_number(text, date.month, '-') ||
      !take_number(text, date.day, '\0'))
    return std::nullopt;
  if (date.year < 1900 || date.year > 9999 || !is_date(date)) return std::nullopt;
  return date;
}

std::string iso_moment(std::chrono::sys_seconds moment) {
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::hh_mm_ss time(moment - day);
  std::string date = iso_date(date_of(day));
  if (moment == day) return date;
  return date + "T" + padded(time.hours().count(), 2) + ":" + padded(time.minutes().count(), 2) + ":" +
         padded(time.seconds().count(), 2);
}

std::optional<std::chrono::sys_seconds> moment_of_iso(std::string_view text) {
  const std::size_t separator = text.find('T');
  const std::optional<Date> date = date_of_iso(text.substr(0, separator));
  int hour = 0, minute = 0, second = 0;
  if (separator != std::string_view::npos) {
    text.remove_prefix(separator + 1);
    if (!take_number(text, hour, ':') || !take_number(text, minute, ':') || !take_number(text, second, '\0'))
      return std::nullopt;
  }
  constexpr std::int64_t kBefore1970 = 25569;
  if (!date || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  return std::chrono::sys_days(std::chrono::days(Calendar().day(*date) - kBefore1970)) +
         std::chrono::hours(hour) + std::chrono::minutes(minute) + std::chrono::seconds(second);
}

}  // namespace ordvane::text
