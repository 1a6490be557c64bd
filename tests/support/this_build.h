// What test cases must know of the build that they run in. Most of them are compiled once and linked into two
// programs, one with the sanitizers in the code under test, so that the preprocessor cannot tell them.
#pragma once

namespace ordvane::test {

extern const bool kSanitized;

}  // namespace ordvane::test
