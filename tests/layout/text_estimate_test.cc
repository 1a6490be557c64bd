// Estimates of text sizes: close enough to what the embedded spreadsheet measures, and safe at the edges.
#include "layout/text_estimate.h"

#include <gtest/gtest.h>

#include "office/number_format.h"
#include "office/office.h"

namespace ordvane::layout {
namespace {

TEST(EstimatedWidth, IsNearTheFontsMetrics) {
  for (const char* text :
       {"Total monthly payment", "Downpayment (optional) (C6)", "1,234,567.89 €", "VOM (B9)",
        "Größe in Metern", "変化率 (%)", "波动幅度 B5", "illicit filling", "WAMM 5%"})
    for (const bool bold : {false, true}) {
      const double measured = office::text_width(text, "Calibri", 10, bold);
      EXPECT_NEAR(estimated_width(text, 10, bold), measured, measured * 0.15) << text;
    }
}

TEST(WrappedLines, BreaksAtBlanksAndLineFeedsAndInLongWords) {
  struct Case {
    const char* text;
    double width;
    std::int32_t lines;
  };
  for (const Case& c : {Case{"", 50, 1}, Case{"one two", 500, 1}, Case{"one two", 25, 2},
                        Case{"one\ntwo", 500, 2}, Case{"変化率", 20, 2}, Case{"変化率 one", 31, 2},
                        Case{"one変化率", 31, 2}, Case{"eeeeeeeeeeeeeeeeeeee", 50.5, 2}, Case{"one", 0, 1}})
    EXPECT_EQ(wrapped_lines(c.text, c.width, 10), c.lines) << c.text;
}

TEST(WidestWord, IsOneCharacterOfTextThatBreaksAnywhere) {
  EXPECT_EQ(widest_word("基準値からの変化", 10), 10);
  EXPECT_EQ(widest_word("変化率 percent", 10), estimated_width("percent", 10));
}

TEST(EstimatedNumberWidth, FollowsTheFormat) {
  struct Case {
    double value;
    const char* format;
    const char* shown;
  };
  for (const Case& c : {Case{1234567, "#,##0", "1,234,567"}, Case{1234.5, "#,##0.00 \"EUR\"", "1,234.50 EUR"},
                        Case{0.25, "0.00%", "25.00%"}, Case{0.5, "", "0.5"},
                        Case{-3, "0.0;[Red]-0.0", "-3.0"}, Case{45000, "mm/dd/yyyy", "mm/dd/yyyy"},
                        Case{0, "#,##0.0", "0.0"}, Case{2500000, "0.0,,\"M\"", "2.5M"}})
    EXPECT_NEAR(estimated_number_width(c.value, c.format, 9), estimated_width(c.shown, 9), 4) << c.shown;
  for (const double value : {9e12, 12345678901.5, 1.0 / 3, -1234.5, 1.23456e-7})
    EXPECT_EQ(estimated_number_width(value, "General", 9),
              estimated_width(office::displayed_text(value, "General"), 9))
        << value;
}

TEST(FittedName, KeepsTheAddress) {
  struct Case {
    const char* text;
    double width;
    const char* fitted;
  };
  for (const Case& c :
       {Case{"Price (B4)", 500, "Price (B4)"}, Case{"aaaaaaaaaaaaaaaaaaaa (B4)", 75, "aaaaaaaaa… (B4)"},
        Case{"aaaaaaaaaaaaaaaaaaaa", 51, "aaaaaaaaa…"}, Case{"ab (B4)", 1, "a… (B4)"},
        // Inputs varied together: what a short name leaves goes to the others; addresses alone at the end.
        Case{"Tax (B4) × aaaaaaaaaaaaaaaaaaaa (B5)", 125, "Tax (B4) × aaaaaaaaaa… (B5)"},
        Case{"aaaaaaaaaaaaaaaaaaaa (B4) × bbbbbbbbbbbbbbbbbbbb (B5)", 120, "aaaaa… (B4) × bbbbb… (B5)"},
        Case{"aaaaaaaaaaaaaaaaaaaa (B4) × bbbbbbbbbbbbbbbbbbbb (B5)", 70, "B4 × B5"},
        Case{"aaaaaaaaaa (B4) × (B5) × bbbbbbbbbb (B6)", 60, "B4 × B5 × B6"},
        Case{"aaaaaaaaaa (B4) × (B5) × bbbbbbbbbb (B6)", 45, "B4 × …"},
        // The sign within a name parts nothing.
        Case{"Width × length of the hall (B4)", 75, "Width × len… (B4)"}})
    EXPECT_EQ(fitted_name(c.text, c.width, 10), c.fitted);
}

}  // namespace
}  // namespace ordvane::layout
