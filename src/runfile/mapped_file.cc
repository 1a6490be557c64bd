#include "runfile/mapped_file.h"

#include <algorithm>

#include "runfile/mapped_names.h"

#ifndef _WIN32
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>
#include <utility>

#include "text/edit.h"
#endif

namespace ordvane::runfile {
namespace {

constexpr std::size_t kMostLookedAt = std::size_t{1} << 26;
// Systems bring the pages around one that is looked at, too.
constexpr std::size_t kLeastLook = std::size_t{1} << 16;

}  // namespace

void MappedFile::looked_at(std::size_t bytes) const {
  bytes = std::max(bytes, kLeastLook);
  if (looked_at_.fetch_add(bytes, std::memory_order_relaxed) + bytes < kMostLookedAt) return;
  looked_at_.store(0, std::memory_order_relaxed);
  let_go();
}

#ifdef _WIN32

std::shared_ptr<MappedFile> MappedFile::of(const std::filesystem::path& /*file*/) {
  return nullptr;
}
std::shared_ptr<MappedFile> MappedFile::temporary(std::size_t /*bytes*/) {
  return nullptr;
}
MappedFile::~MappedFile() = default;
void MappedFile::let_go() const {}
const char* mapped_file_at(const void* /*address*/) noexcept {
  return nullptr;
}

#else

namespace {

// A mapping as a signal handler can look at it.
struct Place {
  std::atomic<bool> taken{false};
  std::atomic<std::uintptr_t> begin{0}, end{0};
  std::atomic<const char*> name{nullptr};
};
static_assert(std::atomic<std::uintptr_t>::is_always_lock_free &&
              std::atomic<const char*>::is_always_lock_free);
constinit std::array<Place, 64> g_places;  // what is mapped beyond them has no name

// A mapping that can be named while it is there.
class NamedFile {
 public:
  NamedFile(std::shared_ptr<MappedFile> file, std::string name)
      : name_(std::move(name)), file_(std::move(file)) {
    const auto free = std::find_if(g_places.begin(), g_places.end(),
                                   [](Place& place) { return !place.taken.exchange(true); });
    if (free == g_places.end()) return;
    place_ = &*free;
    const auto begin = reinterpret_cast<std::uintptr_t>(file_->data());
    place_->name = name_.c_str();
    place_->begin = begin;
    place_->end = begin + file_->size();
  }
  ~NamedFile() {
    if (place_ == nullptr) return;
    place_->end = 0;
    place_->taken = false;
  }
  NamedFile(const NamedFile&) = delete;
  NamedFile& operator=(const NamedFile&) = delete;

  MappedFile* file() const { return file_.get(); }

 private:
  const std::string name_;
  const std::shared_ptr<MappedFile> file_;
  Place* place_ = nullptr;
};

std::shared_ptr<MappedFile> named(std::shared_ptr<MappedFile> file, const std::filesystem::path& path) {
  if (!file) return file;
  const auto holder = std::make_shared<NamedFile>(std::move(file), text::one_line(path.string()));
  return {holder, holder->file()};
}

class Descriptor {
 public:
  explicit Descriptor(int file) : file_(file) {}
  ~Descriptor() {
    if (file_ >= 0) ::close(file_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return file_; }

 private:
  int file_;
};

[[noreturn]] void fail(int error) {
  throw std::system_error(error, std::generic_category());
}

}  // namespace

const char* mapped_file_at(const void* address) noexcept {
  const auto at = reinterpret_cast<std::uintptr_t>(address);
  for (const Place& place : g_places)
    if (place.begin <= at && at < place.end) return place.name;
  return nullptr;
}

std::shared_ptr<MappedFile> MappedFile::map(int file, std::size_t size, bool writable) {
  void* const data =
      ::mmap(nullptr, size, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, file, 0);
  if (data == MAP_FAILED) return nullptr;
  return std::shared_ptr<MappedFile>(new MappedFile(static_cast<std::byte*>(data), size));
}

std::shared_ptr<MappedFile> MappedFile::of(const std::filesystem::path& file) {
  const Descriptor opened(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat there {};
  if (opened.get() < 0 || ::fstat(opened.get(), &there) != 0 || there.st_size == 0) return nullptr;
  return named(map(opened.get(), static_cast<std::size_t>(there.st_size), false), file);
}

// Room is taken at once: a disk that is full later would end the program.
std::shared_ptr<MappedFile> MappedFile::temporary(std::size_t bytes) {
  std::string name = (std::filesystem::temp_directory_path() / "ordvane-XXXXXX").string();
  const Descriptor made(::mkostemp(name.data(), O_CLOEXEC));
  if (made.get() < 0) fail(errno);
  ::unlink(name.c_str());
  if (const int error = ::posix_fallocate(made.get(), 0, static_cast<off_t>(bytes)); error != 0) fail(error);
  auto mapped = map(made.get(), bytes, true);
  if (!mapped) fail(errno);
  return named(std::move(mapped), name);
}

MappedFile::~MappedFile() {
  ::munmap(data_, size_);
}

void MappedFile::let_go() const {
  ::madvise(data_, size_, MADV_DONTNEED);
}

#endif

}  // namespace ordvane::runfile
