// The automation class DralInputOutput: a record of the model that clients can make, fill and read.
#pragma once

#include <OrdvaneResults8.h>
#include <windows.h>

#include "automation/com_object.h"
#include "model/input_output.h"

namespace ordvane::automation {

HRESULT create_input_output(REFIID id, void** object);

// The record behind an object of the class; null for any other object. Lives as long as the object.
const model::DralInputOutput* record_of(IUnknown* object);

}  // namespace ordvane::automation
