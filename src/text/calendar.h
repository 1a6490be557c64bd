// Days of the calendar, and the numbers that spreadsheets have for them. Standard library alone.
//
// Day 0 is 30 December 1899, or 1 January 1904 in workbooks that count from there. Excel counts a 29 February
// 1900 that never was: its days before March 1900 are one less than a Calendar's. spreadsheet_date follows
// Excel.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ordvane::text {

inline constexpr std::int64_t kFirstOfMarch1900 = 61;  // from here on all count alike
inline constexpr std::int64_t kLastSerial = 2958465;   // 31 December 9999

// Years as they were counted if the present calendar had always been in force.
struct Date {
  std::int64_t year = 1899;
  int month = 12, day = 30;  // from 1
};

class Calendar {
 public:
  explicit Calendar(bool counts_from_1904 = false) : first_(counts_from_1904 ? 1462 : 0) {}

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
int days_in_month(std::int64_t year, int month);  // month: 1 to 12
bool is_date(const Date& date);

// What a cell shows of a serial number from 0 (0 January 1900) to kLastSerial; 60 is 29 February 1900.
Date spreadsheet_date(std::int64_t serial);

Date date_of(std::chrono::sys_days day);
// "2026-01-31"
std::string iso_date(const Date& date);
// The date that a text is as a whole, from 1900 on.
std::optional<Date> date_of_iso(std::string_view text);
// "2026-01-31"; with the time where that is not midnight: "2026-01-31T14:30:00".
std::string iso_moment(std::chrono::sys_seconds moment);
std::optional<std::chrono::sys_seconds> moment_of_iso(std::string_view text);

}  // namespace ordvane::text
