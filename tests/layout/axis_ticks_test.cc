// Ticks of value axes: round units and bounds, as many as have room, and texts that differ.
#include "layout/axis_ticks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "environment/standard_environment.h"
#include "layout/format_codes.h"
#include "office/number_format.h"

namespace ordvane::layout {
namespace {

AxisTicks ticks_of(double low, double high, const std::string& format, double length = 300,
                   bool upright = false) {
  environment::StandardNumberService numbers;
  return axis_ticks(numbers, low, high, format, {length, upright});
}

TEST(AxisTicks, HaveRoundBoundsAndUnits) {
  struct Case {
    const char* what;
    double low, high;
    const char* format;
    double length;
    double minimum, maximum, unit;
    const char* tick_format;
  };
  constexpr double kLong = 300, kShort = 120;
  for (const Case& c : {
           Case{"as the range asks", 1210, 2882, "#,##0", kLong, 1200, 3000, 200, "#,##0"},
           Case{"bounds of the final unit", 1210, 2882, "#,##0.00 \"EUR\"", 160, 1000, 3000, 1000,
                "#,##0.00 \"EUR\""},
           Case{"zero is a tick", -37, 120, "0", kShort, -50, 150, 50, "0"},
           Case{"zero is the end", 1.2e-16, 0.9, "", kLong, 0, 0.9, 0.1, "0.0"},
           Case{"a hair below zero", -1.2e-16, 0.9, "", kLong, 0, 0.9, 0.1, "0.0"},
           Case{"decimals of the unit", 0.5, 2.1, "#,##0", kLong, 0.4, 2.2, 0.2, "#,##0.0"},
           Case{"percent gets what it needs", 0.001, 0.029, "0%", kLong, 0, 0.03, 0.005, "0.0%"},
           Case{"and no more", -0.4, 0.43, "0.00%", kLong, -0.4, 0.5, 0.1, "0%"},
           Case{"thousands", 400000, 2300000, "0.0,,\"M\"", kLong, 0, 2500000, 500000, "0.0,,\"M\""},
           Case{"parts of thousands", 400000, 2300000, "0,,\"M\"", kLong, 0, 2500000, 500000, "0.0,,\"M\""},
           Case{"every section", 0.5, 2.1, "0;[Red]-0;\"nil\"", kLong, 0.4, 2.2, 0.2,
                "0.0;[Red]-0.0;\"nil\""},
           Case{"accounting", 1210, 2882, "_-* #,##0\\ _E_-;-* #,##0\\ _E_-", kLong, 1200, 3000, 200,
                "#,##0\\ ;-#,##0\\ "},
           Case{"general", 1210, 2882, "General", kLong, 1200, 3000, 200, "General"},
           Case{"scientific", 3e-7, 2.2e-6, "0.00E+00", kLong, 0, 2.5e-6, 5e-7, "0.00E+00"},
           Case{"one value", 5, 5, "0.00", kLong, 4.4, 5.6, 0.2, "0.00"},
           Case{"the other way round", 48, 12, "0", kLong, 10, 50, 5, "0"},
       }) {
    const AxisTicks ticks = ticks_of(c.low, c.high, c.format, c.length);
    EXPECT_DOUBLE_EQ(ticks.minimum, c.minimum) << c.what;
    EXPECT_DOUBLE_EQ(ticks.maximum, c.maximum) << c.what;
    EXPECT_DOUBLE_EQ(ticks.unit, c.unit) << c.what;
    EXPECT_EQ(ticks.format, c.tick_format) << c.what;
  }
}

// Texts of all ticks; it fails the test when two are alike.
std::vector<std::string> tick_texts(const AxisTicks& ticks) {
  std::vector<std::string> texts;
  std::set<std::string> seen;
  const double count = std::round((ticks.maximum - ticks.minimum) / ticks.unit);
  for (double i = 0; i <= count; ++i) {
    texts.push_back(office::displayed_text(ticks.minimum + i * ticks.unit, ticks.format));
    EXPECT_TRUE(seen.insert(texts.back()).second) << texts.back() << " stands twice";
  }
  return texts;
}

TEST(AxisTicks, OfDatesAreWhatPeopleCount) {
  constexpr double k2025 = 45658;
  const struct {
    const char* what;
    double low, high;  // days from 1 January 2025
    const char* format;
    double length;
    const char* texts;
  } cases[] = {
      {"days", 1.2, 4.9, "dd.mm.", 300, "02.01. | 03.01. | 04.01. | 05.01. | 06.01."},
      {"mondays", 6, 30, "d mmm yyyy", 400,
       "6 Jan 2025 | 13 Jan 2025 | 20 Jan 2025 | 27 Jan 2025 | 3 Feb 2025"},
      {"months", 3, 120, "mmm yyyy", 400, "Jan 2025 | Feb 2025 | Mar 2025 | Apr 2025 | May 2025"},
      {"months of a leap year", 1102, 1200, "mmm yy", 400, "Jan 28 | Feb 28 | Mar 28 | Apr 28 | May 28"},
      {"quarters", 3, 400, "dd.mm.yyyy", 400,
       "01.01.2025 | 02.04.2025 | 02.07.2025 | 01.10.2025 | 01.01.2026 | 02.04.2026"},
      {"from the day of a tick on", 0, 364, "dd.mm.yyyy", 400,
       "01.01.2025 | 02.04.2025 | 02.07.2025 | 01.10.2025 | 01.01.2026"},
      {"years", 100, 1500, "yyyy-mm-dd", 400,
       "2025-01-01 | 2026-01-01 | 2027-01-01 | 2028-01-01 | 2029-01-01 | 2030-01-01"},
      {"years where days have no room", -800, 800, "dd.mm.yyyy", 180,
       "01.01.2022 | 01.01.2024 | 01.01.2026 | 01.01.2028"},
      {"one day", 0, 0, "dd.mm.yyyy", 400, "30.12.2024 | 31.12.2024 | 01.01.2025 | 02.01.2025 | 03.01.2025"},
      {"hours", 0.26, 0.74, "hh:mm", 400, "06:00 | 08:00 | 10:00 | 12:00 | 14:00 | 16:00 | 18:00"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    std::string texts;
    for (const std::string& text : tick_texts(ticks_of(k2025 + c.low, k2025 + c.high, c.format, c.length)))
      texts += (texts.empty() ? "" : " | ") + text;
    EXPECT_EQ(texts, c.texts);
  }
}

TEST(AxisTicks, HoldTheDataInTicksThatDiffer) {
  constexpr double kMagnitudes[] = {3e-7, 0.07, 1, 46023, 1.7e12};
  constexpr double kShapes[] = {-1, -0.3, -1e-5, 0, 0.1, 1.0 / 3, 0.9999, 1};
  for (const char* format : {"", "0%", "#,##0", "\"about \"#,##0.0", "mm/dd/yyyy"})
    for (const double length : {90.0, 250.0, 420.0})
      for (const bool upright : {false, true})
        for (const double magnitude : kMagnitudes)
          for (const double low : kShapes)
            for (const double high : kShapes) {
              const bool is_date = std::string(format).ends_with("yyyy");
              if (high < low || (is_date && (low < 0 || magnitude > 1e5))) continue;
              const AxisTicks ticks = ticks_of(low * magnitude, high * magnitude, format, length, upright);
              SCOPED_TRACE(testing::Message() << low * magnitude << " to " << high * magnitude << " "
                                              << format << ": " << ticks.minimum << " to " << ticks.maximum
                                              << " by " << ticks.unit << " " << ticks.format);
              EXPECT_LE(ticks.minimum, low * magnitude);
              EXPECT_GE(ticks.maximum, high * magnitude);
              EXPECT_LE((ticks.maximum - ticks.minimum) / ticks.unit, 11.001);
              const double zero = -ticks.minimum / ticks.unit;
              if (!is_date) {
                EXPECT_NEAR(zero, std::round(zero), 1e-6 * std::max(1.0, std::fabs(zero)));
              }
              tick_texts(ticks);
            }
}

TEST(ShowsDate, LooksAtTheCodesOfNumbers) {
  for (const char* format : {"dd.mm.yyyy", "[$-407]d. mmm", "[h]:mm", "yyyy;@", "h:mm AM/PM"})
    EXPECT_TRUE(shows_date(format)) << format;
  for (const char* format :
       {"", "General", "#,##0 \"days\"", "0\\d", "[Red]0", "[$USD] 0", "_d0*h", "0;dd", "[=1]0"})
    EXPECT_FALSE(shows_date(format)) << format;
}

}  // namespace
}  // namespace ordvane::layout
