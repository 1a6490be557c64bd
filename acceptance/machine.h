// Facts of the machine that a report is read with.
#pragma once

#include "results.h"

namespace ordvane::acceptance {

// Not Windows itself, but what runs its programs elsewhere.
bool runs_under_wine();
void tell_machine(Results& results);

}  // namespace ordvane::acceptance
