// The ordvane command.
#include <clocale>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "cli/signals.h"
#include "cli/whole_command.h"

namespace {

// Blocks of some MiB come and go on every thread. To ask the system for each of them takes longer than to
// fill it, and the more threads ask the longer.
void keep_freed_blocks() {
#ifdef __GLIBC__
  constexpr int kKept = 16 << 20;  // bytes
  mallopt(M_MMAP_THRESHOLD, kKept);
  mallopt(M_TRIM_THRESHOLD, kKept);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  keep_freed_blocks();
  // Characters and dates as the user has them; numbers are written the same everywhere.
  std::setlocale(LC_CTYPE, "");
  std::setlocale(LC_TIME, "");
  ordvane::cli::catch_cut_files();
  return ordvane::cli::run_whole_command(argc, argv);
}
