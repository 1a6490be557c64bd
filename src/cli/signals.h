// The signals that ask a command to stop.
#pragma once

namespace ordvane::cli {

// From here on SIGINT and SIGTERM no longer end the program.
void catch_signals();
// The one that came; 0 for none.
int caught_signal();

}  // namespace ordvane::cli
