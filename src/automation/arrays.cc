#include "automation/arrays.h"

#include <oleauto.h>

#include "automation/com_values.h"
#include "automation/input_output_object.h"
#include "host/error.h"

namespace ordvane::automation {
namespace {

// The index of the last element; 0 for an array without any from index 1 on.
LONG last_index(SAFEARRAY* array) {
  if (array == nullptr || array->cDims == 0) return 0;
  LONG low = 0;
  LONG high = 0;
  if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetLBound(array, 1, &low)) ||
      FAILED(SafeArrayGetUBound(array, 1, &high)))
    host::raise_subscript_out_of_range("array argument of several dimensions");
  if (low > 1 && high >= low) host::raise_subscript_out_of_range("array argument that starts above 1");
  return high < 1 ? 0 : high;
}

[[noreturn]] void raise_wrong_elements(const char* expected) {
  throw host::Error(host::errc::kTypeMismatch, std::string("Array argument: expected ") + expected);
}

}  // namespace

model::OneBased<std::int32_t> longs(SAFEARRAY* array) {
  const LONG last = last_index(array);
  model::OneBased<std::int32_t> result(static_cast<std::int32_t>(last));
  if (last == 0) return result;
  VARTYPE type = VT_EMPTY;
  if (SafeArrayGetElemsize(array) != sizeof(std::int32_t) ||
      (SUCCEEDED(SafeArrayGetVartype(array, &type)) && type != VT_I4 && type != VT_INT && type != VT_UI4))
    raise_wrong_elements("32-bit integers");
  for (LONG index = 1; index <= last; ++index) {
    if (FAILED(SafeArrayGetElement(array, &index, &result(static_cast<std::int32_t>(index)))))
      host::raise_subscript_out_of_range("array argument");
  }
  return result;
}

model::Records records(SAFEARRAY* array) {
  const LONG last = last_index(array);
  model::Records result;
  if (last == 0) return result;
  if ((array->fFeatures & (FADF_DISPATCH | FADF_UNKNOWN)) == 0)
    raise_wrong_elements("DralInputOutput objects");
  for (LONG index = 1; index <= last; ++index) {
    ComPtr<IUnknown> element;
    if (FAILED(SafeArrayGetElement(array, &index, element.receive())))
      host::raise_subscript_out_of_range("array argument");
    if (!element)
      throw host::Error(host::errc::kObjectNotSet,
                        "Array argument: element " + std::to_string(index) + " is Nothing");
    const model::DralInputOutput* record = record_of(element.get());
    if (record == nullptr) raise_wrong_elements("DralInputOutput objects");
    result.push_back(*record);
  }
  return result;
}

}  // namespace ordvane::automation
