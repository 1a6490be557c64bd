// RecordedEngine: answers the engine interface from a recorded run.
//
// Every hVars names the one run. The ordered input list holds the inputs with saved samples only; the
// recalculations of the others are left out and the rest closed up.
#pragma once

#include <memory>

#include "engine/engine.h"
#include "runfile/run.h"

namespace ordvane::runfile {

std::shared_ptr<engine::Engine> make_recorded_engine(std::shared_ptr<const Run> run);

}  // namespace ordvane::runfile
