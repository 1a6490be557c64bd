#include "host/unset_memory.h"

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cstdint>
#include <functional>

#include "host/side_by_side.h"

namespace ordvane::host {

void give_back_side_by_side([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) {
#ifdef __linux__
  constexpr std::size_t kLeast = std::size_t{1} << 25U;  // below, threads take longer to begin
  static constexpr std::size_t kAtOnce = std::size_t{1} << 22U;
  if (bytes < kLeast) return;
  static const auto kPage = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  // Of whole pages only: beside them is memory of others.
  const std::size_t before = (kPage - reinterpret_cast<std::uintptr_t>(memory) % kPage) % kPage;
  const std::size_t whole = (bytes - before) / kPage * kPage;
  const auto give_back = [first = static_cast<char*>(memory) + before, whole](std::size_t piece) {
    const std::size_t at = piece * kAtOnce;
    // Where that fails it goes when it is freed.
    static_cast<void>(::madvise(first + at, std::min(kAtOnce, whole - at), MADV_DONTNEED) == 0);
  };
  each_side_by_side((whole + kAtOnce - 1) / kAtOnce, processors(), std::cref(give_back));
#endif
}

}  // namespace ordvane::host
