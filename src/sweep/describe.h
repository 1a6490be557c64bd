// What is in a what-if definition, for people.
#pragma once

#include <string>

#include "sweep/what_if.h"

namespace ordvane::sweep {

// Plain text: the totals, each input with what it is set to, each output. Ends with a line break, and holds
// no control characters but those.
std::string describe(const WhatIf& what_if);

}  // namespace ordvane::sweep
