// Work that several threads do side by side.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

namespace ordvane::host {

// As many as this process may use.
std::size_t processors();

// Calls `work` on this thread and on up to `count` - 1 others, once each at most, and returns when all are
// done. Where the system gives no more threads, or no memory for them, those that there are do it all: `work`
// takes what is left to do until nothing is, and throws nothing.
void side_by_side(std::size_t count, const std::function<void()>& work);

// Keeps the threads that side_by_side() begins, when the thread that made this object calls it, for its next
// calls: to begin one takes the system as long as a piece of work. One object inside another does nothing.
class HelperThreads {
 public:
  HelperThreads();
  ~HelperThreads();
  HelperThreads(const HelperThreads&) = delete;
  HelperThreads& operator=(const HelperThreads&) = delete;

 private:
  friend void side_by_side(std::size_t, const std::function<void()>&);

  // What this thread's calls use; null: nothing is kept, or all are at work already.
  static HelperThreads* at_hand();
  void call(std::size_t helpers, const std::function<void()>& work);
  void grow(std::size_t count);
  void serve();

  std::mutex mutex_;
  std::condition_variable begin_, done_;
  const std::function<void()>* work_ = nullptr;  // null: none
  std::size_t wanted_ = 0;                       // helpers that are to begin with it
  std::size_t busy_ = 0;                         // those at it
  bool ends_ = false;
  std::vector<std::jthread> threads_;  // last, so that they end first
};

// Something that need not be waited for. Calls `work`, which throws nothing, on a thread of its own, and ends
// when it is done; where the system gives no thread, it is done when the object is made.
class Aside {
 public:
  explicit Aside(const std::function<void()>& work);

 private:
  std::jthread thread_;
};

// Calls `each` with every number from 0 to `count` - 1, which are begun in their order, on this thread and up
// to `threads` - 1 others. Once a call throws no more are begun, and when all have ended, what the one with
// the lowest number threw is thrown.
void each_side_by_side(std::size_t count, std::size_t threads, const std::function<void(std::size_t)>& each);

// Gives every element this value, where they are very many on all processors: memory is handed out by the
// system as it is first written, which takes longer than the writing.
template <class T>
void fill_side_by_side(std::span<T> elements, const T& value) {
  constexpr std::size_t kAtOnce = (std::size_t{1} << 19U) / sizeof(T);
  const auto fill = [&](std::size_t piece) {
    const std::size_t first = piece * kAtOnce;
    std::ranges::fill(elements.subspan(first, std::min(kAtOnce, elements.size() - first)), value);
  };
  each_side_by_side((elements.size() + kAtOnce - 1) / kAtOnce, processors(), std::cref(fill));
}

}  // namespace ordvane::host
