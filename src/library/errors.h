// The edge at which every error of the system becomes the library's one exception.
#pragma once

#include <utility>

#include "ordvane/error.h"

namespace ordvane::library {

// To be called while an exception is handled. Throws it as an Error.
[[noreturn]] void rethrow_as_error();

// What the step returns; what it throws comes out as an Error.
template <class Step>
auto translating_errors(Step&& step) -> decltype(step()) {
  try {
    return std::forward<Step>(step)();
  } catch (...) {
    rethrow_as_error();
  }
}

}  // namespace ordvane::library
