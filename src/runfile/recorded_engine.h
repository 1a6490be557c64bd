// RecordedEngine: answers the engine interface from a recorded run.
//
// Every hVars names the one run. The ordered input list holds the inputs with saved samples only; the
// recalculations of the others are left out and the rest closed up.
#pragma once

#include <memory>

#include "engine/engine.h"
#include "runfile/run.h"

namespace ordvane::runfile {

// A status other than 0 means that the arguments name nothing in the run: then nothing is written, or, where
// only a part of a list or of a range of recalculations exists or fits, that part.
std::shared_ptr<engine::Engine> make_recorded_engine(std::shared_ptr<const Run> run);

// Contexts that a recorded engine has initialised and not yet released; 0 for any other engine.
std::int32_t open_contexts(const engine::Engine& engine);

}  // namespace ordvane::runfile
