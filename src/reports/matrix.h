// Which input moves what: one sheet for all outputs, a row an input, with how wide the swing is that it gives
// each output beside the widest one of that output, and its rank. The inputs by their rank for the first
// output.
#pragma once

#include "reports/context.h"

namespace ordvane::reports {

// At most kMostDetailRows inputs and kMostDetailOutputs outputs.
void MakeMatrixReport(const Context& context);

}  // namespace ordvane::reports
