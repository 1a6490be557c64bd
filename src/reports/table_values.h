// Numbers as the cells of tables hold them.
#pragma once

#include <cstdint>
#include <string>

#include "host/cells.h"
#include "model/enumerations.h"
#include "model/number_rules.h"

namespace ordvane::reports {

inline std::string PercentFormat() {
  return "0.00%";
}

// One table value turned into cell content: the value, the value divided by `divisor` unless that is exactly
// 1, or " - " with the reason added to `flags` (OrdvaneInvalidTableValue bits). Never fails.
void FormatTableValue(const model::NumberRules& rules, host::CellBlock& block, std::int32_t row,
                      std::int32_t column, double value, std::int32_t& flags, double divisor,
                      model::OrdvaneDivisorType divisor_kind);
// The same as a cell value.
host::CellValue FormatTableValue(const model::NumberRules& rules, double value, std::int32_t& flags,
                                 double divisor, model::OrdvaneDivisorType divisor_kind);

}  // namespace ordvane::reports
