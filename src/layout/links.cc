#include "layout/links.h"

#include "text/utf16.h"

namespace ordvane::layout {
namespace {

std::string doubled(const std::string& text, char quote) {
  std::string result;
  for (const char c : text) {
    result += c;
    if (c == quote) result += c;
  }
  return result;
}

}  // namespace

std::string LinkFormula(const std::string& sheet, std::int32_t row, const std::string& text) {
  constexpr std::int32_t kLongestText = 255;  // UTF-16 units of a text in a formula
  const std::string place = "#'" + doubled(sheet, '\'') + "'!A" + std::to_string(row);
  return "=HYPERLINK(\"" + doubled(place, '"') + "\",\"" + doubled(text::shortened(text, kLongestText), '"') +
         "\")";
}

}  // namespace ordvane::layout
