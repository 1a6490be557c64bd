// Functions of dates and times of day.
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "calc/day_counts.h"
#include "calc/functions.h"
#include "calc/rounding.h"
#include "text/calendar.h"

namespace ordvane::calc {
namespace {

using text::Calendar;
using text::Date;
using text::days_in_month;

Calendar calendar_of(Call& call) {
  return Calendar(call.counts_from_1904());
}

// A day as a result.
Operand date_result(std::int64_t day) {
  const auto number = static_cast<double>(day);
  return number < kFirstDay || number > kLastDay ? Operand(ErrorCode::kArgument) : Operand(number);
}

Operand call_date(Call& call) {
  const double year = whole_part(call.number(0));
  const double month = whole_part(call.number(1));
  const double day = whole_part(call.number(2));
  if (year < 0 || year > 32767 || std::fabs(month) > 400000 || std::fabs(day) > 12000000)
    return ErrorCode::kArgument;
  const auto full_year = static_cast<std::int64_t>(year) + (year < 1900 ? 1900 : 0);
  return static_cast<double>(
      calendar_of(call).day(full_year, static_cast<std::int64_t>(month), static_cast<std::int64_t>(day)));
}

Operand call_year(Call& call) {
  return static_cast<double>(calendar_of(call).date(day_of(call, 0)).year);
}
Operand call_month(Call& call) {
  return static_cast<double>(calendar_of(call).date(day_of(call, 0)).month);
}
Operand call_day(Call& call) {
  return static_cast<double>(calendar_of(call).date(day_of(call, 0)).day);
}

// ---- Times of day ----

// Seconds since midnight, to as many decimals as make 15 digits with those of the day: 86399.9999999 on day
// 45000 is the next midnight.
double seconds_of(Call& call) {
  constexpr int kDecimalsOfOneDigit = 9;
  const double number = call.number(0), day = std::floor(number);
  int decimals = kDecimalsOfOneDigit;
  for (double rest = std::fabs(number); rest >= 10 && decimals > 0; rest /= 10) --decimals;
  const double unit = std::pow(10, decimals);
  return std::round((number - day) * 86400 * unit) / unit;
}

Operand call_hour(Call& call) {
  return std::fmod(std::floor(seconds_of(call) / 3600), 24);
}
Operand call_minute(Call& call) {
  return std::fmod(std::floor(seconds_of(call) / 60), 60);
}
Operand call_second(Call& call) {
  return std::fmod(std::round(seconds_of(call)), 60);
}

Operand call_time(Call& call) {
  const double hours = call.number(0), minutes = call.number(1);
  const double seconds = std::fmod(hours * 3600 + minutes * 60 + call.number(2), 86400);
  return seconds < 0 ? Operand(ErrorCode::kArgument) : Operand(seconds / 86400);
}

// ---- Months ----

Operand call_edate(Call& call) {
  const Calendar calendar = calendar_of(call);
  const Date date = calendar.date(day_of(call, 0));
  const double months = whole_part(call.number(1));
  if (std::fabs(months) > 400000) return ErrorCode::kArgument;
  const std::int64_t first = calendar.day(date.year, date.month + static_cast<std::int64_t>(months), 1);
  const Date target = calendar.date(first);
  return date_result(first + std::min(date.day, days_in_month(target.year, target.month)) - 1);
}

Operand call_eomonth(Call& call) {
  const Calendar calendar = calendar_of(call);
  const Date date = calendar.date(day_of(call, 0));
  const double months = whole_part(call.number(1));
  if (std::fabs(months) > 400000) return ErrorCode::kArgument;
  return date_result(calendar.day(date.year, date.month + static_cast<std::int64_t>(months) + 1, 1) - 1);
}

// ---- Differences ----

Operand call_days(Call& call) {
  const double end = call.number(0);
  return end - call.number(1);
}

Operand call_days360(Call& call) {
  const Calendar calendar = calendar_of(call);
  const Date start = calendar.date(day_of(call, 0));
  const Date end = calendar.date(day_of(call, 1));
  return call.logical(2, false) ? european_days(start, end) : american_days(start, end);
}

Operand call_yearfrac(Call& call) {
  const Calendar calendar = calendar_of(call);
  std::int64_t first = day_of(call, 0), last = day_of(call, 1);
  if (first > last) std::swap(first, last);
  const std::int64_t basis = call.whole(2, 0);
  if (basis < 0 || basis > 4) return ErrorCode::kArgument;
  return year_fraction(calendar, first, last, static_cast<Basis>(basis));
}

Operand call_datedif(Call& call) {
  const Calendar calendar = calendar_of(call);
  const std::int64_t first = day_of(call, 0), last = day_of(call, 1);
  std::string unit = call.text(2);
  std::transform(unit.begin(), unit.end(), unit.begin(), [](char c) { return static_cast<char>(c | 0x20); });
  if (first > last) return ErrorCode::kArgument;
  const Date start = calendar.date(first), end = calendar.date(last);
  const std::int64_t months =
      (end.year - start.year) * 12 + end.month - start.month - (end.day < start.day ? 1 : 0);
  if (unit == "d") return static_cast<double>(last - first);
  if (unit == "m") return static_cast<double>(months);
  if (unit == "y") return static_cast<double>(months / 12);
  if (unit == "ym") return static_cast<double>(months % 12);
  if (unit == "md") {
    // Days since the same day of the month before; that month's length decides.
    if (end.day >= start.day) return static_cast<double>(end.day - start.day);
    return static_cast<double>(last - calendar.day(end.year, end.month - 1, start.day));
  }
  if (unit == "yd") {
    const std::int64_t year = end.year - (calendar.day(end.year, start.month, start.day) > last ? 1 : 0);
    return static_cast<double>(last - calendar.day(year, start.month, start.day));
  }
  return ErrorCode::kArgument;
}

// ---- Weeks ----

Operand call_weekday(Call& call) {
  const std::int64_t day = day_of(call, 0);
  const std::int64_t type = call.whole(1, 1);
  const int from_monday = calendar_of(call).weekday(day);
  if (type == 1) return static_cast<double>((from_monday + 1) % 7 + 1);
  if (type == 2) return static_cast<double>(from_monday + 1);
  if (type == 3) return static_cast<double>(from_monday);
  if (type < 11 || type > 17) return ErrorCode::kArgument;
  return static_cast<double>((from_monday - (type - 11) + 7) % 7 + 1);
}

// The week that holds the year's first Thursday is its first.
std::int64_t iso_week(const Calendar& calendar, std::int64_t day) {
  const std::int64_t thursday = day - calendar.weekday(day) + 3;
  const std::int64_t first = calendar.day(calendar.date(thursday).year, 1, 1);
  return (thursday - first) / 7 + 1;
}

Operand call_isoweeknum(Call& call) {
  return static_cast<double>(iso_week(calendar_of(call), day_of(call, 0)));
}

Operand call_weeknum(Call& call) {
  const Calendar calendar = calendar_of(call);
  const std::int64_t day = day_of(call, 0);
  const std::int64_t type = call.whole(1, 1);
  if (type == 21 || type == 150) return static_cast<double>(iso_week(calendar, day));
  std::int64_t first_weekday = 0;  // from Monday
  if (type == 1) {
    first_weekday = 6;
  } else if (type == 2) {
    first_weekday = 0;
  } else if (type >= 11 && type <= 17) {
    first_weekday = type - 11;
  } else {
    return ErrorCode::kArgument;
  }
  const std::int64_t new_year = calendar.day(calendar.date(day).year, 1, 1);
  const std::int64_t before = (calendar.weekday(new_year) - first_weekday + 7) % 7;
  return static_cast<double>((day - new_year + before) / 7 + 1);
}

// ---- Working days ----

using Week = std::array<bool, 7>;  // from Monday: no work

// 1 to 7: two days, beginning with Saturday and Sunday; 11 to 17: one, beginning with Sunday; or seven digits
// from Monday, 1 for no work. Without any day of work it fails if that cannot be.
Week weekend_of(Call& call, int argument) {
  Week week{};
  if (call.missing(argument)) {
    week[5] = week[6] = true;
    return week;
  }
  if (const Value given = call.value(argument); given.is_text()) {
    if (given.text().size() != 7) call.fail(ErrorCode::kValue);
    if (call.failed()) return week;
    for (std::size_t i = 0; i < 7; ++i) {
      if (given.text()[i] != '0' && given.text()[i] != '1') call.fail(ErrorCode::kValue);
      week[i] = given.text()[i] == '1';
    }
    return week;
  }
  const std::int64_t code = call.whole(argument);
  if (code >= 1 && code <= 7) {
    week[static_cast<std::size_t>((code + 4) % 7)] = week[static_cast<std::size_t>((code + 5) % 7)] = true;
  } else if (code >= 11 && code <= 17) {
    week[static_cast<std::size_t>((code - 11 + 6) % 7)] = true;
  } else {
    call.fail(ErrorCode::kArgument);
  }
  return week;
}

std::vector<std::int64_t> holidays_of(Call& call, int argument) {
  std::vector<std::int64_t> days;
  if (call.missing(argument)) return days;
  call.each_number_of(argument, [&](double day) {
    // Others fall on no day that is asked for.
    if (std::fabs(day) <= kLastDay) days.push_back(static_cast<std::int64_t>(floor_of(day)));
  });
  std::sort(days.begin(), days.end());
  return days;
}

bool works(const Calendar& calendar, const Week& weekend, const std::vector<std::int64_t>& holidays,
           std::int64_t day) {
  return !weekend[static_cast<std::size_t>(calendar.weekday(day))] &&
         !std::binary_search(holidays.begin(), holidays.end(), day);
}

bool all_free(const Week& week) {
  return std::all_of(week.begin(), week.end(), [](bool is_free) { return is_free; });
}

Operand working_days(Call& call, const Week& weekend, int holidays_argument) {
  const Calendar calendar = calendar_of(call);
  const std::int64_t start = day_of(call, 0), end = day_of(call, 1);
  const std::vector<std::int64_t> holidays = holidays_of(call, holidays_argument);
  if (call.failed()) return 0.0;
  const std::int64_t first = std::min(start, end), last = std::max(start, end);
  // Whole weeks at once, the days that are left and the holidays one by one.
  std::int64_t working = 0;
  for (const bool is_free : weekend) working += is_free ? 0 : 1;
  const std::int64_t weeks = (last - first + 1) / 7;
  std::int64_t count = weeks * working;
  for (std::int64_t day = first + weeks * 7; day <= last; ++day)
    count += works(calendar, weekend, {}, day) ? 1 : 0;
  std::int64_t before = first - 1;
  for (const std::int64_t day : holidays) {
    if (day > before && day <= last) count -= works(calendar, weekend, {}, day) ? 1 : 0;
    before = std::max(before, day);
  }
  return static_cast<double>(start <= end ? count : -count);
}

// Where days before day 0 do not count.
void refuse_early(Call& call, int argument) {
  if (call.number(argument) < 0) call.fail(ErrorCode::kArgument);
}

Operand call_networkdays(Call& call) {
  refuse_early(call, 0);
  refuse_early(call, 1);
  Week weekend{};
  weekend[5] = weekend[6] = true;
  return working_days(call, weekend, 2);
}

Operand call_networkdays_intl(Call& call) {
  refuse_early(call, 0);
  refuse_early(call, 1);
  const Week weekend = weekend_of(call, 2);
  return working_days(call, weekend, 3);
}

Operand working_day(Call& call, const Week& weekend, int holidays_argument) {
  const Calendar calendar = calendar_of(call);
  std::int64_t day = day_of(call, 0);
  const double count = whole_part(call.number(1));
  if (std::fabs(count) > kLastDay) return ErrorCode::kArgument;
  auto left = static_cast<std::int64_t>(count);
  const std::vector<std::int64_t> holidays = holidays_of(call, holidays_argument);
  if (all_free(weekend)) return ErrorCode::kValue;
  if (call.failed()) return 0.0;
  const int step = left < 0 ? -1 : 1;
  while (left != 0) {
    day += step;
    if (works(calendar, weekend, holidays, day)) left -= step;
  }
  return static_cast<double>(day);
}

Operand call_workday(Call& call) {
  Week weekend{};
  weekend[5] = weekend[6] = true;
  return working_day(call, weekend, 2);
}

Operand call_workday_intl(Call& call) {
  refuse_early(call, 0);
  const Week weekend = weekend_of(call, 2);
  const Operand day = working_day(call, weekend, 3);
  return day.value.is_number() && day.value.number() < 0 ? Operand(ErrorCode::kArgument) : day;
}

constexpr Function kCalendarFunctions[] = {
    {"DATE", 3, 3, "s", call_date},
    {"DATEDIF", 3, 3, "s", call_datedif},
    {"DAY", 1, 1, "s", call_day},
    {"DAYS", 2, 2, "s", call_days},
    {"DAYS360", 2, 3, "s", call_days360},
    {"EDATE", 2, 2, "s", call_edate},
    {"EOMONTH", 2, 2, "s", call_eomonth},
    {"HOUR", 1, 1, "s", call_hour},
    {"ISOWEEKNUM", 1, 1, "s", call_isoweeknum},
    {"MINUTE", 1, 1, "s", call_minute},
    {"MONTH", 1, 1, "s", call_month},
    {"NETWORKDAYS", 2, 3, "ssr", call_networkdays},
    {"NETWORKDAYS.INTL", 2, 4, "sssr", call_networkdays_intl},
    {"SECOND", 1, 1, "s", call_second},
    {"TIME", 3, 3, "s", call_time},
    {"WEEKDAY", 1, 2, "s", call_weekday},
    {"WEEKNUM", 1, 2, "s", call_weeknum},
    {"WORKDAY", 2, 3, "ssr", call_workday},
    {"WORKDAY.INTL", 2, 4, "sssr", call_workday_intl},
    {"YEAR", 1, 1, "s", call_year},
    {"YEARFRAC", 2, 3, "s", call_yearfrac},
};

}  // namespace

std::span<const Function> calendar_functions() {
  return kCalendarFunctions;
}

}  // namespace ordvane::calc
