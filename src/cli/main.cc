// The ordvane command.
#include <clocale>

#include "cli/signals.h"
#include "cli/whole_command.h"

int main(int argc, char** argv) {
  // Characters and dates as the user has them; numbers are written the same everywhere.
  std::setlocale(LC_CTYPE, "");
  std::setlocale(LC_TIME, "");
  ordvane::cli::catch_cut_files();
  return ordvane::cli::run_whole_command(argc, argv);
}
