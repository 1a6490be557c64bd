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
  for (const int signal : {SIGINT, SIGTERM}) sigaction(signal, &action, nullptr);
}

int caught_signal() {
  return g_signal.load();
}

}  // namespace ordvane::cli
