#include "cli/signals.h"

#include <signal.h>

#include <atomic>

namespace ordvane::cli {
namespace {

std::atomic<int> g_signal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

extern "C" void ask_to_stop(int signal) {
  g_signal.store(signal);
}

}  // namespace

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
