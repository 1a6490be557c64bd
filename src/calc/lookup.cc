#include "calc/lookup.h"

#include <algorithm>
#include <cmath>

#include "calc/evaluation.h"
#include "calc/operators.h"
#include "calc/rules.h"
#include "text/utf8.h"
#include "unicode/names.h"

namespace ordvane::calc {
namespace {

// Shorter lines are searched as fast as indexes are found.
constexpr std::int32_t kLeastIndexed = 32;

bool is_comparable(const Value& value, const Value& wanted) {
  return wanted.is_text() ? value.is_text() : value.is_number();
}

// The next value at or behind `from`, and not behind `last`, that can be compared; -1 for none.
std::int32_t comparable_from(const Line& line, const Value& wanted, std::int32_t from, std::int32_t last) {
  for (; from <= last; ++from)
    if (is_comparable(line.value(from), wanted)) return from;
  return -1;
}

std::size_t next_character(std::string_view text, std::size_t at) {
  return at + text::code_point_at(text, at).bytes;
}

}  // namespace

Pattern::Pattern(std::string_view text)
    : folded_(unicode::folded(text)), has_wildcards_(text.find_first_of("*?~") != text.npos) {}

// Greedy, going back to the last star when what follows does not match.
bool Pattern::matches(std::string_view text) const {
  const std::string other = unicode::folded(text);
  if (!has_wildcards_) return other == folded_;
  constexpr std::size_t kNone = std::string::npos;
  std::size_t p = 0, t = 0, star = kNone, star_text = 0;
  while (t < other.size()) {
    const bool escaped = p + 1 < folded_.size() && folded_[p] == '~';
    if (!escaped && p < folded_.size() && folded_[p] == '*') {
      star = ++p;
      star_text = t;
    } else if (!escaped && p < folded_.size() && folded_[p] == '?') {
      ++p;
      t = next_character(other, t);
    } else if (p < folded_.size() && folded_[p + (escaped ? 1 : 0)] == other[t]) {
      p += escaped ? 2 : 1;
      ++t;
    } else if (star != kNone) {
      p = star;
      t = star_text = next_character(other, star_text);
    } else {
      return false;
    }
  }
  while (p < folded_.size() && folded_[p] == '*') ++p;
  return p == folded_.size();
}

LineIndex::LineIndex(const Line& line) {
  for (std::int32_t i = 0; i < line.used(); ++i) {
    const Value value = line.value(i);
    if (value.is_number()) numbers_.emplace_back(value.number(), i);
    if (value.is_text()) texts_.emplace(unicode::folded(value.text()), i);
  }
  std::sort(numbers_.begin(), numbers_.end());
}

std::int32_t LineIndex::find(const Value& wanted) const {
  if (wanted.is_text()) {
    const auto found = texts_.find(unicode::folded(wanted.text()));
    return found == texts_.end() ? -1 : found->second;
  }
  // Numbers that count as equal lie on both sides; the first of the line is among them.
  const double number = wanted.number(), span = std::fabs(number) * 0x1p-46;
  std::int32_t first = -1;
  for (auto at =
           std::lower_bound(numbers_.begin(), numbers_.end(), std::pair(number - span, std::int32_t{0}));
       at != numbers_.end() && at->first <= number + span; ++at)
    if (nearly_equal(at->first, number) && (first < 0 || at->second < first)) first = at->second;
  return first;
}

std::int32_t find_equal(const Line& line, const Value& wanted) {
  if (wanted.is_blank()) return -1;
  const std::int32_t end = line.used();
  const bool is_plain = !wanted.is_text() || !Pattern(wanted.text()).has_wildcards();
  if (is_plain && line.evaluation != nullptr && line.operand->is_reference() && end >= kLeastIndexed)
    if (const LineIndex* index = line.evaluation->values().index(line)) return index->find(wanted);
  if (wanted.is_text()) {
    const Pattern pattern(wanted.text());
    for (std::int32_t i = 0; i < end; ++i)
      if (const Value value = line.value(i); value.is_text() && pattern.matches(value.text())) return i;
    return -1;
  }
  for (std::int32_t i = 0; i < end; ++i)
    if (const Value value = line.value(i); value.is_number() && compare_values(value, wanted) == 0) return i;
  return -1;
}

std::int32_t find_sorted(const Line& line, const Value& wanted, bool descending) {
  std::int32_t found = -1, first = 0, last = wanted.is_blank() ? -1 : line.used() - 1;
  while (first <= last) {
    const std::int32_t middle = first + (last - first) / 2;
    const std::int32_t at = comparable_from(line, wanted, middle, last);
    if (at < 0) {
      last = middle - 1;
      continue;
    }
    const int order = compare_values(line.value(at), wanted);
    if (descending ? order >= 0 : order <= 0) {
      found = at;
      first = at + 1;
    } else {
      last = middle - 1;
    }
  }
  return found;
}

}  // namespace ordvane::calc
