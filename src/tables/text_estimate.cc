// Character classes are enough here: texts are headings and names, and a column too wide by a letter is no
// harm.
#include "tables/text_estimate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "model/text.h"

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
  constexpr std::string_view kThin = "iljI.,;:'!| ";
  constexpr std::string_view kNarrow = "tfr()[]-`";
  constexpr std::string_view kWide = "mwMW%@&";
  if (first_byte >= 0xE3U) return 1.0;  // East Asian scripts
  if (first_byte >= 0x80U) return 0.55;
  const char letter = static_cast<char>(first_byte);
  if (kThin.find(letter) != std::string_view::npos) return 0.245;
  if (kNarrow.find(letter) != std::string_view::npos) return 0.33;
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

std::string general_text(double value) {
  std::array<char, 32> text;
  constexpr int kDigits = 10;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigits).ptr;
  return {text.data(), end};
}

// A number in fixed notation with the decimals and the group separators of a format, without its literals.
std::string figures(double value, std::string_view places) {
  std::array<char, 400> text;
  const std::size_t point = places.find_last_of(".,");
  const std::size_t after = point == std::string_view::npos ? 0 : places.size() - point - 1;
  const bool has_decimals = after > 0 && places[point] == '.';
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed,
                                 has_decimals ? static_cast<int>(after) : 0)
                       .ptr;
  std::string result(text.data(), end);
  if (places.find(',') != std::string_view::npos && std::fabs(value) >= 1)
    result.append(static_cast<std::size_t>(std::log10(std::fabs(value)) / 3), ',');
  return result;
}

}  // namespace

double estimated_number_width(double value, std::string_view format, double size) {
  format = format.substr(0, format.find(';'));
  if (format.empty() || format == "General") return estimated_width(general_text(value), size);
  constexpr std::string_view kPlaces = "0#?.,";
  std::string places;
  std::string literals;
  bool in_brackets = false;
  for (const char c : format) {
    if (c == '[' || c == ']') in_brackets = c == '[';
    if (in_brackets || c == ']' || c == '"' || c == '\\' || c == '_' || c == '*') continue;
    (kPlaces.find(c) != std::string_view::npos ? places : literals) += c;
  }
  if (literals.find('%') != std::string::npos) value *= 100;
  return estimated_width(literals, size) +
         (places.empty() ? 0 : estimated_width(figures(value, places), size));
}

std::string fitted_name(const std::string& text, double width, double size) {
  if (estimated_width(text, size) <= width) return text;
  const std::size_t bracket = text.ends_with(')') ? text.rfind(" (") : std::string::npos;
  const std::string tail = bracket == std::string::npos ? "" : text.substr(bracket);
  const std::string head = text.substr(0, text.size() - tail.size());
  std::int32_t length = model::utf16_length(head);
  std::string fitted;
  do {
    fitted = std::string(model::trimmed(model::left(head, --length))) + "…" + tail;
  } while (length > 1 && estimated_width(fitted, size) > width);
  return fitted;
}

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
