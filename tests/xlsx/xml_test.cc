// Text, numbers and places as the parts have them.
#include "xlsx/xml.h"

#include <gtest/gtest.h>

#include <limits>

#include "xlsx/grid.h"

namespace ordvane::xlsx {
namespace {

TEST(Xml, EscapesText) {
  const struct {
    const char* what;
    std::string text, plain, xstring;
  } kCases[] = {
      {"ordinary text stays", "Zinssatz für 3 €", "Zinssatz für 3 €", "Zinssatz für 3 €"},
      {"markup", "a<b>&\"c'", "a&lt;b&gt;&amp;&quot;c'", "a&lt;b&gt;&amp;&quot;c'"},
      {"control characters", std::string("a\0b\x1F\r", 5), "a b  ", "a_x0000_b_x001F__x000D_"},
      {"tabs and line feeds stay", "a\tb\nc", "a\tb\nc", "a\tb\nc"},
      {"what looks like an escape", "_x0041_ _x_ _xZZZZ_", "_x0041_ _x_ _xZZZZ_",
       "_x005F_x0041_ _x_ _xZZZZ_"},
      {"an escape at the very end", "x_x00e9_", "x_x00e9_", "x_x005F_x00e9_"},
      {"a stray byte", "a\xFFz", "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz"},
      {"a cut character", "a\xE2\x82", "a\xEF\xBF\xBD\xEF\xBF\xBD", "a\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"an overlong form", "\xC0\xBC", "\xEF\xBF\xBD\xEF\xBF\xBD", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"half of a pair", "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
       "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"no character", "\xEF\xBF\xBE", " ", "_xFFFE_"},
      {"beyond the first plane", "\xF0\x9F\x93\x88", "\xF0\x9F\x93\x88", "\xF0\x9F\x93\x88"},
  };
  for (const auto& c : kCases) {
    std::string plain, xstring;
    append_escaped(plain, c.text, Escape::kPlain);
    append_escaped(xstring, c.text, Escape::kXstring);
    EXPECT_EQ(plain, c.plain) << c.what;
    EXPECT_EQ(xstring, c.xstring) << c.what;
  }
}

TEST(Xml, WritesNumbersShortestAndExact) {
  const std::pair<double, const char*> kCases[] = {
      {0, "0"},
      {100, "100"},
      {-2.5, "-2.5"},
      {0.1 + 0.2, "0.30000000000000004"},
      {1e21, "1e+21"},
      {65536, "65536"},
      {1.01e300, "1.01e+300"},
      {std::numeric_limits<double>::denorm_min(), "5e-324"},
  };
  for (const auto& [value, text] : kCases) {
    std::string out;
    append_number(out, value);
    EXPECT_EQ(out, text);
  }
}

TEST(Xml, ClosesWhatItOpens) {
  std::string out;
  Xml xml(out);
  xml.start("a").attr("n", "1\n\"2\"").val("b", true).leaf("c", 1.5).start("d").empty("e").end().end();
  EXPECT_EQ(out, "<a n=\"1&#10;&quot;2&quot;\"><b val=\"1\"/><c>1.5</c><d><e/></d></a>");
}

TEST(Grid, FindsTheCellUnderAPoint) {
  office::SheetModel sheet;
  sheet.columns[2] = {20.0, false};  // 145 pixels: 108.75 points
  sheet.columns[3] = {{}, true};
  sheet.row_heights[1] = 30;
  const struct {
    const char* what;
    double x, y;
    int column, row;
    double in_column, in_row;
  } kCases[] = {
      {"the corner", 0, 0, 0, 0, 0, 0},
      {"inside the first cell", 47, 29, 0, 0, 47, 29},
      {"at the edge", 48, 30, 1, 1, 0, 0},
      {"behind a hidden column", 48 + 108.75, 45, 3, 2, 0, 0},
      {"among the usual ones", 48 + 108.75 + 100, 30 + 31, 5, 3, 4, 1},
      {"left of the sheet", -5, -5, 0, 0, 0, 0},
      {"outside", 1e9, 1e9, 16383, 1048575, 48, 15},
  };
  for (const auto& c : kCases) {
    const GridPlace column = column_at(sheet, c.x), row = row_at(sheet, c.y);
    EXPECT_EQ(column.cell, c.column) << c.what;
    EXPECT_EQ(row.cell, c.row) << c.what;
    EXPECT_DOUBLE_EQ(column.offset, c.in_column) << c.what;
    EXPECT_DOUBLE_EQ(row.offset, c.in_row) << c.what;
  }
  EXPECT_DOUBLE_EQ(column_left(sheet, 4), 48 + 108.75);
  EXPECT_DOUBLE_EQ(row_top(sheet, 3), 45);
  EXPECT_DOUBLE_EQ(column_file_width(8.43), 9.140625);  // what the spreadsheet itself writes
}

}  // namespace
}  // namespace ordvane::xlsx
