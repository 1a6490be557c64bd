#include "xlsx/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace ordvane::xlsx {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse_to_write(const fs::path& path, int error) {
  throw FileError(path, "cannot write", error);
}

// A file beside the target that is gone again unless it takes the target's place.
class NewFile {
 public:
  // `path`: how the user calls the target.
  NewFile(FileSystem& files, const fs::path& target, const fs::path& path)
      : files_(files), target_(target), path_(path), name_(beside(target)) {
    replaces_ = ::stat(target_.c_str(), &old_) == 0;
    // Until it has the owner and the mode of the file that it replaces, nobody else may read it.
    handle_ = files_.create(name_, replaces_ ? 0600 : 0666);
    if (handle_ < 0) refuse_to_write(path_, errno);
  }
  ~NewFile() {
    if (handle_ >= 0) files_.close(handle_);
    if (!placed_) files_.remove(name_);
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t count = files_.write(handle_, bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) refuse_to_write(path_, errno);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  void take_place(const WholeFileOptions& options) {
    if (replaces_) take_over_owner_and_mode();
    if (files_.flush(handle_) != 0) refuse_to_write(path_, errno);
    const int handle = std::exchange(handle_, -1);
    if (files_.close(handle) != 0) refuse_to_write(path_, errno);
    if (options.before) options.before();
    const int renamed = options.replace ? files_.rename(name_, target_.string())
                                        : files_.rename_to_new(name_, target_.string());
    if (renamed != 0) refuse_to_write(path_, errno);
    placed_ = true;
  }

 private:
  static std::string beside(const fs::path& target) {
    return (target.parent_path() / ("." + target.filename().string() + ".XXXXXX")).string();
  }

  // The owner where that is allowed; a user who is not the owner becomes it.
  void take_over_owner_and_mode() {
    if (::fchown(handle_, old_.st_uid, old_.st_gid) != 0)
      static_cast<void>(::fchown(handle_, static_cast<uid_t>(-1), old_.st_gid) == 0);
    if (files_.change_mode(handle_, old_.st_mode & 07777U) != 0) refuse_to_write(path_, errno);
  }

  FileSystem& files_;
  fs::path target_, path_;
  std::string name_;
  struct stat old_ {};  // of the file that is replaced
  bool replaces_ = false;
  int handle_ = -1;
  bool placed_ = false;
};

// So that the new name survives a power failure. The file itself is safe by then.
void flush_directory(FileSystem& files, const fs::path& target) {
  const fs::path parent = target.parent_path();
  const int handle = files.open(parent.empty() ? "." : parent.string(), O_RDONLY | O_DIRECTORY);
  if (handle < 0) return;
  files.flush(handle);
  files.close(handle);
}

// Renaming over a directory cannot work, and over a device it would do harm.
void refuse_special(const fs::path& target, const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status)) refuse_to_write(path, EISDIR);
  if (fs::exists(status) && !fs::is_regular_file(status)) refuse_to_write(path, EINVAL);
}

}  // namespace

fs::path place_of(const fs::path& path) {
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error || resolved.empty() ? path : resolved;
}

void write_whole(const fs::path& path, std::string_view bytes, const WholeFileOptions& options) {
  write_whole_pieces(
      path, [&](const WritePiece& write) { write(bytes); }, options);
}

void write_whole_pieces(const fs::path& path, const std::function<void(const WritePiece& write)>& content,
                        const WholeFileOptions& options) {
  const fs::path target = place_of(path);
  refuse_special(target, path);
  FileSystem& files = options.files != nullptr ? *options.files : real_files();
  NewFile file(files, target, path);
  content([&](std::string_view bytes) { file.write(bytes); });
  file.take_place(options);
  flush_directory(files, target);
}

}  // namespace ordvane::xlsx
