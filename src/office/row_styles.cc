#include "office/row_styles.h"

#include <unordered_map>

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
  const bool goes_on = rows_ > 0 && run_of(rows_ - 1)->second == plain_;
  if (!goes_on) runs_.emplace(rows_, kNone);
  if (plain_ == kNone) plain_ = new_look();
  if (!goes_on) runs_.rbegin()->second = plain_;
  uses_[plain_] += count;
  rows_ += count;
}

// Where a run begins at this row now; the end behind the last row.
RowStyles::Runs::iterator RowStyles::split(std::size_t row) {
  if (row >= rows_) return runs_.end();
  const auto run = std::prev(runs_.upper_bound(row));
  return run->first == row ? run : runs_.emplace_hint(std::next(run), row, run->second);
}

// Gives these rows looks that no other rows have, which are returned.
std::vector<std::uint32_t> RowStyles::take_apart(std::size_t first, std::size_t count) {
  const auto begin = split(first), end = split(first + count);
  if (std::next(begin) == end) {
    make_room(1);
    std::vector<std::uint32_t> look(1);
    begin->second = look[0] = own_look(begin->second, count);
    return look;
  }
  struct Own {
    std::size_t rows = 0;
    std::uint32_t look = kNone;
  };
  std::unordered_map<std::uint32_t, Own> own;  // by the look so far
  std::vector<std::uint32_t> looks;            // going down
  for (auto run = begin; run != end; ++run) {
    Own& known = own[run->second];
    if (known.rows == 0) looks.push_back(run->second);
    known.rows += run_end(run) - run->first;
  }
  make_room(looks.size());
  for (std::uint32_t& look : looks) {
    Own& known = own.find(look)->second;
    known.look = look = own_look(look, known.rows);
  }
  for (auto run = begin; run != end; ++run) run->second = own.find(run->second)->second.look;
  return looks;
}

// The one that they have, when no other row has it.
std::uint32_t RowStyles::own_look(std::uint32_t look, std::size_t rows) {
  if (rows == uses_[look]) {
    if (plain_ == look) plain_ = kNone;
    return look;
  }
  const std::uint32_t copy = new_look();
  std::copy_n(styles_.begin() + static_cast<std::ptrdiff_t>(look * columns_), columns_,
              styles_.begin() + static_cast<std::ptrdiff_t>(copy * columns_));
  uses_[look] -= rows;
  uses_[copy] = rows;
  return copy;
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

}  // namespace ordvane::office
