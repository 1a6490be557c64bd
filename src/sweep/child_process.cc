#include "sweep/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "host/error.h"
#include "text/system_reasons.h"

extern char** environ;

namespace ordvane::sweep {
namespace {

constexpr std::chrono::milliseconds kTick{50};  // how often a wait looks whether it is cancelled

[[noreturn]] void fail(const std::string& what, int error) {
  throw host::Error(host::errc::kHostRefused, what + ": " + text::system_reason(error));
}

struct Pipe {
  int read = -1, write = -1;
  Pipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) fail("cannot make a pipe", errno);
    read = ends[0];
    write = ends[1];
  }
};

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::string& folder) {
  const Pipe in;
  const Pipe out;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.read, 0);
  posix_spawn_file_actions_adddup2(&actions, out.write, 1);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // A group of its own: keys of the terminal do not reach it, and all of it can be ended at once.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
  sigset_t all;
  sigfillset(&all);
  posix_spawnattr_setsigdefault(&attributes, &all);
  std::vector<char*> words;
  for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  std::string temporary = "TMPDIR=" + folder;
  std::vector<char*> variables{temporary.data()};
  for (char** variable = environ; *variable != nullptr; ++variable)
    if (!std::string_view(*variable).starts_with("TMPDIR=")) variables.push_back(*variable);
  variables.push_back(nullptr);
  const int error =
      ::posix_spawnp(&process_, words[0], &actions, &attributes, words.data(), variables.data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  ::close(in.read);
  ::close(out.write);
  in_ = in.write;
  out_ = out.read;
  if (error == 0) return;
  ::close(in_);
  ::close(out_);
  if (error == ENOENT) throw host::Error(host::errc::kFileNotFound, command.front() + " is not installed");
  fail("cannot start " + command.front(), error);
}

ChildProcess::~ChildProcess() {
  ::kill(-process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::close(in_);
  ::close(out_);
}

void ChildProcess::tell(const std::string& line) {
  const std::string text = line + '\n';
  // Where the reader is gone, writing must not end this program, too.
  sigset_t broken;
  sigset_t before;
  sigemptyset(&broken);
  sigaddset(&broken, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &broken, &before);
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t size = ::write(in_, text.data() + done, text.size() - done);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) break;
    done += static_cast<std::size_t>(size);
  }
  const timespec now{};
  while (sigtimedwait(&broken, nullptr, &now) > 0) {
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ChildProcess::Answer ChildProcess::wait(std::string& line, std::chrono::milliseconds limit,
                                        const std::function<bool()>& cancelled) {
  const auto end = std::chrono::steady_clock::now() + limit;
  for (;;) {
    if (const std::size_t at = buffer_.find('\n'); at != std::string::npos) {
      line = buffer_.substr(0, at);
      buffer_.erase(0, at + 1);
      return Answer::kLine;
    }
    if (cancelled && cancelled()) throw host::Error(host::errc::kUserCancelled, "cancelled");
    if (std::chrono::steady_clock::now() >= end) return Answer::kTimeLimit;
    pollfd ready{out_, POLLIN, 0};
    if (::poll(&ready, 1, static_cast<int>(kTick.count())) <= 0) continue;
    char part[1 << 16];
    const ssize_t size = ::read(out_, part, sizeof part);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return Answer::kEnded;
    buffer_.append(part, static_cast<std::size_t>(size));
  }
}

PrivateFolder::PrivateFolder() {
  std::error_code error;
  const std::filesystem::path temporary = std::filesystem::temp_directory_path(error);
  if (error) fail("the folder for temporary files cannot be used; TMPDIR says where it is", error.value());
  path_ = (temporary / "ordvane-XXXXXX").string();
  if (::mkdtemp(path_.data()) == nullptr) fail("cannot make the folder " + path_, errno);
}

PrivateFolder::~PrivateFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace ordvane::sweep
