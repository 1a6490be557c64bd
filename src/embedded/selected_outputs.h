// The outputs of a run that a job is about.
#pragma once

#include <cstdint>
#include <vector>

#include "model/answers.h"
#include "model/one_based.h"
#include "runfile/run.h"

namespace ordvane::embedded {

// The engine's indexes of the outputs at these zero-based positions, each once; of all outputs when there
// are none. Throws error 9 for a position that the run does not have.
model::OneBased<std::int32_t> selected_outputs(const runfile::Run& run,
                                               const std::vector<std::int32_t>& positions);

// Positions in Run::inputs of the engine's inputs: those with saved samples.
std::vector<std::int32_t> engine_inputs(const runfile::Run& run);

// What an output is to reach by itself.
model::OutputTarget own_target(const runfile::Run& run, std::size_t output);

}  // namespace ordvane::embedded
