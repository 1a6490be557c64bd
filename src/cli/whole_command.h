// The command from its arguments to its exit code.
#pragma once

namespace ordvane::cli {

// Whatever goes wrong becomes a message on standard error and an exit code, also where there is no memory
// left to say more.
int run_whole_command(int argc, char** argv) noexcept;

}  // namespace ordvane::cli
