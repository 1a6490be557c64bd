// The inputs of a model that nobody has named: constants that its outputs are calculated from, ranked by how
// far each moves them.
#pragma once

#include <vector>

#include "calc/model.h"
#include "sweep/candidates.h"
#include "sweep/job.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

struct FoundInput {
  Candidate candidate;
  std::vector<double>
      swings;  // by output: from the lowest to the highest number among the results and the base
};

struct FoundInputs {
  std::vector<FoundInput> ranked;  // by the swing of the first output, then the second; all move one of them
  std::vector<LeftOut> left_out;
};

// `plan` has the outputs; of the job its workbook, threads, LibreOffice and progress are used. Throws
// host::Error.
FoundInputs find_inputs(const calc::Model& model, const Plan& plan, const Job& job);

}  // namespace ordvane::sweep
