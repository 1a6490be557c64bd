// Long loops that let the user stop them.
#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace ordvane::model {

// Called now and then by what takes long; throws to end it. Empty: never asked.
using Poll = std::function<void()>;

// Counts the steps of long loops and polls once in so many.
class Pace {
 public:
  explicit Pace(Poll poll) : poll_(std::move(poll)) {}

  void step(std::size_t steps = 1) {
    done_ += steps;
    if (done_ < kStepsBetweenPolls) return;
    done_ = 0;
    if (poll_) poll_();
  }

 private:
  static constexpr std::size_t kStepsBetweenPolls = 1 << 18;  // a few milliseconds of plain arithmetic

  Poll poll_;
  std::size_t done_ = 0;
};

}  // namespace ordvane::model
