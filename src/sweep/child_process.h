// A program in a process group of its own, asked and answering line by line.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ordvane::sweep {

class ChildProcess {
 public:
  // `folder`: the program's for temporary files. Throws host::Error when it cannot be started:
  // errc::kFileNotFound where there is no such program.
  ChildProcess(const std::vector<std::string>& command, const std::string& folder);
  // Ends it with everything that it started in its group.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // A line break is added. What a program that has ended is told is lost.
  void tell(const std::string& line);
  enum class Answer : std::uint8_t { kLine, kTimeLimit, kEnded };
  // The next line, without its break. `cancelled` is asked now and then; true throws kUserCancelled.
  Answer wait(std::string& line, std::chrono::milliseconds limit, const std::function<bool()>& cancelled);

 private:
  pid_t process_ = 0;
  int in_ = -1, out_ = -1;
  std::string buffer_;
};

// A folder under the system's folder for temporary files that only this user can read, gone with the object.
class PrivateFolder {
 public:
  PrivateFolder();
  ~PrivateFolder();
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace ordvane::sweep
