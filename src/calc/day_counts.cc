#include "calc/day_counts.h"

#include <algorithm>

namespace ordvane::calc {
namespace {

using text::Calendar;
using text::Date;
using text::days_in_month;
using text::is_leap;

bool ends_february(const Date& date) {
  return date.month == 2 && date.day == days_in_month(date.year, 2);
}

double days_of_360(const Date& start, const Date& end) {
  return static_cast<double>((end.year - start.year) * 360 + (end.month - start.month) * 30 + end.day -
                             start.day);
}

// Of the years that two dates lie in: their mean length, or 365 or 366 when they are no more than a year
// apart.
double year_length(const Calendar& calendar, const Date& start, const Date& end) {
  const bool within_a_year =
      start.year == end.year ||
      (start.year + 1 == end.year &&
       (end.month < start.month || (end.month == start.month && end.day <= start.day)));
  if (!within_a_year) {
    const std::int64_t days = calendar.day(end.year + 1, 1, 1) - calendar.day(start.year, 1, 1);
    return static_cast<double>(days) / static_cast<double>(end.year - start.year + 1);
  }
  if (start.year == end.year) return is_leap(start.year) ? 366 : 365;
  const bool first = is_leap(start.year) && start.month <= 2;
  const bool second = is_leap(end.year) && (end.month > 2 || (end.month == 2 && end.day == 29));
  return first || second ? 366 : 365;
}

}  // namespace

// European: every 31st is a 30th.
double european_days(Date start, Date end) {
  start.day = std::min(start.day, 30);
  end.day = std::min(end.day, 30);
  return days_of_360(start, end);
}

// American: a 31st at the end counts only after a 30th or 31st at the start; the end of February counts as a
// 30th.
double american_days(Date start, Date end) {
  if (ends_february(start)) {
    if (ends_february(end)) end.day = 30;
    start.day = 30;
  }
  if (end.day == 31 && start.day >= 30) end.day = 30;
  start.day = std::min(start.day, 30);
  return days_of_360(start, end);
}

double days_between(const Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis) {
  if (basis == Basis::kAmerican360) return american_days(calendar.date(start), calendar.date(end));
  if (basis == Basis::kEuropean360) return european_days(calendar.date(start), calendar.date(end));
  return static_cast<double>(end - start);
}

double year_fraction(const Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis) {
  const double days = days_between(calendar, start, end, basis);
  if (basis == Basis::kActual) return days / year_length(calendar, calendar.date(start), calendar.date(end));
  return days / (basis == Basis::kActual365 ? 365 : 360);
}

}  // namespace ordvane::calc
