// The styles of the cells of consecutive rows.
//
// Most rows of a table look like others of it: each different row of styles (a look) is kept once, and for
// rows of one look that follow each other only where they begin. Rows and columns count from 0.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <vector>

namespace ordvane::office {

using StyleId = std::uint16_t;

class RowStyles {
 public:
  explicit RowStyles(std::size_t columns = 0) : columns_(columns) {}

  std::size_t rows() const { return rows_; }
  // The styles of a row's cells.
  const StyleId* row(std::size_t row) const { return look(run_of(row)->second); }

  // In the default style.
  void add_rows(std::size_t count);

  // Calls visit(first, count, styles) for the rows of `count` from `first` on, those that follow each other
  // and look alike at once.
  template <class Visit>
  void for_each_look(std::size_t first, std::size_t count, const Visit& visit) const {
    const std::size_t end = first + count;
    for (auto run = count > 0 ? run_of(first) : runs_.end(); run != runs_.end() && run->first < end; ++run) {
      const std::size_t from = std::max(run->first, first), to = std::min(run_end(run), end);
      visit(from, to - from, look(run->second));
    }
  }

  // Changes rows in place: `change(styles)` is called once for all rows of one look. Nothing is changed when
  // memory fails; `change` throws nothing.
  template <class Change>
  void change(std::size_t first, std::size_t count, const Change& change) {
    if (count == 0) return;
    for (const std::uint32_t look : take_apart(first, count)) change(styles_.data() + look * columns_);
  }

  // The styles of all cells, some of them several times.
  template <class Visit>
  void for_each_style(const Visit& visit) const {
    for (const StyleId style : styles_) visit(style);
  }

 private:
  // The look of the rows from the key on.
  using Runs = std::map<std::size_t, std::uint32_t>;
  static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

  const StyleId* look(std::uint32_t look) const { return styles_.data() + look * columns_; }
  Runs::const_iterator run_of(std::size_t row) const { return std::prev(runs_.upper_bound(row)); }
  std::size_t run_end(Runs::const_iterator run) const {
    const auto next = std::next(run);
    return next == runs_.end() ? rows_ : next->first;
  }
  Runs::iterator split(std::size_t row);
  std::vector<std::uint32_t> take_apart(std::size_t first, std::size_t count);
  std::uint32_t own_look(std::uint32_t look, std::size_t rows);
  void make_room(std::size_t looks);
  std::uint32_t new_look();

  std::size_t columns_;
  std::size_t rows_ = 0;
  Runs runs_;
  std::vector<StyleId> styles_;    // of one look after the other
  std::vector<std::size_t> uses_;  // rows of each look: no look is left without
  std::uint32_t plain_ = kNone;    // the look of rows that nothing was done to
};

}  // namespace ordvane::office
