// Character classes are enough here: texts are headings and names, and a column too wide by a letter is no
// harm.
#include "tables/text_estimate.h"

#include <algorithm>

namespace ordvane::tables {
namespace {

constexpr double kPointsOfCharacter = 5.25;  // a column character: one digit of the 11-point typeface
constexpr double kBoldWidening = 1.05;

// Whether a byte of UTF-8 begins a character.
bool begins_character(unsigned char byte) {
  return (byte & 0xC0U) != 0x80U;
}

// In parts of the font size.
double character_width(unsigned char first_byte) {
  constexpr std::string_view kNarrow = "iljtfrI.,;:'!|()[]-` ";
  constexpr std::string_view kWide = "mwMW%@&";
  if (first_byte >= 0xE3U) return 1.0;  // East Asian scripts
  if (first_byte >= 0x80U) return 0.55;
  const char letter = static_cast<char>(first_byte);
  if (kNarrow.find(letter) != std::string_view::npos) return 0.29;
  if (kWide.find(letter) != std::string_view::npos) return 0.79;
  return letter >= 'A' && letter <= 'Z' ? 0.58 : 0.5;
}

// The text's pieces between any of some separators, in order.
template <class Use>
void for_each_piece(std::string_view text, std::string_view separators, Use&& use) {
  while (true) {
    const std::size_t end = text.find_first_of(separators);
    use(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

}  // namespace

double estimated_width(std::string_view text, double size, bool bold) {
  double width = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (begins_character(byte)) width += character_width(byte);
  }
  return width * size * (bold ? kBoldWidening : 1.0);
}

double widest_word(std::string_view text, double size, bool bold) {
  double widest = 0;
  for_each_piece(text, " \n", [&](std::string_view word) {
    widest = std::max(widest, estimated_width(word, size, bold));
  });
  return widest;
}

std::int32_t wrapped_lines(std::string_view text, double width, double size, bool bold) {
  const double blank = estimated_width(" ", size, bold);
  std::int32_t lines = 0;
  for_each_piece(text, "\n", [&](std::string_view paragraph) {
    double used = 0;
    ++lines;
    for_each_piece(paragraph, " ", [&](std::string_view word) {
      const double needed = estimated_width(word, size, bold);
      if (used > 0 && used + blank + needed > width) {
        ++lines;
        used = needed;
      } else {
        used += (used > 0 ? blank : 0) + needed;
      }
      // A word that is wider than the line is broken.
      for (; used > width && width > 0; used -= width) ++lines;
    });
  });
  return lines;
}

double column_points(double characters) {
  return characters * kPointsOfCharacter;
}

double column_characters(double points) {
  return points / kPointsOfCharacter;
}

}  // namespace ordvane::tables
