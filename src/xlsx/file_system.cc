#include "xlsx/file_system.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace ordvane::xlsx {

int FileSystem::open(const std::string& path, int flags) {
  return ::open(path.c_str(), flags | O_CLOEXEC);
}

ssize_t FileSystem::read(int file, char* data, std::size_t size) {
  return ::read(file, data, size);
}

int FileSystem::create(std::string& name) {
  return ::mkostemp(name.data(), O_CLOEXEC);
}

ssize_t FileSystem::write(int file, const char* data, std::size_t size) {
  return ::write(file, data, size);
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

}  // namespace ordvane::xlsx
