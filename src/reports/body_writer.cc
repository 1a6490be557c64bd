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

bool fills_side_by_side(const session::Session& session) {
  return model::NumberRules(session.engine, session.environment).concurrent();
}

PieceSizes::PieceSizes(std::int32_t body_rows, std::int32_t columns, bool side_by_side)
    : rows(0), threads(side_by_side ? host::processors() : 1), pieces(1) {
  // A thread has several of them, so that none waits long for the others.
  constexpr std::int32_t kPiecesOfAThread = 4;
  if (threads > 1) pieces = kPiecesOfAThread * threads;
  const std::int32_t cells = threads > 1 ? kCellsPerBlock / kPiecesOfAThread : kCellsPerBlock;
  rows = std::clamp(cells / columns, 1, std::max(body_rows, 1));
}

}  // namespace ordvane::reports
