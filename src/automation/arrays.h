// Arrays of clients as the core's arrays.
//
// An array that starts at 0 is taken whole: element 1 is the client's element 0, unless that is Nothing. Of
// others, element i is the client's element of index i: what lies below index 1 is not looked at, and an
// array that starts above it has no element 1. An array that was never dimensioned is empty.
#pragma once

#include <oaidl.h>
#include <windows.h>

#include <cstdint>

#include "model/input_output.h"
#include "model/one_based.h"

namespace ordvane::automation {

// 32-bit integers. Throws error 9 for an array of several dimensions or one that starts above 1, error 13 for
// other elements.
model::OneBased<std::int32_t> longs(SAFEARRAY* array);
// Copies of DralInputOutput objects of this library. Throws likewise; error 91 for Nothing among them.
model::Records records(SAFEARRAY* array);

}  // namespace ordvane::automation
