// The entry that libFuzzer calls: one program a harness, which ORDVANE_HARNESS names.
#include <cstddef>
#include <cstdint>

#include "fuzz/harnesses.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ordvane::fuzz::ORDVANE_HARNESS({reinterpret_cast<const char*>(data), size});
  return 0;
}
