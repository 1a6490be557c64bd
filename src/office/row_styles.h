// The styles of the cells of consecutive rows.
//
// Most rows of a table look like others of it: each different row of styles (a look) is kept once. Rows and
// columns count from 0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace ordvane::office {

using StyleId = std::uint16_t;

class RowStyles {
 public:
  explicit RowStyles(std::size_t columns = 0) : columns_(columns) {}

  std::size_t rows() const { return look_of_.size(); }
  // The styles of a row's cells.
  const StyleId* row(std::size_t row) const { return styles_.data() + look_of_[row] * columns_; }
  // The same number for rows of the same look.
  std::uint32_t look_of(std::size_t row) const { return look_of_[row]; }

  // In the default style.
  void add_rows(std::size_t count);

  // Changes rows in place: `change(styles, row)` is called once for all rows of one look for which
  // `group(row)` is the same number, with the first of these rows, going down. Nothing is changed when memory
  // fails; `change` throws nothing.
  template <class Group, class Change>
  void change(std::size_t first, std::size_t count, const Group& group, const Change& change) {
    Kinds kinds(*this, first, count);
    for (std::size_t row = first; row < first + count; ++row) kinds.add(group(row));
    make_room(kinds.list.size());
    for (Kind& kind : kinds.list) {
      move_rows(kind);
      change(styles_.data() + kind.now * columns_, kind.first);
    }
    for (std::size_t i = 0; i < count; ++i) look_of_[first + i] = kinds.list[kinds.of_row[i]].now;
  }

  // The styles of all cells, some of them several times.
  template <class Visit>
  void for_each_style(const Visit& visit) const {
    for (const StyleId style : styles_) visit(style);
  }

 private:
  static constexpr std::uint32_t kNone = static_cast<std::uint32_t>(-1);

  // Rows that change alike.
  struct Kind {
    std::uint32_t before, group;
    std::size_t first;
    std::uint32_t rows = 0;
    std::uint32_t now = kNone;
  };
  struct Kinds {
    Kinds(const RowStyles& all, std::size_t first, std::size_t count) : styles(all), from(first) {
      of_row.reserve(count);
    }
    void add(std::uint32_t group);
    std::uint32_t find(std::uint32_t look, std::uint32_t group, std::size_t row);

    const RowStyles& styles;
    std::size_t from;
    std::vector<Kind> list;
    std::vector<std::uint32_t> of_row;
    std::unordered_map<std::uint64_t, std::uint32_t> index;  // of a long list
  };

  void make_room(std::size_t looks);
  std::uint32_t new_look();
  void move_rows(Kind& kind);

  std::size_t columns_;
  std::vector<std::uint32_t> look_of_;  // by row
  std::vector<StyleId> styles_;         // of one look after the other
  std::vector<std::uint32_t> uses_;     // rows of each look: no look is left without
  std::uint32_t plain_ = kNone;         // the look of rows that nothing was done to
};

}  // namespace ordvane::office
