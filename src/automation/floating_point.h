// What the processor does with floating-point numbers: rounding, precision, and whether errors interrupt.
#pragma once

#include <cstdint>

namespace ordvane::automation {

// Puts the x87 control word and the SSE state back: code of other compilers leaves its own.
class FloatingPointState {
 public:
  FloatingPointState() {
    asm volatile("fnstcw %0" : "=m"(control_word_));
    asm volatile("stmxcsr %0" : "=m"(sse_state_));
  }
  FloatingPointState(const FloatingPointState&) = delete;
  FloatingPointState& operator=(const FloatingPointState&) = delete;
  ~FloatingPointState() {
    asm volatile("fnclex\n\tfldcw %0" : : "m"(control_word_));
    asm volatile("ldmxcsr %0" : : "m"(sse_state_));
  }

  bool operator==(const FloatingPointState&) const = default;

 private:
  std::uint16_t control_word_ = 0;
  std::uint32_t sse_state_ = 0;
};

}  // namespace ordvane::automation
