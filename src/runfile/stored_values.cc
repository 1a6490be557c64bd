#include "runfile/stored_values.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "host/side_by_side.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kLeastMapped = std::size_t{1} << 17;  // fewer values are read at once

}  // namespace

StoredValues StoredValues::of_table(const std::filesystem::path& table, std::size_t offset,
                                    std::size_t count) {
  StoredValues values;
  values.coded_ = true;
  if (count >= kLeastMapped) values.file_ = MappedFile::of(table);
  if (values.file_) {
    values.mapped_ = reinterpret_cast<double*>(values.file_->data() + offset);
    values.size_ = count;
    return values;
  }
  values.make_room(count);
  const auto fail = [] { throw std::system_error(errno, std::generic_category()); };
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(table.string().c_str(), "rb"),
                                                             &std::fclose);
  if (!file) fail();
  std::vector<double> piece(kPiece);
  errno = EIO;  // for a file that has become shorter
  if (std::fseek(file.get(), static_cast<long>(offset), SEEK_SET) != 0) fail();
  for (std::size_t at = 0; at < count; at += piece.size()) {
    piece.resize(std::min(kPiece, count - at));
    if (std::fread(piece.data(), sizeof(double), piece.size(), file.get()) != piece.size()) fail();
    std::ranges::copy(piece, values.data() + at);
  }
  return values;
}

void StoredValues::make_room(std::size_t count, std::size_t most_in_memory) {
  if (count > most_in_memory) file_ = MappedFile::temporary(count * sizeof(double));
  if (!file_) {
    own_.resize(count);
    return host::fill_side_by_side(std::span(own_), 0.0);
  }
  mapped_ = reinterpret_cast<double*>(file_->data());
  size_ = count;
}

void StoredValues::copy(std::size_t first, std::span<double> to) const {
  const std::span<const double> from(data() + first, to.size());
  if (coded_)
    std::ranges::transform(from, to.begin(), decoded);
  else
    std::ranges::copy(from, to.begin());
  if (file_) file_->looked_at(from.size_bytes());
}

}  // namespace ordvane::runfile
