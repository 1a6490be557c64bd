// Writes a package to a file that appears whole or not at all.
#include "xlsx/save.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/error.h"

namespace ordvane::xlsx {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse_to_write(const fs::path& path, int error) {
  throw host::Error(host::errc::kHostRefused,
                    path.string() + ": cannot write: " + std::generic_category().message(error));
}

// A file beside the target that is gone again unless it takes the target's place.
class NewFile {
 public:
  // `path`: how the user calls the target.
  NewFile(const fs::path& target, const fs::path& path)
      : target_(target), path_(path), name_(beside(target)) {
    handle_ = ::mkostemp(name_.data(), O_CLOEXEC);
    if (handle_ < 0) refuse_to_write(path_, errno);
  }
  ~NewFile() {
    if (handle_ >= 0) ::close(handle_);
    if (!placed_) ::unlink(name_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = ::write(handle_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) refuse_to_write(path_, errno);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  void take_place() {
    if (::fchmod(handle_, wanted_mode()) != 0 || ::fsync(handle_) != 0) refuse_to_write(path_, errno);
    const int handle = std::exchange(handle_, -1);
    if (::close(handle) != 0) refuse_to_write(path_, errno);
    if (::rename(name_.c_str(), target_.c_str()) != 0) refuse_to_write(path_, errno);
    placed_ = true;
  }

 private:
  static std::string beside(const fs::path& target) {
    return (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
  }

  // The mode of the file that is replaced; of a new one what any program would give it.
  mode_t wanted_mode() const {
    struct stat old {};
    if (::stat(target_.c_str(), &old) == 0) return old.st_mode & 07777U;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666U & ~mask;
  }

  fs::path target_, path_;
  std::string name_;
  int handle_ = -1;
  bool placed_ = false;
};

// So that the new name survives a power failure. The file itself is safe by then.
void flush_directory(const fs::path& target) {
  const fs::path parent = target.parent_path();
  const int handle = ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  ::fsync(handle);
  ::close(handle);
}

// Follows links, so that a link to a workbook stays one.
fs::path target_of(const fs::path& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error || resolved.empty() ? path : resolved;
}

// Renaming over a directory cannot work, and over a device it would do harm.
void refuse_special(const fs::path& target, const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status)) refuse_to_write(path, EISDIR);
  if (fs::exists(status) && !fs::is_regular_file(status)) refuse_to_write(path, EINVAL);
}

}  // namespace

void save(const office::BookModel& book, const fs::path& path, const SaveOptions& options) {
  const std::string bytes = package(book, options);
  const fs::path target = target_of(path);
  refuse_special(target, path);
  NewFile file(target, path);
  file.write(bytes);
  if (options.cancelled && options.cancelled()) throw host::Error(host::errc::kUserCancelled, "cancelled");
  file.take_place();
  flush_directory(target);
}

}  // namespace ordvane::xlsx
