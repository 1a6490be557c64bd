#include "automation/arrays.h"

#include <oleauto.h>

#include "automation/com_values.h"
#include "automation/input_output_object.h"
#include "host/error.h"

namespace ordvane::automation {
namespace {

// The elements that are taken: from index 1 on, or all of an array that starts at 0.
struct TakenElements {
  LONG first = 1, last = 0;
  std::int32_t count() const { return static_cast<std::int32_t>(last - first + 1); }
};
TakenElements taken_elements(SAFEARRAY* array) {
  if (array == nullptr || array->cDims == 0) return {};
  LONG low = 0;
  LONG high = 0;
  if (SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetLBound(array, 1, &low)) ||
      FAILED(SafeArrayGetUBound(array, 1, &high)))
    host::raise_subscript_out_of_range("array argument of several dimensions");
  if (low > 1 && high >= low) host::raise_subscript_out_of_range("array argument that starts above 1");
  const LONG first = low == 0 ? 0 : 1;
  return {first, high < first ? first - 1 : high};
}

[[noreturn]] void raise_wrong_elements(const char* expected) {
  throw host::Error(host::errc::kTypeMismatch, std::string("Array argument: expected ") + expected);
}

}  // namespace

model::OneBased<std::int32_t> longs(SAFEARRAY* array) {
  const TakenElements taken = taken_elements(array);
  model::OneBased<std::int32_t> result(taken.count());
  if (result.empty()) return result;
  VARTYPE type = VT_EMPTY;
  if (SafeArrayGetElemsize(array) != sizeof(std::int32_t) ||
      (SUCCEEDED(SafeArrayGetVartype(array, &type)) && type != VT_I4 && type != VT_INT && type != VT_UI4))
    raise_wrong_elements("32-bit integers");
  for (std::int32_t i = 1; i <= result.size(); ++i) {
    LONG index = taken.first + i - 1;
    if (FAILED(SafeArrayGetElement(array, &index, &result(i))))
      host::raise_subscript_out_of_range("array argument");
  }
  return result;
}

model::Records records(SAFEARRAY* array) {
  const TakenElements taken = taken_elements(array);
  model::Records result;
  if (taken.count() == 0) return result;
  if ((array->fFeatures & (FADF_DISPATCH | FADF_UNKNOWN)) == 0)
    raise_wrong_elements("DralInputOutput objects");
  for (LONG index = taken.first; index <= taken.last; ++index) {
    ComPtr<IUnknown> element;
    if (FAILED(SafeArrayGetElement(array, &index, element.receive())))
      host::raise_subscript_out_of_range("array argument");
    if (!element && index == 0) continue;  // of clients that count from 1 all the same
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
