// Number format codes as cells show them. Expected texts are what the spreadsheet shows.
#include "office/number_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <vector>

namespace ordvane::office {
namespace {

using host::CellError;
using host::CellValue;

const struct {
  const char* code;
  std::vector<CellValue> values;
  const char* shown;  // the texts of the values, parted by bars
} kFormats[] = {
    {"General",
     {0.0,           1234.5,         -0.1,
      0.1 + 0.2,     1.0 / 3,        123456.789123,
      99999999999.0, 100000000000.0, 123456789012.0,
      -1e-7,         1.23456789e-5,  9999999999.9,
      12345678901.5, 99999999999.9,  -123456789012.0,
      9e12,          0.00012345678,  0.00009999999999,
      1e-5,          1e-9,           1e-10,
      2.5e-9,        1e300},
     "0|1234.5|-0.1|0.3|0.333333333|123456.7891|99999999999|1E+11|1.23457E+11|-0.0000001|1.23457E-05|"
     "10000000000|12345678902|1E+11|-1.23457E+11|9E+12|0.000123457|0.0001|0.00001|0.000000001|1E-10|2.5E-09|"
     "1E+300"},
    {"", {2.5}, "2.5"},
    {"0", {2.5, -2.5, 0.4}, "3|-3|0"},
    {"0.00",
     {1.005, 2.0, 1e15, "text", CellError::kDiv0, CellValue::boolean(true), {}},
     "1.01|2.00|1000000000000000.00|text|#DIV/0!|TRUE|"},
    {"#.##", {0.0, 0.5}, ".|.5"},
    {"0.0#", {1.25, 1.2}, "1.25|1.2"},
    {"000", {7.0}, "007"},
    {"00-00", {1234.0}, "12-34"},
    {"#,##0", {1234567.0, -999.6}, "1,234,567|-1,000"},
    {"#,##0.00", {0.0}, "0.00"},
    {"0,000", {12.0}, "0,012"},
    {"0,", {12345.0}, "12"},
    {"0.0,,\" M\"", {12345678.0}, "12.3 M"},
    {"0.00%", {0.12345}, "12.35%"},
    {"0%", {-0.5}, "-50%"},
    {"?0.0?", {1.5}, " 1.5 "},
    {"0.00E+00", {12345.0, 0.0}, "1.23E+04|0.00E+00"},
    {"0.0E-0", {0.00012, 120000.0}, "1.2E-4|1.2E5"},
    {"0.0E+0", {9.99}, "1.0E+1"},
    {"##0.0E+0", {12345.0}, "12.3E+3"},
    {"#\\ ##0\" €\"", {1234567.0}, "1234 567 €"},
    {"\"Level \"0", {3.0}, "Level 3"},
    {"\\€0", {3.0}, "€3"},
    {"$0.00", {3.0}, "$3.00"},
    {"[$€-407] #,##0.00", {5.0}, "€ 5.00"},
    {"#,##0.00\\ [$kr-41D]", {5.0}, "5.00 kr"},
    {"_(0_)", {5.0}, " 5 "},
    {"*-0", {5.0}, "5"},
    {"0;(0)", {-5.0, 5.0}, "(5)|5"},
    {"0;-0;\"none\"", {0.0}, "none"},
    {"0.0;[Red]-0.0", {-1.25}, "-1.3"},
    {"[Blue]0", {-4.0}, "-4"},
    {";;", {4.0}, ""},
    {"[<1000]0;[>=1000]0.0,\"k\"", {1500.0, 15.0}, "1.5k|15"},
    {"[=1]\"yes\";\"no\"", {1.0}, "yes"},
    {"[>100]0.0;0.00;0.000", {200.0, 5.0, -5.0}, "200.0|5.000|5.00"},
    {"[<-3]0;[>3]0.0", {-4.0, 4.0, 1.0}, "-4|4.0|########"},
    {"[>=10]0.0", {12.0, 2.5}, "12.0|2.5"},
    {"0.0;-0.0", {-0.01}, "-0.0"},
    {"# ?/?",
     {0.0, 0.5, 12.0, -1.0 / 3, 5.25, -7.9999, 3.14159, 1e-9},
     "0    | 1/2|12    |- 1/3|5 1/4|-8    |3 1/7|0    "},
    {"# \?\?/??", {0.5, 0.126, 3.14159, 12.0}, "  1/2 | 12/95|3 14/99|12      "},
    {"# \?\?\?/???", {0.126, 3.14159}, "  63/500|3  16/113"},
    {"\?\?/??", {-0.5, 12.0, 3.14159}, "- 1/2 |12/1 |311/99"},
    {"0/8", {0.5, 12.0, -0.3333}, "4/8|96/8|-3/8"},
    {"#,##0 \?\?/16\"x\"", {1234.75, 0.9999}, "1,234 12/16x|1    x"},
    {"0 0/0", {12.0, 0.125}, "12 0/1|0 1/8"},
    {"# ?/?", {1e16, 1e300}, "1E+16|1E+300"},
    {"0/", {0.25}, "0.25"},
    {"0/0/0", {0.25}, "0.25"},
    {"0;0;0;\"<\"@\">\"", {"text", 3.0}, "<text>|3"},
    {"@", {1.5}, "1.5"},
    {"yyyy-mm-dd",
     {45000.0, 1.0, 59.0, 60.0, 61.0, 36585.0, 2958465.0, 2958466.0, -1.0},
     "2023-03-15|1900-01-01|1900-02-28|1900-02-29|1900-03-01|2000-02-29|9999-12-31|########|########"},
    {"mm/dd/yyyy", {45000.0}, "03/15/2023"},
    {"d.m.yy", {45000.0}, "15.3.23"},
    {"ddd dddd", {45000.0}, "Wed Wednesday"},
    {"mmm mmmm mmmmm", {45000.0}, "Mar March M"},
    {"h:mm:ss", {0.5, 0.999999999}, "12:00:00|0:00:00"},
    {"hh:mm", {0.75 + 1.0 / 1440}, "18:01"},
    {"h:mm AM/PM", {0.0}, "12:00 AM"},
    {"h:mm A/P", {0.75}, "6:00 P"},
    {"mm:ss", {0.5 + 61.0 / 86400}, "01:01"},
    {"mm:ss.00", {1.5 / 86400}, "00:01.50"},
    {"[h]:mm", {1.5}, "36:00"},
    {"[mm]", {0.1}, "144"},
    {"ss.dddd", {3.0}, "00.Tuesday"},
    {"d \"days\"", {3.0}, "3 days"},
};

TEST(NumberFormat, ShowsValuesAsTheSpreadsheetDoes) {
  for (const auto& format : kFormats) {
    std::string shown;
    for (const CellValue& value : format.values)
      shown += (&value == &format.values.front() ? "" : "|") + displayed_text(value, format.code);
    EXPECT_EQ(shown, format.shown) << format.code;
  }
}

// The C library rounds the exact binary value, cells its first 15 digits; both agree away from halves.
TEST(NumberFormat, AgreesWithTheCLibraryOnPlainDecimals) {
  std::uint64_t state = 1;
  for (int i = 0; i < 20000; ++i) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    const double number =
        (static_cast<double>(state >> 40U) - 8e6) * std::pow(10, -static_cast<int>(state >> 8U & 7U)) + 1e-9;
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.3f", number);
    EXPECT_EQ(displayed_text(number, "0.000"), expected);
    const double shown = std::strtod(displayed_text(number, "General").c_str(), nullptr);
    EXPECT_NEAR(shown, number, std::fabs(number) * 1e-5 + 1e-9);
  }
}

TEST(NumberFormat, TakesAnyText) {
  const std::string characters = "0#?.,%E+-;[]\"\\_*@yMdhs/AP$<>=G ";
  std::uint64_t state = 7;
  for (int i = 0; i < 20000; ++i) {
    std::string code;
    for (int length = 0; length < 9; ++length) {
      state = state * 6364136223846793005U + 1442695040888963407U;
      code += characters[(state >> 33U) % characters.size()];
    }
    for (const double number : {0.0, -1.5, 1e300, 45000.25, 1e-300}) {
      const std::string shown = displayed_text(number, code);
      EXPECT_LT(shown.size(), 450U) << code;
    }
  }
}

}  // namespace
}  // namespace ordvane::office
