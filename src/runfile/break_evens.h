// What the model was asked for after a run: checks that it fits the run's steps.
#pragma once

#include <span>
#include <vector>

#include "model/answers.h"
#include "runfile/json_tree.h"
#include "runfile/run.h"

namespace ordvane::runfile {

// The steps of an input with numbers, and what an output came to. Of a run's first simulation.
model::StepCurve curve_of(const Run& run, std::size_t input, std::size_t output);

// Of all outputs: one for each two neighbouring steps on opposite sides of the target, between them, in the
// order of the inputs. `root`: the run file. Throws BadRun.
void check_break_evens(const JsonValue& root, const Run& run);

}  // namespace ordvane::runfile
