#include "office/text_width.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "office/address.h"
#include "office/font_metrics.h"
#include "office/office.h"
#include "text/utf8.h"
#include "unicode/columns.h"
#include "unicode/names.h"

namespace ordvane::office {
namespace {

constexpr std::int32_t kWide = 2048;   // ideographs and emoji fill a square
constexpr std::int32_t kOther = 1126;  // a letter of a script without a table

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
  if (c < 0x20) return 0;
  for (const WidthTable& table : kTables)
    if (c >= table.first && c - table.first < table.regular.size())
      return (bold ? table.bold : table.regular)[c - table.first];
  constexpr std::array<std::int32_t, 3> kUnits = {0, kOther, kWide};
  return kUnits[static_cast<std::size_t>(unicode::columns_of(c))];
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
    if (unicode::same_name(known.name, font)) return known.factor;
  return kOtherFont;
}

}  // namespace

TextMeasure::TextMeasure(const std::string& font, double size, bool bold)
    : points_of_unit_(size * factor_of(font) / metrics::kUnitsOfSize), bold_(bold) {}

double TextMeasure::width(std::string_view text) const {
  std::int64_t units = 0;
  text::for_each_character(text, [&](const text::CodePoint& character, std::string_view) {
    units += units_of(character.code, bold_);
  });
  return static_cast<double>(units) * points_of_unit_;
}

double text_width(std::string_view text, const std::string& font, double size, bool bold) {
  return TextMeasure(font, size, bold).width(text);
}

}  // namespace ordvane::office
