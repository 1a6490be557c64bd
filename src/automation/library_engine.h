// The engine in its own library, DRLLIB8_X86.dll.
//
// Entry points are found by their plain exported names in the file that load_library() named, or in the
// library of that name that this process has already, each at its first call. What floating-point numbers
// come to is not changed by a call. Texts cross in the ANSI code page, arrays by their first element. The
// file stays loaded until the process ends. Calls throw host::Error: 53 when the file could not be loaded
// (also when it is of the other width), 453 when it lacks the entry point.
#pragma once

#include <cstdint>
#include <memory>

#include "engine/engine.h"

namespace ordvane::automation {

std::shared_ptr<engine::Engine> make_library_engine();

// The system's last-error value after the latest call of an entry point; 0 for any other engine.
std::uint32_t last_system_error(const engine::Engine& engine);

}  // namespace ordvane::automation
