// Character classes are enough here: texts are headings and names, and a column too wide by a letter
// is no harm.
#include "layout/text_estimate.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>
#include <vector>

#include "model/decimal.h"
#include "model/shown_number.h"
#include "text/edit.h"
#include "text/numbers.h"
#include "text/utf16.h"
#include "text/utf8.h"

namespace ordvane::layout {
namespace {

constexpr double kPointsOfCharacter = 5.25;  // a column character: one digit of the 11-point typeface
constexpr double kBoldWidening = 1.05;

// Whether a character belongs to an East Asian script: it fills a square, and a line may break on either side
// of it.
bool is_east_asian(char32_t character) {
  return character >= 0x3000;
}

// Of the characters of ASCII, in parts of the font size.
constexpr std::array<double, 0x80> kWidths = [] {
  std::array<double, 0x80> widths{};
  widths.fill(0.5);
  for (char letter = 'A'; letter <= 'Z'; ++letter) widths[static_cast<std::size_t>(letter)] = 0.58;
  constexpr struct {
    std::string_view letters;
    double width;
  } kClasses[] = {{"iljI.,;:'!| ", 0.245}, {"tfr()[]-`", 0.33}, {"mwMW%@&", 0.79}};
  for (const auto& each : kClasses)
    for (const char letter : each.letters) widths[static_cast<std::size_t>(letter)] = each.width;
  return widths;
}();

double character_width(char32_t character) {
  if (character < kWidths.size()) return kWidths[character];
  return is_east_asian(character) ? 1.0 : 0.55;
}

// The text's pieces between any of some separators, in order.
template <class Use>
void for_each_piece(std::string_view text, std::string_view separators, Use&& use) {
  while (true) {
    // Asked of several characters, the library looks at one after the other.
    const std::size_t end =
        separators.size() == 1 ? text.find(separators.front()) : text.find_first_of(separators);
    use(text.substr(0, end));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

// The pieces of a paragraph that are not broken when it wraps, each with whether a blank stands before it.
template <class Use>
void for_each_word(std::string_view paragraph, Use&& use) {
  bool after_blank = false;
  for_each_piece(paragraph, " ", [&](std::string_view word) {
    std::size_t begin = 0;
    for (std::size_t at = 0; at < word.size();) {
      const text::CodePoint character = text::code_point_at(word, at);
      const std::size_t end = at + character.bytes;
      if (is_east_asian(character.code)) {
        if (begin < at) use(word.substr(begin, at - begin), std::exchange(after_blank, false));
        use(word.substr(at, end - at), std::exchange(after_blank, false));
        begin = end;
      }
      at = end;
    }
    if (begin < word.size()) use(word.substr(begin), after_blank);
    after_blank = true;
  });
}

// A number in fixed notation with the decimals and the group separators of a format, without its literals.
std::string figures(double value, std::string_view places) {
  const std::size_t point = places.find_last_of(".,");
  const std::size_t after = point == std::string_view::npos ? 0 : places.size() - point - 1;
  const bool has_decimals = after > 0 && places[point] == '.';
  std::string result = text::fixed_number(value, has_decimals ? static_cast<int>(after) : 0);
  if (places.find(',') != std::string_view::npos && std::fabs(value) >= 1)
    result.append(static_cast<std::size_t>(model::decimal_exponent(value) / 3), ',');
  return result;
}

// A label's name and what follows it: a blank and its address in brackets, or nothing.
std::pair<std::string_view, std::string_view> name_and_address(std::string_view label) {
  const std::size_t bracket = label.ends_with(')') ? label.rfind(" (") : std::string_view::npos;
  if (bracket == std::string_view::npos) return {label, {}};
  return {label.substr(0, bracket), label.substr(bracket)};
}

// The label with its name cut to a width, though never below so many UTF-16 units.
std::string cut_label(std::string_view label, double width, double size, std::int32_t least) {
  if (estimated_width(label, size) <= width) return std::string(label);
  const auto [name, address] = name_and_address(label);
  const auto cut_to = [&, &given = name, &behind = address](std::int32_t length) {
    return std::string(text::trimmed(text::left(given, length))) + "…" + std::string(behind);
  };
  // More of the name is never narrower.
  std::int32_t wide = text::utf16_length(name), fits = std::min(least, wide - 1);
  while (wide - fits > 1) {
    const std::int32_t middle = fits + (wide - fits) / 2;
    (estimated_width(cut_to(middle), size) > width ? wide : fits) = middle;
  }
  return cut_to(fits);
}

// A name may hold the sign between labels itself, but not behind an address.
std::vector<std::string_view> labels_of(std::string_view text) {
  std::vector<std::string_view> labels;
  for (std::size_t from = 0;;) {
    const std::size_t at = text.find(kBetweenMembers, from);
    if (at == std::string_view::npos) break;
    from = at + kBetweenMembers.size();
    if (at == 0 || text[at - 1] != ')') continue;
    labels.push_back(text.substr(0, at));
    text.remove_prefix(from);
    from = 0;
  }
  labels.push_back(text);
  return labels;
}

template <class Texts>
std::string joined(const Texts& texts) {
  std::string all;
  for (const auto& text : texts) {
    if (!all.empty()) all += kBetweenMembers;
    all += text;
  }
  return all;
}

// The width to which labels are cut so that all of them take a width: what short ones leave goes
// to the others.
double width_for_each(const std::vector<std::string_view>& labels, double width, double size) {
  std::vector<double> widths;
  widths.reserve(labels.size());
  for (const std::string_view label : labels) widths.push_back(estimated_width(label, size));
  std::sort(widths.begin(), widths.end());
  auto left = static_cast<double>(widths.size());
  for (const double needed : widths) {
    if (needed > width / left) return width / left;
    width -= needed;
    --left;
  }
  return widths.back();
}

std::string fitted_addresses(const std::vector<std::string_view>& labels, double width, double size) {
  std::vector<std::string_view> addresses;
  for (const std::string_view label : labels) {
    std::string_view address = name_and_address(label).second;
    if (address.empty() && label.starts_with('(')) address = label;  // there is no name
    addresses.push_back(address.empty() ? label : address.substr(address.find('(') + 1));
    if (!address.empty()) addresses.back().remove_suffix(1);
  }
  std::string text = joined(addresses);
  while (addresses.size() > 1 && estimated_width(text, size) > width) {
    addresses.pop_back();
    text = joined(addresses) + std::string(kBetweenMembers) + "…";
  }
  return text;
}

}  // namespace

double estimated_number_width(double value, std::string_view format, double size) {
  format = format.substr(0, format.find(';'));
  if (format.empty() || format == "General") return estimated_width(model::general_text(value), size);
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
  for (; places.ends_with(','); places.pop_back()) value /= 1000;
  return estimated_width(literals, size) +
         (places.empty() ? 0 : estimated_width(figures(value, places), size));
}

std::string fitted_name(const std::string& text, double width, double size) {
  constexpr std::int32_t kLeastOfName = 4;  // fewer letters say nothing
  if (estimated_width(text, size) <= width) return text;
  const std::vector<std::string_view> labels = labels_of(text);
  if (labels.size() == 1) return cut_label(text, width, size, 1);
  const double between = estimated_width(kBetweenMembers, size) * static_cast<double>(labels.size() - 1);
  const double each = width_for_each(labels, width - between, size);
  std::vector<std::string> cut;
  cut.reserve(labels.size());
  for (const std::string_view label : labels) cut.push_back(cut_label(label, each, size, kLeastOfName));
  std::string fitted = joined(cut);
  return estimated_width(fitted, size) <= width ? fitted : fitted_addresses(labels, width, size);
}

double estimated_width(std::string_view text, double size, bool bold) {
  double width = 0;
  text::for_each_character(text, [&width](const text::CodePoint& character, std::string_view) {
    width += character_width(character.code);
  });
  return width * size * (bold ? kBoldWidening : 1.0);
}

double widest_line(std::string_view text, double size, bool bold) {
  double widest = 0;
  for_each_piece(text, "\n", [&](std::string_view line) {
    widest = std::max(widest, estimated_width(line, size, bold));
  });
  return widest;
}

double widest_word(std::string_view text, double size, bool bold) {
  double widest = 0;
  for_each_piece(text, "\n", [&](std::string_view paragraph) {
    for_each_word(paragraph, [&](std::string_view word, bool) {
      widest = std::max(widest, estimated_width(word, size, bold));
    });
  });
  return widest;
}

std::int32_t wrapped_lines(std::string_view text, double width, double size, bool bold) {
  const double blank = estimated_width(" ", size, bold);
  std::int32_t lines = 0;
  for_each_piece(text, "\n", [&](std::string_view paragraph) {
    double used = 0;
    ++lines;
    for_each_word(paragraph, [&](std::string_view word, bool after_blank) {
      const double needed = estimated_width(word, size, bold);
      const double between = used > 0 && after_blank ? blank : 0;
      if (used > 0 && used + between + needed > width) {
        ++lines;
        used = needed;
      } else {
        used += between + needed;
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

}  // namespace ordvane::layout
