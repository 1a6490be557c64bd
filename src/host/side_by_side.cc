#include "host/side_by_side.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <tuple>
#include <vector>

namespace ordvane::host {

std::size_t processors() {
  // The system reads a file of its own to answer.
  static const std::size_t kProcessors = std::max(1U, std::thread::hardware_concurrency());
  return kProcessors;
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

Aside::Aside(const std::function<void()>& work) {
  try {
    thread_ = std::jthread(work);
  } catch (const std::system_error&) {
    work();
  } catch (const std::bad_alloc&) {
    work();
  }
}

void each_side_by_side(std::size_t count, std::size_t threads, const std::function<void(std::size_t)>& each) {
  std::atomic<std::size_t> next = 0;
  std::mutex mutex;
  std::size_t failed = count;
  std::exception_ptr failure;
  const auto work = [&] {
    for (std::size_t i = next++; i < count; i = next++) try {
        each(i);
      } catch (...) {
        next = count;
        const std::lock_guard lock(mutex);
        if (i < failed) std::tie(failed, failure) = std::tuple(i, std::current_exception());
      }
  };
  side_by_side(std::min(count, threads), std::cref(work));  // which takes no memory
  if (failure) std::rethrow_exception(failure);
}

}  // namespace ordvane::host
