/// @file
/// What goes wrong, and the version of the library.
#pragma once

#include <stdexcept>
#include <string>

#include "ordvane/export.h"

/// Ordvane Results for C++.
namespace ordvane {

/// Why a call failed, for programs. The numbers stay what they are.
enum class ErrorCode : int {
  kInvalidArgument = 1,  ///< an argument that does not fit the run; what() names it
  kBadRun = 2,  ///< a run file, arrays or a definition that cannot be used; what() names file and line, or
                ///< the field
  kBadWorkbook = 3,      ///< a workbook that cannot be read, or that reports cannot be added to
  kFileExists = 4,       ///< a file is there already and was not to be replaced
  kFile = 5,             ///< the system would not read or write a file
  kCancelled = 6,        ///< the caller's `cancelled` said yes
  kNothingToReport = 7,  ///< no input or no output was left to report on
  kOutOfMemory = 8,      ///< there is not enough memory
  kFailed = 9,           ///< anything else; what() is what is known of it
  kNotCalculated = 10,   ///< a formula that the library does not calculate; what() names cell and function
};

/// "invalid_argument", "bad_run" and so on; "unknown" for what is no code.
ORDVANE_API const char* code_name(ErrorCode code) noexcept;

/// The one exception of the library. what() is one text in English, UTF-8. A call that threw has changed
/// nothing: no file was written, and what was there is still there.
class ORDVANE_API Error : public std::runtime_error {
 public:
  /// With a text for people.
  Error(ErrorCode code, const std::string& what);
  ~Error() override;
  /// Copies are the same error.
  Error(const Error&) = default;
  /// Copies are the same error.
  Error& operator=(const Error&) = default;

  /// Why the call failed.
  ErrorCode code() const noexcept { return code_; }

 private:
  ErrorCode code_;
};

/// Of the library that runs, which may be later than that of the headers (ordvane/version.h): "0.1.0".
ORDVANE_API const char* version() noexcept;

}  // namespace ordvane
