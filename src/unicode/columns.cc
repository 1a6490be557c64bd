#include "unicode/columns.h"

#include <utf8proc.h>

#include <algorithm>

#include "text/utf8.h"

namespace ordvane::unicode {
namespace {

using text::CodePoint;

constexpr char32_t kEmojiSelector = 0xFE0F;
constexpr std::string_view kLeftToRightMark = "\u200E";

const utf8proc_property_t& property(char32_t code) {
  return *utf8proc_get_property(static_cast<utf8proc_int32_t>(code));
}

bool is_pictograph(char32_t code) {
  return property(code).boundclass == UTF8PROC_BOUNDCLASS_EXTENDED_PICTOGRAPHIC;
}

// What a reader takes for one character: a letter with its marks, an emoji with what is joined to it.
struct Cluster {
  std::string_view bytes;
  int columns = 0;
};

Cluster first_cluster(std::string_view text) {
  const CodePoint first = text::code_point_at(text, 0);
  if (!first.valid) return {text.substr(0, 1), 1};
  Cluster cluster{text.substr(0, first.bytes), columns_of(first.code)};
  utf8proc_int32_t state = 0;
  char32_t last = first.code;
  for (std::size_t at = first.bytes; at < text.size();) {
    const CodePoint next = text::code_point_at(text, at);
    if (!next.valid || utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(last),
                                                        static_cast<utf8proc_int32_t>(next.code), &state))
      break;
    if (!is_pictograph(first.code))
      cluster.columns += columns_of(next.code);
    else if (next.code == kEmojiSelector)
      cluster.columns = 2;
    at += next.bytes;
    cluster.bytes = text.substr(0, at);
    last = next.code;
  }
  return cluster;
}

bool is_written_from_the_right(std::string_view text) {
  bool found = false;
  text::for_each_character(text, [&](const CodePoint& character, std::string_view) {
    if (!character.valid) return;
    const auto direction = property(character.code).bidi_class;
    found = found || direction == UTF8PROC_BIDI_CLASS_R || direction == UTF8PROC_BIDI_CLASS_AL;
  });
  return found;
}

}  // namespace

int columns_of(char32_t code) {
  const auto lies_between = [code](char32_t first, char32_t last) { return code >= first && code <= last; };
  const bool is_inside_syllable = lies_between(0x1160, 0x11FF);  // Korean vowels and final consonants
  const bool is_skin_colour = lies_between(0x1F3FB, 0x1F3FF);
  if (text::is_control(code) || is_inside_syllable || is_skin_colour) return 0;
  const utf8proc_property_t& known = property(code);
  // Terminals give marks that stand beside their letter a column of their own.
  return known.category == UTF8PROC_CATEGORY_MC ? 1 : static_cast<int>(known.charwidth);
}

int display_width(std::string_view text) {
  int columns = 0;
  while (!text.empty()) {
    const Cluster cluster = first_cluster(text);
    columns += cluster.columns;
    text.remove_prefix(cluster.bytes.size());
  }
  return columns;
}

std::string_view beginning(std::string_view text, int columns) {
  std::size_t at = 0;
  while (at < text.size()) {
    const Cluster cluster = first_cluster(text.substr(at));
    columns -= cluster.columns;
    if (columns < 0) break;
    at += cluster.bytes.size();
  }
  return text.substr(0, at);
}

std::string padded(std::string_view text, int columns, Side side) {
  const std::string blanks(static_cast<std::size_t>(std::max(columns - display_width(text), 0)), ' ');
  const std::string_view mark = is_written_from_the_right(text) ? kLeftToRightMark : "";
  const std::string result = std::string(mark).append(text).append(mark);
  return side == Side::kLeft ? result + blanks : blanks + result;
}

}  // namespace ordvane::unicode
