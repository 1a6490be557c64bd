// What a stored cell holds, in eight bytes.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "host/cells.h"

namespace ordvane::office {

// A number is stored as it is. All else is one of the many bit patterns that are no number, with the kind in
// it and the value in its lowest 32 bits.
class CellContent {
 public:
  CellContent() : CellContent(host::CellKind::kBlank, 0) {}
  // `value`: of kNumber, kBoolean and kError as in host::CellValue; of kText the number of the text.
  CellContent(host::CellKind kind, double value)
      : bits_(kind == host::CellKind::kNumber
                  ? std::bit_cast<std::uint64_t>(std::isnan(value) ? std::numeric_limits<double>::quiet_NaN()
                                                                   : value)
                  : kNoNumber | static_cast<std::uint64_t>(kind) << 32U |
                        static_cast<std::uint32_t>(static_cast<std::int64_t>(value))) {}

  host::CellKind kind() const {
    return is_number() ? host::CellKind::kNumber : static_cast<host::CellKind>(bits_ >> 32U & 0xFFU);
  }
  bool is_number() const { return (bits_ & kNoNumber) != kNoNumber; }
  double value() const {
    if (is_number()) return number();
    const auto low = static_cast<std::uint32_t>(bits_);
    return kind() == host::CellKind::kText ? low : static_cast<std::int32_t>(low);
  }
  // Of a cell that holds one.
  double number() const { return std::bit_cast<double>(bits_); }

 private:
  static constexpr std::uint64_t kNoNumber = 0xFFFC000000000000;

  std::uint64_t bits_;
};

}  // namespace ordvane::office
