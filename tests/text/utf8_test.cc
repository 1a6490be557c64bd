// The decoder, and what is measured and cut with it.
#include "text/utf8.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::text {
namespace {

TEST(Utf8, TakesTheShortestEncodingOfACharacterOnly) {
  struct Case {
    std::string bytes;
    bool valid;
    char32_t code;
  };
  for (const Case& c :
       {Case{"A", true, 'A'}, Case{std::string("\0", 1), true, 0}, Case{"\xC2\x80", true, 0x80},
        Case{"\xDF\xBF", true, 0x7FF}, Case{"\xE0\xA0\x80", true, 0x800}, Case{"\xEF\xBF\xBF", true, 0xFFFF},
        Case{"\xF0\x90\x80\x80", true, 0x10000}, Case{"\xF4\x8F\xBF\xBF", true, 0x10FFFF},
        // Overlong, surrogates, past the end of Unicode, stray and missing bytes.
        Case{"\xC1\xBF", false, 0xC1}, Case{"\xE0\x9F\xBF", false, 0xE0},
        Case{"\xF0\x8F\xBF\xBF", false, 0xF0}, Case{"\xED\xA0\x80", false, 0xED},
        Case{"\xF4\x90\x80\x80", false, 0xF4}, Case{"\xF5\x80\x80\x80", false, 0xF5},
        Case{"\x80", false, 0x80}, Case{"\xC3", false, 0xC3}, Case{"\xE2\x82", false, 0xE2},
        Case{"\xE2\x82"
             "A",
             false, 0xE2},
        Case{"\xFF", false, 0xFF}}) {
    const CodePoint character = code_point_at(c.bytes, 0);
    SCOPED_TRACE(one_line(c.bytes));
    EXPECT_EQ(character.valid, c.valid);
    EXPECT_EQ(character.code, c.code);
    EXPECT_EQ(character.bytes, c.valid ? c.bytes.size() : 1U);
    // Found wherever it stands among the bytes that are looked at together.
    for (std::size_t before = 0; before < 17; ++before) {
      const std::string padded = std::string(before, 'x') + c.bytes + std::string(9, 'x');
      EXPECT_EQ(first_invalid_byte(padded), c.valid ? std::string::npos : before);
    }
  }
}

TEST(Utf16, CountsUnitsAndCutsBetweenCharacters) {
  const std::string text = "a\u00E4\u20AC\U0001F600b";  // 1 + 1 + 1 + 2 + 1 units
  EXPECT_EQ(utf16_length(text), 6);
  EXPECT_EQ(utf16_length("\xFFz\xE2\x82"), 4) << "bytes that are no UTF-8";
  const std::vector<std::string> kBeginnings = {
      "", "a", "a\u00E4", "a\u00E4\u20AC", "a\u00E4\u20AC", "a\u00E4\u20AC\U0001F600", text, text};
  for (std::size_t limit = 0; limit < kBeginnings.size(); ++limit)
    EXPECT_EQ(left(text, static_cast<std::int32_t>(limit)), kBeginnings[limit]) << limit;
  EXPECT_EQ(mid(text, 3, 3), "\u20AC\U0001F600");
  EXPECT_EQ(mid(text, 5, 9), "b") << "a position inside a character is behind it";
  EXPECT_EQ(mid(text, 7, 1), "");
  EXPECT_EQ(shortened(text, 6), text);
  EXPECT_EQ(shortened(text, 5), "a\u00E4\u20AC\u2026");
}

TEST(OneLine, ShowsWhatATerminalMustNotGet) {
  EXPECT_EQ(one_line("a\tb\r\n\x1B[2J\x7F\u202E\u2028\uFEFF\xE4 \u00E4\u05D0"),
            "a\\tb\\r\\n\\u001B[2J\\u007F\\u202E\\u2028\\uFEFF\\xE4 \u00E4\u05D0");
  EXPECT_EQ(quoted_text(std::string(39, 'x') + "\u00E4y"), '"' + std::string(39, 'x') + "\u00E4...\"");
}

}  // namespace
}  // namespace ordvane::text
