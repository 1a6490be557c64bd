#include "office/text_width.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "office/address.h"
#include "office/font_metrics.h"
#include "office/office.h"

namespace ordvane::office {
namespace {

constexpr std::int32_t kWide = 2048;   // an ideograph fills a square
constexpr std::int32_t kOther = 1126;  // a letter of a script without a table
constexpr std::int32_t kEmoji = 2 * metrics::kDigit;

struct CharacterRange {
  char32_t first, last;
};

// Marks that stand over, under or inside the character before, joiners and selectors.
constexpr CharacterRange kWithoutWidth[] = {
    {0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},     {0x64B, 0x65F},     {0x1AB0, 0x1AFF},
    {0x1DC0, 0x1DFF}, {0x200B, 0x200F}, {0x2028, 0x202E},   {0x2060, 0x206F},   {0x20D0, 0x20FF},
    {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0020, 0xE007F},
};
constexpr CharacterRange kIdeographs[] = {
    {0x1100, 0x115F}, {0x2E80, 0xA4CF}, {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
    {0xFE30, 0xFE4F}, {0xFF01, 0xFF60}, {0xFFE0, 0xFFE6}, {0x20000, 0x3FFFD},
};
constexpr CharacterRange kPictures[] = {{0x2600, 0x27BF}, {0x1F000, 0x1FAFF}};

bool is_in(char32_t c, std::span<const CharacterRange> ranges) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [c](const CharacterRange& range) { return c >= range.first && c <= range.last; });
}

struct WidthTable {
  char32_t first;
  std::span<const std::uint16_t> regular, bold;
};
constexpr std::array<WidthTable, 4> kTables = {{
    {0x20, metrics::kLatinRegular, metrics::kLatinBold},
    {0x370, metrics::kGreekAndCyrillicRegular, metrics::kGreekAndCyrillicBold},
    {0x2010, metrics::kPunctuationRegular, metrics::kPunctuationBold},
    {0x20A0, metrics::kCurrencyRegular, metrics::kCurrencyBold},
}};

std::int32_t units_of(char32_t c, bool bold) {
  if (c < 0x20 || is_in(c, kWithoutWidth)) return 0;
  for (const WidthTable& table : kTables)
    if (c >= table.first && c - table.first < table.regular.size())
      return (bold ? table.bold : table.regular)[c - table.first];
  if (is_in(c, kIdeographs)) return kWide;
  return is_in(c, kPictures) ? kEmoji : kOther;
}

// The character at `at`, which moves behind it. What is no UTF-8 counts as a character.
char32_t next_character(std::string_view text, std::size_t& at) {
  constexpr char32_t kUnreadable = 0xFFFD;
  const auto lead = static_cast<unsigned char>(text[at++]);
  if (lead < 0x80) return lead;
  const int more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
  auto c = static_cast<char32_t>(lead & (0x3FU >> static_cast<unsigned>(more)));
  for (int i = 0; i < more; ++i) {
    if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80) return kUnreadable;
    c = c << 6U | (static_cast<unsigned char>(text[at++]) & 0x3FU);
  }
  return more > 0 ? c : kUnreadable;
}

struct FontFactor {
  const char* name;
  double factor;
};
// How much wider than the default font's the characters of a font are, on the whole.
constexpr FontFactor kFactors[] = {
    {"Calibri", 1},    {"Calibri Light", 1}, {"Carlito", 1},   {"Arial", 1.12},
    {"Aptos", 1.12},   {"Helvetica", 1.12},  {"Tahoma", 1.12}, {"Times New Roman", 1.03},
    {"Verdana", 1.28}, {"Courier New", 1.2},
};

double factor_of(const std::string& font) {
  constexpr double kOtherFont = 1.15;
  for (const FontFactor& known : kFactors)
    if (same_name(known.name, font)) return known.factor;
  return kOtherFont;
}

}  // namespace

TextMeasure::TextMeasure(const std::string& font, double size, bool bold)
    : points_of_unit_(size * factor_of(font) / metrics::kUnitsOfSize), bold_(bold) {}

double TextMeasure::width(std::string_view text) const {
  std::int64_t units = 0;
  for (std::size_t at = 0; at < text.size();) units += units_of(next_character(text, at), bold_);
  return static_cast<double>(units) * points_of_unit_;
}

double text_width(std::string_view text, const std::string& font, double size, bool bold) {
  return TextMeasure(font, size, bold).width(text);
}

}  // namespace ordvane::office
