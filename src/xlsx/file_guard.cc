#include "xlsx/file_guard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace ordvane::xlsx {

std::string why_read_only(const std::filesystem::path& place) {
  struct stat status {};
  const bool nobody_may = ::stat(place.c_str(), &status) == 0 && (status.st_mode & 0222U) == 0;
  return nobody_may || ::access(place.c_str(), W_OK) != 0
             ? "it is read-only; allow writing it, or name another file"
             : "";
}

std::string why_open_elsewhere(const std::filesystem::path& place) {
  const std::string name = place.filename().string();
  const std::pair<std::string, const char*> kLocks[] = {{"~$" + name, "Excel"},
                                                        {".~lock." + name + "#", "LibreOffice"}};
  for (const auto& [lock, program] : kLocks) {
    std::error_code error;
    if (std::filesystem::exists(place.parent_path() / lock, error))
      return "it is open in " + std::string(program) + " (" + lock + " is beside it); close it there first";
  }
  return "";
}

std::string why_locked(int handle) {
  struct flock held {};
  held.l_type = F_WRLCK;
  held.l_whence = SEEK_SET;
  const bool locked = (::flock(handle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) ||
                      (::fcntl(handle, F_GETLK, &held) == 0 && held.l_type != F_UNLCK);
  return locked ? "another program has locked it; try again when it is done" : "";
}

std::string why_not_replaced(const std::filesystem::path& place) {
  std::string why = why_read_only(place);
  if (why.empty()) why = why_open_elsewhere(place);
  if (!why.empty()) return why;
  const int handle = ::open(place.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (handle < 0) return "";  // what cannot be read cannot be locked either
  why = why_locked(handle);
  ::close(handle);
  return why;
}

}  // namespace ordvane::xlsx
