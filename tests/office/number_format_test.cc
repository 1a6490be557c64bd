// Number format codes as cells show them. Expected texts are what the spreadsheet shows.
#include "office/number_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

namespace ordvane::office {
namespace {

using host::CellError;
using host::CellValue;

struct Case {
  const char* format;
  CellValue value;
  const char* shown;
};

TEST(NumberFormat, ShowsNumbersAsTheSpreadsheetDoes) {
  const Case cases[] = {
      // General: 11 characters at most, exponents beyond
      {"General", 0.0, "0"},
      {"General", 1234.5, "1234.5"},
      {"General", -0.1, "-0.1"},
      {"General", 0.1 + 0.2, "0.3"},
      {"General", 1.0 / 3, "0.333333333"},
      {"General", 123456.789123, "123456.7891"},
      {"General", 99999999999.0, "99999999999"},
      {"General", 100000000000.0, "1E+11"},
      {"General", 123456789012.0, "1.23457E+11"},
      {"General", -1e-7, "-0.0000001"},
      {"General", 1.23456789e-5, "1.23457E-05"},
      {"General", 9999999999.9, "10000000000"},
      {"General", 12345678901.5, "12345678902"},
      {"General", 99999999999.9, "1E+11"},
      {"General", -123456789012.0, "-1.23457E+11"},
      {"General", 9e12, "9E+12"},
      {"General", 0.00012345678, "0.000123457"},
      {"General", 0.00009999999999, "0.0001"},
      {"General", 1e-5, "0.00001"},
      {"General", 1e-9, "0.000000001"},
      {"General", 1e-10, "1E-10"},
      {"General", 2.5e-9, "2.5E-09"},
      {"General", 1e300, "1E+300"},
      {"", 2.5, "2.5"},
      // places
      {"0", 2.5, "3"},
      {"0", -2.5, "-3"},
      {"0", 0.4, "0"},
      {"0.00", 1.005, "1.01"},
      {"0.00", 2.0, "2.00"},
      {"0.00", 1e15, "1000000000000000.00"},
      {"#.##", 0.0, "."},
      {"#.##", 0.5, ".5"},
      {"0.0#", 1.25, "1.25"},
      {"0.0#", 1.2, "1.2"},
      {"000", 7.0, "007"},
      {"00-00", 1234.0, "12-34"},
      {"#,##0", 1234567.0, "1,234,567"},
      {"#,##0", -999.6, "-1,000"},
      {"#,##0.00", 0.0, "0.00"},
      {"0,000", 12.0, "0,012"},
      {"0,", 12345.0, "12"},
      {"0.0,,\" M\"", 12345678.0, "12.3 M"},
      {"0.00%", 0.12345, "12.35%"},
      {"0%", -0.5, "-50%"},
      {"?0.0?", 1.5, " 1.5 "},
      // exponents
      {"0.00E+00", 12345.0, "1.23E+04"},
      {"0.00E+00", 0.0, "0.00E+00"},
      {"0.0E-0", 0.00012, "1.2E-4"},
      {"0.0E-0", 120000.0, "1.2E5"},
      {"0.0E+0", 9.99, "1.0E+1"},
      {"##0.0E+0", 12345.0, "12.3E+3"},
      // literals
      {"#\\ ##0\" €\"", 1234567.0, "1234 567 €"},
      {"\"Level \"0", 3.0, "Level 3"},
      {"\\€0", 3.0, "€3"},
      {"$0.00", 3.0, "$3.00"},
      {"[$€-407] #,##0.00", 5.0, "€ 5.00"},
      {"#,##0.00\\ [$kr-41D]", 5.0, "5.00 kr"},
      {"_(0_)", 5.0, " 5 "},
      {"*-0", 5.0, "5"},
      // sections
      {"0;(0)", -5.0, "(5)"},
      {"0;(0)", 5.0, "5"},
      {"0;-0;\"none\"", 0.0, "none"},
      {"0.0;[Red]-0.0", -1.25, "-1.3"},
      {"[Blue]0", -4.0, "-4"},
      {";;", 4.0, ""},
      {"[<1000]0;[>=1000]0.0,\"k\"", 1500.0, "1.5k"},
      {"[<1000]0;[>=1000]0.0,\"k\"", 15.0, "15"},
      {"[=1]\"yes\";\"no\"", 1.0, "yes"},
      {"0;0;0;\"<\"@\">\"", "text", "<text>"},
      {"0;0;0;\"<\"@\">\"", 3.0, "3"},
      {"@", 1.5, "1.5"},
      {"0.00", "text", "text"},
      // other values
      {"0.00", CellError::kDiv0, "#DIV/0!"},
      {"0.00", CellValue::boolean(true), "TRUE"},
      {"0.00", {}, ""},
  };
  for (const Case& c : cases)
    EXPECT_EQ(displayed_text(c.value, c.format), c.shown) << c.format << " of " << c.value.number;
}

TEST(NumberFormat, ShowsDatesAsTheSpreadsheetDoes) {
  const Case cases[] = {
      {"yyyy-mm-dd", 45000.0, "2023-03-15"},
      {"mm/dd/yyyy", 45000.0, "03/15/2023"},
      {"d.m.yy", 45000.0, "15.3.23"},
      {"ddd dddd", 45000.0, "Wed Wednesday"},
      {"mmm mmmm mmmmm", 45000.0, "Mar March M"},
      {"yyyy-mm-dd", 1.0, "1900-01-01"},
      {"yyyy-mm-dd", 59.0, "1900-02-28"},
      {"yyyy-mm-dd", 60.0, "1900-02-29"},
      {"yyyy-mm-dd", 61.0, "1900-03-01"},
      {"yyyy-mm-dd", 36585.0, "2000-02-29"},
      {"yyyy-mm-dd", 2958465.0, "9999-12-31"},
      {"yyyy-mm-dd", 2958466.0, "########"},
      {"yyyy-mm-dd", -1.0, "########"},
      {"h:mm:ss", 0.5, "12:00:00"},
      {"hh:mm", 0.75 + 1.0 / 1440, "18:01"},
      {"h:mm AM/PM", 0.0, "12:00 AM"},
      {"h:mm A/P", 0.75, "6:00 P"},
      {"mm:ss", 0.5 + 61.0 / 86400, "01:01"},
      {"mm:ss.00", 1.5 / 86400, "00:01.50"},
      {"h:mm:ss", 0.999999999, "0:00:00"},
      {"[h]:mm", 1.5, "36:00"},
      {"[mm]", 0.1, "144"},
      {"d \"days\"", 3.0, "3 days"},
  };
  for (const Case& c : cases)
    EXPECT_EQ(displayed_text(c.value, c.format), c.shown) << c.format << " of " << c.value.number;
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
