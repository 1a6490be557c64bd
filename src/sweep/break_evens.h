// The input values at which outputs reach their targets, asked of the model itself.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "runfile/run.h"
#include "sweep/calculator.h"
#include "sweep/part.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

// By output of the plan; none for one without a target. Those of the inputs whose first step the part has:
// between each two neighbouring steps on opposite sides of the target, the value where the two sides meet.
// Each calculator works in a thread of its own. Throws what they throw, and host::Error with
// errc::kUserCancelled.
using BreakEvens = std::vector<std::optional<std::vector<runfile::BreakEven>>>;
BreakEvens find_break_evens(const Plan& plan, const Shard& shard,
                            std::span<const std::unique_ptr<Calculator>> calculators,
                            const std::function<bool()>& cancelled);

bool has_targets(const Plan& plan);

}  // namespace ordvane::sweep
