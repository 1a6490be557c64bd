// Days of the calendar as numbers: day 0 is 30 December 1899, or 1 January 1904 in workbooks that count from
// there. The year 1900 has no 29 February here, so days before March 1900 are one later than Excel, which
// gives it one, has them.
#pragma once

#include <cstdint>

namespace ordvane::calc {

// Years as they were counted if the present calendar had always been in force.
struct Date {
  std::int64_t year = 1899;
  int month = 12, day = 30;  // from 1
};

class Calendar {
 public:
  explicit Calendar(bool counts_from_1904) : first_(counts_from_1904 ? 1462 : 0) {}

  Date date(std::int64_t day) const;
  // Months beyond 1 to 12 and days beyond the month's run on into other years and months.
  std::int64_t day(std::int64_t year, std::int64_t month, std::int64_t day) const;
  std::int64_t day(const Date& date) const { return day(date.year, date.month, date.day); }
  // 0: Monday.
  int weekday(std::int64_t day) const;

 private:
  std::int64_t first_;  // day 0, in days since 30 December 1899
};

bool is_leap(std::int64_t year);
int days_in_month(std::int64_t year, int month);

}  // namespace ordvane::calc
