#include "office/row_styles.h"

#include <algorithm>

namespace ordvane::office {
namespace {

// Twice as much at a time, so that what grows by one is not copied for each.
template <class Element>
void make_room_in(std::vector<Element>& list, std::size_t more) {
  if (list.capacity() - list.size() < more) list.reserve(std::max(list.size() + more, 2 * list.size()));
}

}  // namespace

void RowStyles::add_rows(std::size_t count) {
  if (count == 0) return;
  make_room(1);
  make_room_in(look_of_, count);
  if (plain_ == kNone) plain_ = new_look();
  look_of_.insert(look_of_.end(), count, plain_);
  uses_[plain_] += static_cast<std::uint32_t>(count);
}

void RowStyles::Kinds::add(std::uint32_t group) {
  const std::size_t row = from + of_row.size();
  const std::uint32_t look = styles.look_of(row);
  const bool as_above =
      !of_row.empty() && list[of_row.back()].before == look && list[of_row.back()].group == group;
  const std::uint32_t kind = as_above ? of_row.back() : find(look, group, row);
  ++list[kind].rows;
  of_row.push_back(kind);
}

std::uint32_t RowStyles::Kinds::find(std::uint32_t look, std::uint32_t group, std::size_t row) {
  constexpr std::size_t kShort = 8;
  const auto number = static_cast<std::uint32_t>(list.size());
  const auto key = [](const Kind& kind) { return std::uint64_t{kind.before} << 32U | kind.group; };
  const Kind wanted{look, group, row};
  if (list.size() < kShort) {
    for (std::uint32_t i = 0; i < number; ++i)
      if (key(list[i]) == key(wanted)) return i;
  } else {
    if (index.empty())
      for (std::uint32_t i = 0; i < number; ++i) index.emplace(key(list[i]), i);
    const auto [place, added] = index.try_emplace(key(wanted), number);
    if (!added) return place->second;
  }
  list.push_back(wanted);
  return number;
}

// For so many more looks.
void RowStyles::make_room(std::size_t looks) {
  make_room_in(styles_, looks * columns_);
  make_room_in(uses_, looks);
}

std::uint32_t RowStyles::new_look() {
  uses_.push_back(0);
  styles_.resize(styles_.size() + columns_);
  return static_cast<std::uint32_t>(uses_.size() - 1);
}

// To a look of their own, which is the one that they have when no other row has it.
void RowStyles::move_rows(Kind& kind) {
  if (kind.rows == uses_[kind.before]) {
    kind.now = kind.before;
    if (plain_ == kind.before) plain_ = kNone;
    return;
  }
  kind.now = new_look();
  std::copy_n(styles_.begin() + static_cast<std::ptrdiff_t>(kind.before * columns_), columns_,
              styles_.begin() + static_cast<std::ptrdiff_t>(kind.now * columns_));
  uses_[kind.before] -= kind.rows;
  uses_[kind.now] = kind.rows;
}

}  // namespace ordvane::office
