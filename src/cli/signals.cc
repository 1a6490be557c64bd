#include "cli/signals.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstddef>
#include <string_view>

#include "cli/commands.h"
#include "runfile/mapped_names.h"
#include "sweep/run_files.h"

namespace ordvane::cli {
namespace {

std::atomic<int> g_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

extern "C" void ask_to_stop(int signal) {
  g_signal.store(signal);
}

// What follows runs where a signal is handled: it takes no memory and calls the system alone.

void say(std::string_view text) {
  while (!text.empty()) {
    const ssize_t size = ::write(STDERR_FILENO, text.data(), text.size());
    if (size <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(size));
  }
}

// ".NAME." and six letters, as files are called while they are written.
bool is_unfinished(std::string_view path) {
  constexpr std::size_t kEnd = 7;
  const std::string_view name = path.substr(path.rfind('/') + 1);
  if (name.size() < kEnd + 2 || name.front() != '.' || name[name.size() - kEnd] != '.') return false;
  for (const char letter : name.substr(name.size() - kEnd + 1))
    if ((letter < '0' || letter > '9') && (letter < 'A' || letter > 'Z') && (letter < 'a' || letter > 'z'))
      return false;
  return true;
}

// Of the files that this process writes, those that have not taken their places: the open ones of such a
// name.
void remove_unfinished_files() {
  constexpr int kMostFiles = 1024;  // of four digits at most
  for (int file = STDERR_FILENO + 1; file < kMostFiles; ++file) {
    struct stat there {};
    const int flags = ::fcntl(file, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY || ::fstat(file, &there) != 0 || !S_ISREG(there.st_mode))
      continue;
    std::array<char, 32> link{"/proc/self/fd/"};
    std::size_t end = std::string_view(link.data()).size();
    for (int power = 1000; power > 0; power /= 10)
      if (file >= power || power == 1) link[end++] = static_cast<char>('0' + file / power % 10);
    std::array<char, PATH_MAX + 1> path{};
    const ssize_t size = ::readlink(link.data(), path.data(), PATH_MAX);
    if (size > 0 && is_unfinished({path.data(), static_cast<std::size_t>(size)})) ::unlink(path.data());
  }
}

extern "C" void end_for_cut_file(int signal, siginfo_t* info, void* /*context*/) {
  const char* const file = runfile::mapped_file_at(info->si_addr);
  if (file == nullptr) {
    // A fault of another kind: the instruction runs again, and ends the program as usual.
    ::signal(signal, SIG_DFL);
    return;
  }
  remove_unfinished_files();
  sweep::remove_unfinished_tables();
  if (::isatty(STDERR_FILENO) != 0) say("\r\033[K");  // a line of progress
  say("ordvane: ");
  say(file);
  say(": was cut short while it was read\n");
  ::_exit(kBadInput);
}

}  // namespace

void catch_cut_files() {
  struct sigaction action {};
  action.sa_sigaction = end_for_cut_file;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGBUS, &action, nullptr);
}

void catch_signals() {
  struct sigaction action {};
  action.sa_handler = ask_to_stop;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);  // as nohup has set it
  }
  // A reader that is gone, or a file that grows too large, is seen where it is written to.
  action.sa_handler = SIG_IGN;
  for (const int signal : {SIGPIPE, SIGXFSZ}) sigaction(signal, &action, nullptr);
}

int caught_signal() {
  return g_signal.load();
}

}  // namespace ordvane::cli
