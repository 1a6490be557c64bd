#include "runfile/binary_columns.h"

#include <algorithm>

namespace ordvane::runfile {
namespace {

// So many results are held; of a run with very many outputs as many rows as make a piece worth writing.
constexpr std::size_t kResultsHeld = std::size_t{1} << 20;
constexpr std::size_t kFewestRows = 64, kMostRows = std::size_t{1} << 14;

std::string_view bytes_of(const double* first, std::size_t count) {
  return {reinterpret_cast<const char*>(first), count * sizeof(double)};
}

}  // namespace

BinaryColumns::BinaryColumns(const Run& run, TableKind kind, const WriteAt& write)
    : head_(head_of(run, kind)),
      write_(write),
      rows_held_(std::clamp(kResultsHeld / run.outputs.size(), kFewestRows, kMostRows)),
      values_at_(kHeadSize),
      results_(rows_held_ * run.outputs.size()) {}

// Pieces end where simulations do, whose columns stand apart.
void BinaryColumns::end_row() {
  ++row_;
  if (row_ == rows_held_ || (written_ + row_) % head_.recalculations == 0) write_piece();
}

void BinaryColumns::write_piece() {
  write_(values_at_, bytes_of(values_.data(), values_.size()));
  values_at_ += values_.size() * sizeof(double);
  values_.clear();
  const std::uint64_t simulation = written_ / head_.recalculations;
  const std::uint64_t first = written_ % head_.recalculations;
  for (std::size_t output = 0; output < head_.outputs; ++output) {
    const std::uint64_t column = simulation * head_.outputs + output;
    write_(head_.results_at() + (column * head_.recalculations + first) * sizeof(double),
           bytes_of(results_.data() + output * rows_held_, row_));
  }
  written_ += row_;
  row_ = 0;
}

void BinaryColumns::finish() {
  std::uint64_t at = head_.texts_at();
  marks_.write([&](std::string_view bytes) {
    write_(at, bytes);
    at += bytes.size();
  });
  marks_.count_in(head_);
  write_(0, runfile::bytes_of(head_));
}

}  // namespace ordvane::runfile
