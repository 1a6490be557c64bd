// How a run's results that are not numbers travel as doubles.
//
// Spreadsheet errors and texts become finite doubles far below any model value: they sort first, and
// subtracting a model value leaves them what they are.
#pragma once

#include <cmath>
#include <cstdint>

#include "host/cells.h"

namespace ordvane::runfile {

inline constexpr double kErrorUnit = -1e302;

// Numbers of a run stay inside this limit: beyond it lie the marks of the reports (a missing number, an
// automatic axis bound) and the encoded errors.
inline constexpr double kNumberLimit = 1e300;
// Of the codes of a number format, in UTF-16 units.
inline constexpr std::int32_t kLongestNumberFormat = 255;
inline constexpr const char* kNumberRange = "between -1e300 and 1e300";

inline double encode_error(host::CellError error) {
  return kErrorUnit * static_cast<double>(error);
}
// Texts are unusable as numbers: the spreadsheet's #VALUE!.
inline double encode_text() {
  return encode_error(host::CellError::kValue);
}
inline host::CellError decode_error(double value) {
  return static_cast<host::CellError>(std::lround(value / kErrorUnit));
}
inline bool is_encoded_error(double value) {
  return std::isfinite(value) && value <= kErrorUnit * 1999;
}

}  // namespace ordvane::runfile
