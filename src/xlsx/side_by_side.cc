#include "xlsx/side_by_side.h"

#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace ordvane::xlsx {

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

}  // namespace ordvane::xlsx
