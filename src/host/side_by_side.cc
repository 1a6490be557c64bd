#include "host/side_by_side.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace ordvane::host {

std::size_t processors() {
  return std::max(1U, std::thread::hardware_concurrency());
}

void side_by_side(std::size_t count, const std::function<void()>& work) {
  std::vector<std::jthread> others;
  try {
    for (std::size_t i = 1; i < count; ++i) others.emplace_back(work);
  } catch (const std::system_error&) {
    // As many as were started have to do.
  } catch (const std::bad_alloc&) {
  }
  work();
}

}  // namespace ordvane::host
