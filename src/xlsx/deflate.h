// Compresses texts whose repeats are known to those who made them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace ordvane::xlsx {

inline constexpr std::size_t kFarthestRepeat = 32768;

// Characters that are the same as those `distance` before them.
struct Repeat {
  std::uint32_t at;  // position in the text
  std::uint16_t length, distance;
};

struct MarkedText {
  MarkedText() = default;
  MarkedText(std::string whole) : text(std::move(whole)) {}  // NOLINT: a text is one without marks

  std::string text;
  std::vector<Repeat> repeats;  // those that were noted, going up
};

// As one block of the deflate format. Repeats that are none, that overlap the one before, or that the format
// has no code for, are written as any other text. `last`: the stream ends with it; otherwise it ends on a
// whole byte, for others to follow.
std::string deflate_with_repeats(const MarkedText& text, bool last);

}  // namespace ordvane::xlsx
