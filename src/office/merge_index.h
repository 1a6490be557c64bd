// The merged areas of one sheet, found by place.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "office/address.h"
#include "office/book.h"

namespace ordvane::office {

class MergeIndex {
 public:
  explicit MergeIndex(std::vector<Area>& merges) : merges_(merges) {}

  bool empty() const { return merges_.empty(); }
  // Those that meet the area.
  std::vector<Area> touching(const Area& area) const;
  bool covers(std::int32_t row, std::int32_t column) const { return !touching({row, column, 1, 1}).empty(); }
  void add(const Area& area);
  void remove_touching(const Area& area);

 private:
  static constexpr std::int32_t kRowsOfBlock = 64;

  std::vector<Area>& merges_;  // in the order they were made
  std::map<std::int32_t, std::vector<Area>> by_row_block_;
};

}  // namespace ordvane::office
