// How many days, and what part of a year, lie between two dates: the five conventions of money.
#pragma once

#include <cstdint>

#include "text/calendar.h"

namespace ordvane::calc {

enum class Basis : std::uint8_t {
  kAmerican360,  // twelve months of 30 days, as American bonds count them
  kActual,       // days and years as they are
  kActual360,
  kActual365,
  kEuropean360,
};

// Twelve months of 30 days.
double american_days(text::Date start, text::Date end);
double european_days(text::Date start, text::Date end);

// Both of days in their order.
double days_between(const text::Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis);
double year_fraction(const text::Calendar& calendar, std::int64_t start, std::int64_t end, Basis basis);

}  // namespace ordvane::calc
