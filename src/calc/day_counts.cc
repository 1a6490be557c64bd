#include "calc/day_counts.h"

#include <algorithm>
#include <utility>

#include "calc/rounding.h"

namespace ordvane::calc {
namespace {

using text::Calendar;
using text::Date;
using text::days_in_month;
using text::is_leap;

bool ends_february(const Date& date) {
  return date.month == 2 && date.day == days_in_month(date.year, 2);
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

// As bonds count them: a 31st at the end counts only after a day before the 30th, the end of February among
// them, which is a 30th at the start, and at the end of what begins with it.
double bond_days(Date start, Date end) {
  if (end.day == 31 && start.day >= 30) end.day = 30;
  if (ends_february(start)) {
    if (ends_february(end)) end.day = 30;
    start.day = 30;
  }
  start.day = std::min(start.day, 30);
  return plain_days(start, end);
}

}  // namespace

std::int64_t day_of(Call& call, int argument) {
  const double day = whole_part(call.number(argument));
  if (day < kFirstDay || day > kLastDay) call.fail(ErrorCode::kArgument);
  return call.failed() ? 0 : static_cast<std::int64_t>(day);
}

double plain_days(const Date& start, const Date& end) {
  return static_cast<double>((end.year - start.year) * 360 + (end.month - start.month) * 30 + end.day -
                             start.day);
}

// European: every 31st is a 30th.
double european_days(Date start, Date end) {
  start.day = std::min(start.day, 30);
  end.day = std::min(end.day, 30);
  return plain_days(start, end);
}

// American: a 31st at the end counts only after a 30th or 31st at the start, which the end of February is,
// too.
double american_days(Date start, Date end) {
  start.day = ends_february(start) ? 30 : std::min(start.day, 30);
  if (end.day == 31 && start.day == 30) end.day = 30;
  return plain_days(start, end);
}

double days_between(const Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis) {
  if (basis == Basis::kAmerican360) return bond_days(calendar.date(start), calendar.date(end));
  if (basis == Basis::kEuropean360) return european_days(calendar.date(start), calendar.date(end));
  return static_cast<double>(end - start);
}

double year_fraction(const Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis) {
  if (start > end) std::swap(start, end);
  const double days = days_between(calendar, start, end, basis);
  if (basis == Basis::kActual) return days / year_length(calendar, calendar.date(start), calendar.date(end));
  return days / (basis == Basis::kActual365 ? 365 : 360);
}

}  // namespace ordvane::calc
