// Calls to the engine whose refusal is an error: what was said of one item never passes for another's.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "model/input_output.h"
#include "session/session.h"

namespace ordvane::model {

// Throws errc::kInvalidProcedureCall, 'CALL refused ITEM (status N)', unless the status says success.
void require_success(std::int32_t status, const char* call, const std::string& item);

// Fills `values` with what the engine stored of the item, one recalculation an element, from the zero-based
// recalculation `first` of the one-based run on. What the engine does not write is NaN. A refusal names the
// item: 'input "Price (B5)"'.
void fetch_values(session::Session& session, std::int32_t kind, const DralInputOutput& item, std::int32_t run,
                  std::int32_t first, std::span<double> values);

}  // namespace ordvane::model
