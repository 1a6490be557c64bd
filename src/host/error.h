// The one error type of the system, and the one helper that ignores it.
//
// An Error carries an automation code (negative, such as 0x80040016) or a runtime error number (9:
// subscript out of range) unchanged from where it was raised to the edge that shows it: the COM glue or
// the command line.
#pragma once

#include <cstdint>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

namespace ordvane::host {

namespace errc {
inline constexpr std::int32_t kInvalidProcedureCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kOutOfMemory = 7;
inline constexpr std::int32_t kSubscriptOutOfRange = 9;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kFileNotFound = 53;
inline constexpr std::int32_t kObjectNotSet = 91;
inline constexpr std::int32_t kEntryPointNotFound = 453;
inline constexpr std::int32_t kHostRefused = 1004;  // what the spreadsheet answers when it cannot do as told
inline constexpr std::int32_t kNothingToReport =
    static_cast<std::int32_t>(0x80040013);  // no inputs or no outputs
inline constexpr std::int32_t kUserCancelled = static_cast<std::int32_t>(0x80040016);  // Escape
}  // namespace errc

class Error : public std::exception {
 public:
  Error(std::int32_t code, std::string description, std::string source = "Ordvane")
      : code_(code), description_(std::move(description)), source_(std::move(source)) {}

  std::int32_t code() const noexcept { return code_; }
  const std::string& description() const noexcept { return description_; }
  const std::string& source() const noexcept { return source_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  std::int32_t code_;
  std::string description_;
  std::string source_;
};

// The runtime's subscript error. `what` names the array or table.
[[noreturn]] inline void raise_subscript_out_of_range(const std::string& what) {
  throw Error(errc::kSubscriptOutOfRange, "Subscript out of range: " + what);
}

// Runs a step that takes as much memory as it is told to; where there is not that much, error 7.
template <class Step>
void allocating(Step&& step) {
  const auto raise = [] { throw Error(errc::kOutOfMemory, "Out of memory"); };
  try {
    std::forward<Step>(step)();
  } catch (const std::bad_alloc&) {
    raise();
  } catch (const std::length_error&) {
    raise();
  }
}

// Runs one step whose failure is ignored by rule. Returns whether the step succeeded.
template <class Step>
bool ignoring_errors(Step&& step) {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (const Error&) {
    return false;
  }
}

}  // namespace ordvane::host
