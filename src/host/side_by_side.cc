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

namespace {

thread_local HelperThreads* helpers_of_this_thread = nullptr;

}  // namespace

HelperThreads::HelperThreads() {
  if (helpers_of_this_thread == nullptr) helpers_of_this_thread = this;
}

HelperThreads::~HelperThreads() {
  if (helpers_of_this_thread == this) helpers_of_this_thread = nullptr;
  const std::lock_guard lock(mutex_);
  ends_ = true;
  begin_.notify_all();
}

HelperThreads* HelperThreads::at_hand() {
  HelperThreads* const helpers = helpers_of_this_thread;
  // Set and cleared on this thread only: work that calls for helpers of its own.
  return helpers != nullptr && helpers->work_ == nullptr ? helpers : nullptr;
}

void HelperThreads::call(std::size_t helpers, const std::function<void()>& work) {
  {
    const std::lock_guard lock(mutex_);
    grow(helpers);
    work_ = &work;
    wanted_ = std::min(helpers, threads_.size());
  }
  begin_.notify_all();
  work();
  std::unique_lock lock(mutex_);
  wanted_ = 0;  // nothing is left for those that have not begun
  done_.wait(lock, [this] { return busy_ == 0; });
  work_ = nullptr;
}

void HelperThreads::grow(std::size_t count) {
  try {
    while (threads_.size() < count) threads_.emplace_back([this] { serve(); });
  } catch (const std::system_error&) {
    // As many as there are have to do.
  } catch (const std::bad_alloc&) {
  }
}

void HelperThreads::serve() {
  std::unique_lock lock(mutex_);
  while (true) {
    begin_.wait(lock, [this] { return wanted_ > 0 || ends_; });
    if (ends_) return;
    --wanted_;
    ++busy_;
    const std::function<void()>& work = *work_;
    lock.unlock();
    work();
    lock.lock();
    if (--busy_ == 0) done_.notify_one();
  }
}

void side_by_side(std::size_t count, const std::function<void()>& work) {
  if (count <= 1) return work();
  if (HelperThreads* const helpers = HelperThreads::at_hand()) return helpers->call(count - 1, work);
  HelperThreads for_this_call;
  for_this_call.call(count - 1, work);
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
