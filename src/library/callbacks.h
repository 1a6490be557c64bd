// A program's functions, called by a job. What one of them throws is kept, and the job is asked to stop.
#pragma once

#include <exception>
#include <functional>
#include <mutex>

namespace ordvane::library {

class Callbacks {
 public:
  explicit Callbacks(const std::function<bool()>& cancelled) : cancelled_(cancelled) {}
  Callbacks(const Callbacks&) = delete;
  Callbacks& operator=(const Callbacks&) = delete;

  // Never two at once, whatever thread this is called on.
  template <class Call>
  void make(const Call& call) {
    const std::lock_guard lock(mutex_);
    if (failure_) return;
    try {
      call();
    } catch (...) {
      failure_ = std::current_exception();
    }
  }
  bool cancelled() {
    bool answer = false;
    if (cancelled_) make([&] { answer = cancelled_(); });
    const std::lock_guard lock(mutex_);
    return answer || failure_;
  }
  void rethrow() const {
    if (failure_) std::rethrow_exception(failure_);
  }

 private:
  const std::function<bool()>& cancelled_;
  std::mutex mutex_;
  std::exception_ptr failure_;
};

}  // namespace ordvane::library
