#include "xlsx/whole_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "host/side_by_side.h"
#include "xlsx/file_guard.h"

namespace ordvane::xlsx {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse_to_write(const fs::path& path, int error) {
  throw FileError(path, "cannot write", error);
}

// Names of files that are being written: ".NAME." and as many characters, no two files the same.
constexpr std::size_t kRandom = 6;
constexpr std::size_t kLongestName = 255;

std::string unfinished_prefix(const fs::path& target) {
  constexpr std::size_t kAround = 2 + kRandom;  // the two dots
  return "." + target.filename().string().substr(0, kLongestName - kAround) + ".";
}

// Not locked, so that nobody writes it any more, and not so young that it may be about to be locked.
bool is_abandoned(const std::string& file) {
  constexpr std::time_t kYoung = 60;  // seconds
  struct stat state {};
  if (::lstat(file.c_str(), &state) != 0 || !S_ISREG(state.st_mode)) return false;
  if (std::time(nullptr) - state.st_mtime < kYoung) return false;
  const int handle = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (handle < 0) return false;
  const bool free = why_locked(handle).empty();
  ::close(handle);
  return free;
}

std::string folder_of(const fs::path& target) {
  return target.has_parent_path() ? target.parent_path().string() : ".";
}

// What processes that were killed have left. Nothing depends on it, so that failures are of no interest. The
// system's own functions: where memory is lacking, the standard library's walk through a folder ends the
// process.
void remove_abandoned(const fs::path& target) {
  const std::string prefix = unfinished_prefix(target);
  const std::string folder = folder_of(target);
  const auto is_letter = [](unsigned char letter) { return std::isalnum(letter) != 0; };
  const std::unique_ptr<DIR, int (*)(DIR*)> files(::opendir(folder.c_str()), &::closedir);
  if (!files) return;
  while (const dirent* const entry = ::readdir(files.get())) {
    const std::string_view name = entry->d_name;
    if (name.size() != prefix.size() + kRandom || !name.starts_with(prefix) ||
        !std::all_of(name.end() - kRandom, name.end(), is_letter))
      continue;
    const std::string file = folder + "/" + std::string(name);
    if (is_abandoned(file)) ::unlink(file.c_str());
  }
}

// Access lists among them. Those of the system's own name spaces are its business and need rights to set.
void copy_extended_attributes(const fs::path& from, int to, const fs::path& path) {
  const ssize_t size = ::listxattr(from.c_str(), nullptr, 0);
  if (size <= 0) return;
  std::vector<char> names(static_cast<std::size_t>(size));
  const ssize_t listed = ::listxattr(from.c_str(), names.data(), names.size());
  for (const char* name = names.data(); listed > 0 && name < names.data() + listed;
       name += std::string_view(name).size() + 1) {
    const bool is_ours =
        std::string_view(name).starts_with("user.") || std::string_view(name) == "system.posix_acl_access";
    const ssize_t length = is_ours ? ::getxattr(from.c_str(), name, nullptr, 0) : -1;
    if (length < 0) continue;
    std::vector<char> value(static_cast<std::size_t>(length));
    const ssize_t read = ::getxattr(from.c_str(), name, value.data(), value.size());
    if (read < 0 || ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(read), 0) != 0)
      refuse_to_write(path, errno);
  }
}

