// The signals that ask a command to stop, and the one of a file that is gone.
#pragma once

namespace ordvane::cli {

// From here on SIGINT and SIGTERM no longer end the program.
void catch_signals();
// The one that came; 0 for none.
int caught_signal();

// From here on a file that is cut short while it is mapped ends the program with a message that names it,
// exit code 2, and without what was being written.
void catch_cut_files();

}  // namespace ordvane::cli
