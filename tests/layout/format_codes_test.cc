// Number formats in the codes of other languages.
#include "layout/format_codes.h"

#include <gtest/gtest.h>

namespace ordvane::layout {
namespace {

TEST(FormatCodes, AreThoseOfALanguage) {
  const LocalCodes german = {",", ".", ".", ":", "J", "M", "T", "h", "m", "s", "Standard"};
  const LocalCodes french = {",", "\xC2\xA0", "/", ":", "a", "m", "j", "h", "m", "s", "Standard"};
  const struct {
    const char *english, *german, *french;
  } cases[] = {
      {"", "", ""},
      {"General", "Standard", "Standard"},
      {"#,##0.00", "#.##0,00", "#\xC2\xA0##0,00"},
      {"General;-0.0\"d.m\"", "Standard;-0,0\"d.m\"", "Standard;-0,0\"d.m\""},
      {"# ?/?", "# ?/?", "# ?/?"},
      {"m/d/yyyy", "M.T.JJJJ", "m/j/aaaa"},
      {"dd.mm.yyyy hh:mm:ss.00", "TT.MM.JJJJ hh:mm:ss,00", "jj.mm.aaaa hh:mm:ss,00"},
      {"yyyy-mm hh AM/PM", "JJJJ-MM hh AM/PM", "aaaa-mm hh AM/PM"},
      {"[h]:mm", "[h]:mm", "[h]:mm"},
      {"0.0_d;[Red]-0.0\\d;[>=1.5]0", "0,0_d;-0,0\\d;[>=1.5]0", "0,0_d;-0,0\\d;[>=1.5]0"},
      {"[$-409]d mmm", "[$-409]T MMM", "[$-409]j mmm"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(localized(c.english, LocalCodes()), c.english);
    EXPECT_EQ(localized(c.english, german), c.german);
    EXPECT_EQ(localized(c.english, french), c.french);
  }
}

}  // namespace
}  // namespace ordvane::layout