// A rename waits while the system throws out what it keeps in memory of the file that is replaced, unless
// that is gone already.
void let_go_of(const char* file) {
  const int handle = ::open(file, O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (handle < 0) return;
  static_cast<void>(::posix_fadvise(handle, 0, 0, POSIX_FADV_DONTNEED));
  ::close(handle);
}

// A file beside the target that is gone again unless it takes the target's place.
class NewFile : public ByteSink {
 public:
  // `path`: how the user calls the target.
  NewFile(FileSystem& files, const fs::path& target, const fs::path& path)
      : files_(files), target_(target), path_(path), name_(beside(target)) {
    replaces_ = ::stat(target_.c_str(), &old_) == 0;
    // Until it has the owner and the mode of the file that it replaces, nobody else may read it.
    handle_ = files_.create(name_, replaces_ ? 0600 : 0666);
    if (handle_ < 0) refuse_to_write(path_, errno);
    static_cast<void>(::flock(handle_, LOCK_EX | LOCK_NB));  // alive, to other processes
    if (replaces_ && old_.st_size >= kLarge) letting_go_.emplace([this] { let_go_of(target_.c_str()); });
  }
  ~NewFile() override {
    if (handle_ >= 0) files_.close(handle_);
    if (!placed_) files_.remove(name_);
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::string_view bytes) override {
    write_all(bytes, [&](std::string_view rest) { return files_.write(handle_, rest.data(), rest.size()); });
    written_ += bytes.size();
    if (written_ - begun_ < kFlushedAtOnce) return;
    static_cast<void>(files_.begin_flush(handle_, begun_, written_ - begun_));  // flush() tells what fails
    begun_ = written_;
  }
  void write_over(std::uint64_t at, std::string_view bytes) override {
    const char* const begin = bytes.data();
    write_all(bytes, [&](std::string_view rest) {
      return files_.write_at(handle_, rest.data(), rest.size(),
                             at + static_cast<std::uint64_t>(rest.data() - begin));
    });
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
  static constexpr std::uint64_t kFlushedAtOnce = std::uint64_t{16} << 20U;
  static constexpr off_t kLarge = off_t{16} << 20U;

  template <class Write>
  void write_all(std::string_view bytes, const Write& write) {
    while (!bytes.empty()) {
      const ssize_t count = write(bytes);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) refuse_to_write(path_, errno);
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  static std::string beside(const fs::path& target) {
    return (target.parent_path() / (unfinished_prefix(target) + std::string(kRandom, 'X'))).string();
  }

  // The owner where that is allowed; a user who is not the owner becomes it.
  void take_over_owner_and_mode() {
    if (::fchown(handle_, old_.st_uid, old_.st_gid) != 0)
      static_cast<void>(::fchown(handle_, static_cast<uid_t>(-1), old_.st_gid) == 0);
    if (files_.change_mode(handle_, old_.st_mode & 07777U) != 0) refuse_to_write(path_, errno);
    copy_extended_attributes(target_, handle_, path_);
  }

  FileSystem& files_;
  fs::path target_, path_;
  std::string name_;
  struct stat old_ {};  // of the file that is replaced
  bool replaces_ = false;
  int handle_ = -1;
  std::uint64_t written_ = 0;  // bytes
  std::uint64_t begun_ = 0;    // of them, that were sent to the disk or are on their way
  bool placed_ = false;
  std::optional<host::Aside> letting_go_;  // last, since it looks at the others
};

// So that the new name survives a power failure. The file itself is safe by then.
void flush_directory(FileSystem& files, const std::string& folder) {
  const int handle = files.open(folder, O_RDONLY | O_DIRECTORY);
  if (handle < 0) return;
  files.flush(handle);
  files.close(handle);
}

// Renaming over a directory cannot work, and over a device it would do harm.
void check_target(const fs::path& target, const fs::path& path, const WholeFileOptions& options) {
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::is_directory(status)) refuse_to_write(path, EISDIR);
  if (!fs::exists(status)) return;
  if (!fs::is_regular_file(status)) refuse_to_write(path, EINVAL);
  if (options.guarded || !options.replace) return;
  if (const std::string why = why_not_replaced(target); !why.empty())
    throw host::Error(host::errc::kHostRefused, path.string() + ": cannot write: " + why);
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
  write_whole_file(
      path, [&](ByteSink& file) { content([&](std::string_view bytes) { file.write(bytes); }); }, options);
}

void write_whole_file(const fs::path& path, const std::function<void(ByteSink& file)>& content,
                      const WholeFileOptions& options) {
  const fs::path target = place_of(path);
  check_target(target, path, options);
  remove_abandoned(target);
  FileSystem& files = options.files != nullptr ? *options.files : real_files();
  const std::string folder = folder_of(target);
  NewFile file(files, target, path);
  content(file);
  file.take_place(options);
  flush_directory(files, folder);  // once the file is in its place, nothing takes memory
}

}  // namespace ordvane::xlsx
