// What the conformance suite is asked of: each test program has its own.
#pragma once

#include <memory>

#include "host/excel.h"

namespace ordvane::host {

std::shared_ptr<Application> make_implementation();

}  // namespace ordvane::host
