// Carries out a plan: as many calculators as there are processors to share it, one part file that the rows go
// into in their order.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "sweep/calculator.h"
#include "sweep/part.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

struct SweepOptions {
  int threads = 1;
  std::int64_t chunk = 16;  // most recalculations that a calculator is asked for at once
  std::function<bool()> cancelled;
  // Recalculations that are done, among those of this part.
  std::function<void(std::int64_t done, std::int64_t of)> progress;
};

// A calculator for one thread; called in each of them.
using MakeCalculator = std::function<std::unique_ptr<Calculator>()>;

// What the run file says of a plan, apart from its rows. `base`: of the outputs.
runfile::Run run_of(const Plan& plan, const std::vector<Result>& base);
// A hash of all that a plan sets and asks for.
std::string hash_of(const Plan& plan);

// Calculates what the part lacks. Throws what calculators throw, and host::Error with errc::kUserCancelled;
// rows that are done are kept then.
void calculate_part(const Plan& plan, const Shard& shard, PartWriter& part, const MakeCalculator& make,
                    const SweepOptions& options);

}  // namespace ordvane::sweep
