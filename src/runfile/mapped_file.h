// Files as memory: what is in them needs none of the machine's own memory while nobody looks at it.
#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <memory>

namespace ordvane::runfile {

class MappedFile {
 public:
  // The file as it is, to be read. Null where the system cannot map it; it is to be read otherwise then.
  static std::shared_ptr<MappedFile> of(const std::filesystem::path& file);
  // A new file of zeros without a name, in the folder for temporary files: gone with the last that uses it.
  // All of it is there from the start. Null where the system maps no files; throws std::system_error where
  // there is no room for it.
  static std::shared_ptr<MappedFile> temporary(std::size_t bytes);

  ~MappedFile();
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::byte* data() const { return data_; }
  std::size_t size() const { return size_; }
  // What was looked at or written may leave memory; the file keeps it.
  void let_go() const;
  // So many bytes were looked at: now and then, all may leave memory.
  void looked_at(std::size_t bytes) const;

 private:
  MappedFile(std::byte* data, std::size_t size) : data_(data), size_(size) {}
  static std::shared_ptr<MappedFile> map(int file, std::size_t size, bool writable);

  std::byte* data_;
  std::size_t size_;
  mutable std::atomic<std::size_t> looked_at_ = 0;
};

}  // namespace ordvane::runfile
