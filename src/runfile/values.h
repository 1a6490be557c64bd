// How a run's results that are not numbers travel as doubles.
//
// Spreadsheet errors and texts become finite doubles far below any model value: they sort first, and
// subtracting a model value leaves them what they are.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

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

// In binary tables results that are no numbers are NaNs, and the low 32 bits of those say what they are: 0
// for nothing, the number of a spreadsheet error, or this and the position of a text among those of the
// table.
inline constexpr std::uint32_t kFirstTextMark = 65536;

inline std::uint32_t mark_of(double value) {
  return static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(value));
}
inline double marked(std::uint32_t mark) {
  constexpr std::uint64_t kQuietNaN = 0x7FF8'0000'0000'0000;
  return std::bit_cast<double>(kQuietNaN | mark);
}
// A result of a binary table as the engine hands it out.
inline double decoded(double value) {
  if (!std::isnan(value)) return value;
  const std::uint32_t mark = mark_of(value);
  if (mark == 0) return std::numeric_limits<double>::quiet_NaN();
  return mark >= kFirstTextMark ? encode_text() : encode_error(static_cast<host::CellError>(mark));
}

}  // namespace ordvane::runfile
