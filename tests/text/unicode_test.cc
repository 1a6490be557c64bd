// Names without case, and texts in a terminal's columns.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "unicode/columns.h"
#include "unicode/names.h"

namespace ordvane::unicode {
namespace {

TEST(Names, AreTheSameWhereASpreadsheetTakesThemForOne) {
  for (const auto& [a, b] : {std::pair("PLAN", "plan"),
                             {"\u00C4rzte", "\u00E4rzte"},
                             {"A\u0308rzte", "\u00E4rzte"},  // decomposed, as macOS writes file names
                             {"\u0391\u03A3\u03A3", "\u03B1\u03C3\u03C2"},  // Greek, both small sigmas
                             {"\u0414\u041E\u0425\u041E\u0414", "\u0434\u043E\u0445\u043E\u0434"},
                             {"\u0531\u0532", "\u0561\u0562"},  // Armenian
                             {"\uFF30\uFF4C", "\uFF50\uFF2C"},  // full width
                             {"\U00010400", "\U00010428"},      // beyond 16 bits
                             {"STRA\u1E9EE", "stra\u00DFe"},
                             {"\u1112\u1161\u11AB", "\uD55C"}})  // a Korean syllable and its letters
    EXPECT_TRUE(same_name(a, b)) << a << ' ' << b;
  for (const auto& [a, b] : {std::pair("STRASSE", "stra\u00DFe"),
                             {"\u00E4rzte", "arzte"},
                             {"I", "\u0131"},
                             {"i", "\u0130"},
                             {"\uFF30", "P"},
                             {"\uFB01x", "fix"},  // a ligature
                             {"\xE4rzte", "\u00E4rzte"},
                             {"a", ""}})
    EXPECT_FALSE(same_name(a, b)) << a << ' ' << b;
  EXPECT_TRUE(same_name("\xE4RZTE", "\xE4rzte")) << "no UTF-8";
}

constexpr struct {
  const char* text;
  int columns;
} kWidths[] = {
    {"", 0},
    {"Price (B4)", 10},
    {"Gr\u00F6\u00DFe", 5},
    {"Gro\u0308\u00DFe", 5},
    {"\u0926\u0930", 2},                                // Devanagari letters
    {"\u0939\u093F\u0928\u094D\u0926\u0940", 5},        // with vowels beside them and a virama
    {"\u0915\u0941\u0932", 2},                          // a vowel below
    {"\u0E23\u0E32\u0E04\u0E32", 4},                    // Thai
    {"\u0E17\u0E35\u0E48\u0E14\u0E34\u0E19", 3},        // with vowels and tones above
    {"\u0E19\u0E49\u0E33", 2},                          // sara am stands beside
    {"\u05DE\u05D7\u05D9\u05E8", 4},                    // Hebrew
    {"\u05E9\u05B8\u05C1\u05DC\u05D5\u05B9\u05DD", 4},  // with points
    {"\u0633\u0650\u0639\u0652\u0631", 3},              // Arabic with vowels
    {"\u58F2\u4E0A\u9AD8", 6},                          // ideographs
    {"\u30D7\u30E9\u30F3\uFF08\uFF76\uFF09", 11},       // kana, full and half width
    {"\uD55C\uAD6D", 4},                                // Korean
    {"\u1112\u1161\u11AB", 2},                          // one of its syllables in letters
    {"\U0001F600!", 3},                                 // emoji
    {"\u2600", 1},                                      // a sign that is text by itself
    {"\u2600\uFE0F", 2},                                // and emoji when told so
    {"\U0001F44D\U0001F3FD", 2},                        // a skin colour
    {"\U0001F469\u200D\U0001F680", 2},                  // joined to one
    {"\U0001F469\u200D\u2764\uFE0F\u200D\U0001F469x", 3},
    {"\U0001F1E9\U0001F1EA", 2},  // a flag
    {"a\u200Bb\u200Ec", 3},       // characters without width
    {"\xE4"
     "b",
     2},  // a byte that is no UTF-8
};

TEST(Columns, AreThoseOfATerminal) {
  for (const auto& each : kWidths) EXPECT_EQ(display_width(each.text), each.columns) << each.text;
}

TEST(Columns, ABeginningFitsAndKeepsLettersWhole) {
  for (const auto& each : kWidths)
    for (int columns = 0; columns <= each.columns; ++columns) {
      const std::string_view cut = beginning(each.text, columns);
      SCOPED_TRACE(std::string(each.text) + " to " + std::to_string(columns));
      EXPECT_LE(display_width(cut), columns);
      // What is cut off begins with a character of its own.
      EXPECT_EQ(display_width(cut) + display_width(std::string_view(each.text).substr(cut.size())),
                each.columns);
    }
  EXPECT_EQ(beginning("\u0E17\u0E35\u0E48\u0E14\u0E34", 1), "\u0E17\u0E35\u0E48");
  EXPECT_EQ(beginning("\u0939\u093F\u0928", 2), "\u0939\u093F");
  EXPECT_EQ(beginning("\u58F2\u4E0A", 3), "\u58F2");
}

TEST(Columns, PaddingFillsUpAndHoldsNumbersInPlace) {
  EXPECT_EQ(padded("\u58F2\u4E0A", 6, Side::kLeft), "\u58F2\u4E0A  ");
  EXPECT_EQ(padded("5", 3, Side::kRight), "  5");
  EXPECT_EQ(padded("long", 3, Side::kRight), "long");
  // Without the marks a terminal would write the number behind Hebrew to its left.
  EXPECT_EQ(padded("\u05DE\u05D7", 4, Side::kLeft) + "7", "\u200E\u05DE\u05D7\u200E  7");
  EXPECT_EQ(display_width(padded("\u05DE\u05D7", 4, Side::kRight)), 4);
}

}  // namespace
}  // namespace ordvane::unicode
