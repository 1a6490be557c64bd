#include "cli/bars.h"

#include <algorithm>
#include <cmath>

#include "cli/figures.h"
#include "cli/terminal.h"

namespace ordvane::cli {
namespace {

// By which halves of a column are filled: none, left, right, both.
constexpr const char* kUnicode[] = {" ", "\u258C", "\u2590", "\u2588"};
constexpr const char* kAscii[] = {" ", "#", "#", "#"};
constexpr const char* kUnicodeBase = "\u2502";
constexpr const char* kAsciiBase = "|";

}  // namespace

Bars::Bars(double base, const std::vector<Ends>& all, int columns, bool unicode) : unicode_(unicode) {
  has_base_ = is_there(base);
  double low = has_base_ ? base : HUGE_VAL;
  double high = has_base_ ? base : -HUGE_VAL;
  for (const Ends& ends : all) {
    if (!is_there(ends.low)) continue;
    low = std::min(low, ends.low);
    high = std::max(high, ends.high);
  }
  if (!has_base_) {
    right_ = {low, high, 2 * columns};
    return;
  }
  const int bar_columns = columns - 1;  // the base line takes one
  const double share = high > low ? (base - low) / (high - low) : 0.5;
  int left_columns = static_cast<int>(std::lround(share * bar_columns));
  // A side that holds results has room for them.
  if (low < base) left_columns = std::max(left_columns, 1);
  if (high > base) left_columns = std::min(left_columns, bar_columns - 1);
  left_ = {low, base, 2 * left_columns};
  right_ = {base, high, 2 * (bar_columns - left_columns)};
}

std::string Bars::draw(const Ends& ends) const {
  std::string text = inked(draw(left_, ends.low, ends.high, true), Ink::kLow);
  if (has_base_) text += unicode_ ? kUnicodeBase : kAsciiBase;
  return text + inked(draw(right_, ends.low, ends.high, false), Ink::kHigh);
}

std::string Bars::draw(const Side& side, double low, double high, bool base_at_end) const {
  const auto half_at = [&](double value) {
    if (side.from == side.to) return 0;
    return static_cast<int>(std::lround((value - side.from) / (side.to - side.from) * side.halves));
  };
  const bool at_base = has_base_ && low == (base_at_end ? side.to : side.from);
  const bool is_point = low == high && !at_base;  // one result away from the base, which is seen, too
  int first = 0;
  int last = 0;  // one past
  low = std::max(low, side.from);
  high = std::min(high, side.to);
  if (low < high || (is_point && low == high)) {
    first = half_at(low);
    last = half_at(high);
    // However short, a bar is seen.
    if (first == last && first > 0 && (base_at_end || first == side.halves)) --first;
    if (first == last) ++last;
  }
  std::string text;
  for (int half = 0; half < side.halves; half += 2) {
    const auto filled = [&](int at) { return at >= first && at < last; };
    const int shape = (filled(half) ? 1 : 0) + (filled(half + 1) ? 2 : 0);
    text += unicode_ ? kUnicode[shape] : kAscii[shape];
  }
  return text;
}

}  // namespace ordvane::cli
