// This thread's pending messages, which an apartment handles or nothing in it moves.
#pragma once

#include <chrono>

namespace ordvane::automation {

// Handles what is pending; WM_QUIT is left to the host's own loop.
void handle_messages();
// Handles what comes until the time is over.
void handle_messages_for(std::chrono::milliseconds time);

}  // namespace ordvane::automation
