#include "xlsx/file_system.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string_view>

#include "text/system_reasons.h"

namespace ordvane::xlsx {

int FileSystem::open(const std::string& path, int flags) {
  return ::open(path.c_str(), flags | O_CLOEXEC);
}

ssize_t FileSystem::read(int file, char* data, std::size_t size) {
  return ::read(file, data, size);
}

// Not mkostemp, which gives every file the same mode: only the system can apply the process's mask without
// another thread seeing it changed.
int FileSystem::create(std::string& name, mode_t mode) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  constexpr std::size_t kRandom = 6;
  constexpr int kAttempts = 1000;
  std::random_device random;
  std::uniform_int_distribution<std::size_t> letter(0, kLetters.size() - 1);
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    for (std::size_t i = name.size() - kRandom; i < name.size(); ++i) name[i] = kLetters[letter(random)];
    const int file = ::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file >= 0 || errno != EEXIST) return file;
  }
  return -1;
}

ssize_t FileSystem::write(int file, const char* data, std::size_t size) {
  return ::write(file, data, size);
}

ssize_t FileSystem::write_at(int file, const char* data, std::size_t size, std::uint64_t position) {
  return ::pwrite(file, data, size, static_cast<off_t>(position));
}

int FileSystem::begin_flush(int file, std::uint64_t from, std::uint64_t size) {
  return ::sync_file_range(file, static_cast<off_t>(from), static_cast<off_t>(size), SYNC_FILE_RANGE_WRITE);
}

int FileSystem::change_mode(int file, mode_t mode) {
  return ::fchmod(file, mode);
}

int FileSystem::flush(int file) {
  return ::fsync(file);
}

int FileSystem::close(int file) {
  return ::close(file);
}

int FileSystem::rename(const std::string& from, const std::string& to) {
  return ::rename(from.c_str(), to.c_str());
}

int FileSystem::rename_to_new(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  // A file system that cannot: a second name, which is never given over a file, and the first one away.
  if (::link(from.c_str(), to.c_str()) != 0) return -1;
  ::unlink(from.c_str());
  return 0;
}

int FileSystem::remove(const std::string& path) {
  return ::unlink(path.c_str());
}

FileSystem& real_files() {
  static FileSystem files;
  return files;
}

FileError::FileError(const std::filesystem::path& file, const char* action, int error)
    : host::Error(host::errc::kHostRefused,
                  file.string() + ": " + action + ": " + text::system_reason(error)),
      error_(error) {}

bool FileError::is_there_already() const {
  return error_ == EEXIST;
}

}  // namespace ordvane::xlsx
