#include "office/merge_index.h"

namespace ordvane::office {

std::vector<Area> MergeIndex::touching(const Area& area) const {
  std::vector<Area> found;
  const std::int32_t last = (area.row + area.rows - 1) / kRowsOfBlock;
  for (auto block = by_row_block_.lower_bound(area.row / kRowsOfBlock);
       block != by_row_block_.end() && block->first <= last; ++block) {
    for (const Area& merge : block->second) {
      const Area common = intersection(merge, area);
      // A tall merge stands in several blocks; it counts in the first that both share.
      if (!is_empty(common) && common.row / kRowsOfBlock == block->first) found.push_back(merge);
    }
  }
  return found;
}

void MergeIndex::add(const Area& area) {
  merges_.push_back(area);
  for (std::int32_t b = area.row / kRowsOfBlock; b <= (area.row + area.rows - 1) / kRowsOfBlock; ++b)
    by_row_block_[b].push_back(area);
}

void MergeIndex::remove_touching(const Area& area) {
  if (touching(area).empty()) return;
  const auto touches = [&](const Area& merge) { return !is_empty(intersection(merge, area)); };
  std::erase_if(merges_, touches);
  for (auto& [block, merges] : by_row_block_) std::erase_if(merges, touches);
}

}  // namespace ordvane::office
