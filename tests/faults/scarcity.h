// Memory and threads that run out when a test says so: this program's operator new and pthread_create are its
// own, and so is the malloc of the libraries in C that packages are read and written with; under
// AddressSanitizer it is not.
#pragma once

#include <cstdint>
#include <limits>

namespace ordvane::test {

inline constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

enum class Shortage {
  kOnce,    // one allocation fails, the next is granted
  kForGood  // it and all that follow fail
};

// From here on, allocation number `fails` (from 0) is refused. Of all threads.
void begin_counting(std::int64_t fails, Shortage shortage);
// Allocations since, refused ones too; nothing is refused any more.
std::int64_t end_counting();
// Pieces of memory that operator new has given out and that are not back yet.
std::int64_t live_allocations();

// How many threads more the system grants.
void grant_threads(std::int64_t count);
// Threads that were asked for since, and refused.
std::int64_t threads_refused();

}  // namespace ordvane::test
