// The values of a run: in memory while they are few, else in a file without a name; or in the binary table
// that they were recorded in.
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

#include "host/unset_memory.h"
#include "runfile/mapped_file.h"
#include "runfile/values.h"

namespace ordvane::runfile {

class StoredValues {
 public:
  static constexpr std::size_t kMostInMemory = std::size_t{1} << 23;  // 64 MiB of them

  StoredValues() = default;
  // `count` values of a binary table, from so many bytes on; the file has them all. Throws std::system_error
  // where it cannot be read, and as make_room() does.
  static StoredValues of_table(const std::filesystem::path& table, std::size_t offset, std::size_t count);

  // Room for values that are put one by one. Throws std::bad_alloc or std::length_error without memory,
  // std::system_error without a place for a file.
  void make_room(std::size_t count, std::size_t most_in_memory = kMostInMemory);

  std::size_t size() const { return file_ ? size_ : own_.size(); }
  double operator[](std::size_t at) const {
    const double value = data()[at];
    return coded_ ? decoded(value) : value;
  }
  // Of values that are no table's.
  void put(std::size_t at, double value) { data()[at] = value; }
  // The values from `first` on, as many as `to` has room for.
  void copy(std::size_t first, std::span<double> to) const;
  // The same in pieces, which are good until `take` returns.
  template <class Take>
  void take_pieces(std::size_t first, std::size_t count, const Take& take) const {
    if (!coded_ && !file_) return take(std::span<const double>(own_).subspan(first, count));
    std::vector<double> piece(std::min(count, kPiece));
    for (std::size_t at = first; at < first + count; at += piece.size()) {
      piece.resize(std::min(piece.size(), first + count - at));
      copy(at, piece);
      take(std::span<const double>(piece));
    }
  }
  // Of values that are in memory: themselves.
  host::UnsetVector<double>& in_memory() { return own_; }
  const host::UnsetVector<double>& in_memory() const { return own_; }
  // As they are in the table: see decoded().
  double recorded(std::size_t at) const { return data()[at]; }

  void looked_at(std::size_t count) const {
    if (file_) file_->looked_at(count * sizeof(double));
  }
  // What was read or put so far may leave memory where a file keeps it.
  void let_go() const {
    if (file_) file_->let_go();
  }

 private:
  static constexpr std::size_t kPiece = std::size_t{1} << 16;

  const double* data() const { return file_ ? mapped_ : own_.data(); }
  double* data() { return file_ ? mapped_ : own_.data(); }

  host::UnsetVector<double> own_;
  std::shared_ptr<MappedFile> file_;  // null: they are in memory
  double* mapped_ = nullptr;          // the first of them there
  std::size_t size_ = 0;              // how many there are
  bool coded_ = false;                // as in binary tables
};

}  // namespace ordvane::runfile
