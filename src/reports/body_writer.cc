#include "reports/body_writer.h"

#include <algorithm>

namespace ordvane::reports {
namespace {

// Cells gathered before they are written: enough to make a write cheap, few enough to stay in the cache.
constexpr std::int32_t kCellsPerBlock = 1 << 16;

}  // namespace

BodyWriter::BodyWriter(layout::ReportTable& table, std::int32_t rows)
    : table_(table),
      block_(std::clamp(kCellsPerBlock / table.columns(), 1, std::max(rows, 1)), table.columns()) {}

std::int32_t BodyWriter::next_row() {
  if (filled_ == block_.rows()) flush();
  return ++filled_;
}

void BodyWriter::flush() {
  if (filled_ < 1) return;
  if (filled_ < block_.rows()) block_.truncate(filled_);  // the last block
  table_.PutBody(written_ + 1, block_);
  written_ += filled_;
  filled_ = 0;
  block_.clear();
}

}  // namespace ordvane::reports
