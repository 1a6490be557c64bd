// Steps of tidying up, of which none keeps the others from being taken.
#pragma once

#include <exception>
#include <utility>

namespace ordvane::host {

// Runs one, in a destructor for instance: whatever goes wrong, for want of memory too, stays in it. Returns
// whether the step succeeded.
template <class Step>
bool tidying_up(Step&& step) noexcept {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace ordvane::host
