// The calls that reading and writing workbooks make to the file system, in one place, so that each of them
// can be made to fail.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

#include "host/error.h"

namespace ordvane::xlsx {

// Each answers as the system call of its name does: below zero, with errno, when it fails.
class FileSystem {
 public:
  virtual ~FileSystem() = default;
  virtual int open(const std::string& path, int flags);
  virtual ssize_t read(int file, char* data, std::size_t size);
  // A new file, with this mode as far as the process's mask leaves it; six letters take the place of the last
  // six characters of `name`.
  virtual int create(std::string& name, mode_t mode);
  virtual ssize_t write(int file, const char* data, std::size_t size);
  virtual ssize_t write_at(int file, const char* data, std::size_t size, std::uint64_t position);
  // What was written to these bytes begins to go to the disk, and flush() has less to wait for.
  virtual int begin_flush(int file, std::uint64_t from, std::uint64_t size);
  virtual int change_mode(int file, mode_t mode);
  virtual int flush(int file);
  virtual int close(int file);
  virtual int rename(const std::string& from, const std::string& to);
  // Fails with EEXIST where `to` is there.
  virtual int rename_to_new(const std::string& from, const std::string& to);
  virtual int remove(const std::string& path);
};

// The system's own.
FileSystem& real_files();

// A file that the system would not read or write; the description names it and says why.
class FileError : public host::Error {
 public:
  // `action`: "cannot write"; `error`: what errno said.
  FileError(const std::filesystem::path& file, const char* action, int error);

  bool is_there_already() const;

 private:
  int error_;
};

}  // namespace ordvane::xlsx
