// How many days, and what part of a year, lie between two dates: the five conventions of money.
#pragma once

#include <cstdint>

#include "calc/call.h"
#include "text/calendar.h"

namespace ordvane::calc {

enum class Basis : std::uint8_t {
  kAmerican360,  // twelve months of 30 days, as American bonds count them
  kActual,       // days and years as they are
  kActual360,
  kActual365,
  kEuropean360,
};

// Days that are no further away: years 5 to 32767.
inline constexpr double kFirstDay = -692000, kLastDay = 11274306;
// The day of an argument, its time cut off towards day 0. Fails for what is no date.
std::int64_t day_of(Call& call, int argument);

// Twelve months of 30 days, the ends of months as DAYS360 takes them.
double american_days(text::Date start, text::Date end);
double european_days(text::Date start, text::Date end);
// Without any rule for the ends of months.
double plain_days(const text::Date& start, const text::Date& end);

// In their order, or the other way round for year_fraction().
double days_between(const text::Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis);
double year_fraction(const text::Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis);

}  // namespace ordvane::calc
