// Values of the records as the type library passes them, by the names of their kinds in the field lists.
#pragma once

#include <oaidl.h>
#include <windows.h>

#include <cstdint>
#include <string>

#include "automation/com_object.h"

namespace ordvane::automation {

using WireBoolean = VARIANT_BOOL;
using WireInteger = SHORT;
using WireLong = LONG;
using WireDouble = double;
using WireString = BSTR;

// What a client reads.
inline void give(VARIANT_BOOL* to, bool value) {
  at(to) = value ? VARIANT_TRUE : VARIANT_FALSE;
}
inline void give(SHORT* to, std::int16_t value) {
  at(to) = value;
}
inline void give(LONG* to, std::int32_t value) {
  at(to) = value;
}
inline void give(double* to, double value) {
  at(to) = value;
}
inline void give(BSTR* to, const std::string& value) {
  at(to) = nullptr;
  *to = make_bstr(value);
}

// What a client writes.
inline void take(bool& to, VARIANT_BOOL value) {
  to = value != VARIANT_FALSE;
}
inline void take(std::int16_t& to, SHORT value) {
  to = value;
}
inline void take(std::int32_t& to, LONG value) {
  to = value;
}
inline void take(double& to, double value) {
  to = value;
}
inline void take(std::string& to, BSTR value) {
  to = utf8(value);
}

}  // namespace ordvane::automation
