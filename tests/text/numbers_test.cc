// Names of cells and days of the calendar: what every folder reads and writes through them.
#include <gtest/gtest.h>

#include <string>

#include "text/calendar.h"
#include "text/cell_names.h"

namespace ordvane::text {
namespace {

TEST(CellNames, CountLettersWithoutAZero) {
  struct Case {
    std::int32_t column;
    std::string name;
  };
  for (const Case& c : {Case{1, "A"}, Case{26, "Z"}, Case{27, "AA"}, Case{52, "AZ"}, Case{702, "ZZ"},
                        Case{703, "AAA"}, Case{kSheetColumns, "XFD"}, Case{0, ""}})
    EXPECT_EQ(column_name(c.column), c.name);
  EXPECT_EQ(cell_name(5, 28), "AB5");
  EXPECT_EQ(cell_name(5, 28, true), "$AB$5");
}

TEST(CellNames, ReadWhatTheyWriteAndNothingBeyondTheSheet) {
  for (std::int32_t column = 1; column <= kSheetColumns; ++column) {
    std::size_t at = 0;
    const std::string name = column_name(column);
    ASSERT_EQ(read_column(name + "1", at), column);
    ASSERT_EQ(at, name.size());
  }
  struct Case {
    std::string name;
    std::int32_t column, row;
  };
  for (const Case& c : {Case{"xfd1048576", kSheetColumns, kSheetRows},
                        Case{"XFE1048577", kBeyondSheet, kBeyondSheet}, Case{"A01", 1, 0}, Case{"A0", 1, 0},
                        Case{"AAAAAAAAAAAAAAAA99999999999999999999", -1, -1}, Case{"$A", 0, 0}}) {
    std::size_t at = 0;
    SCOPED_TRACE(c.name);
    EXPECT_EQ(read_column(c.name, at), c.column);
    EXPECT_EQ(read_row(c.name, at), c.row);
  }
}

TEST(Calendar, CountsTheDayThatNeverWasInSpreadsheetsOnly) {
  struct Case {
    std::int64_t serial;
    std::string shown, counted;
  };
  for (const Case& c :
       {Case{1, "1900-01-01", "1899-12-31"}, Case{30, "1900-01-30", "1900-01-29"},
        Case{59, "1900-02-28", "1900-02-27"}, Case{60, "1900-02-29", "1900-02-28"},
        Case{kFirstOfMarch1900, "1900-03-01", "1900-03-01"}, Case{kLastSerial, "9999-12-31", "9999-12-31"}}) {
    EXPECT_EQ(iso_date(spreadsheet_date(c.serial)), c.shown);
    EXPECT_EQ(iso_date(Calendar().date(c.serial)), c.counted);
  }
  EXPECT_TRUE(is_date({2000, 2, 29}));
  EXPECT_FALSE(is_date({1900, 2, 29}));
  // Every day of the calendar is one more than the day before it, in both counts.
  for (const bool from_1904 : {false, true}) {
    const Calendar calendar(from_1904);
    for (std::int64_t day = -1500; day <= kLastSerial - 1462; day += 13)
      ASSERT_EQ(calendar.day(calendar.date(day)), day);
    EXPECT_EQ(calendar.weekday(calendar.day(2026, 1, 31)), 5);
    EXPECT_EQ(calendar.day(2025, 13, 31), calendar.day(2026, 1, 31));
  }
}

}  // namespace
}  // namespace ordvane::text
