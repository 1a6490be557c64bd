// A late-bound client: what a script does when it uses an object.
#pragma once

#include <oaidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <windows.h>

#include <string>
#include <vector>

namespace ordvane::test {

inline VARIANT variant(VARTYPE type, LONGLONG bits = 0) {
  VARIANT value;
  VariantInit(&value);
  value.llVal = bits;
  value.vt = type;
  return value;
}
inline VARIANT number(double value) {
  VARIANT result = variant(VT_R8);
  result.dblVal = value;
  return result;
}
inline VARIANT text(const wchar_t* value) {
  VARIANT result = variant(VT_BSTR);
  result.bstrVal = SysAllocString(value);
  return result;
}
// These take the value over.
inline double as_number(VARIANT value) {
  const HRESULT changed = VariantChangeType(&value, &value, 0, VT_R8);
  const double result = SUCCEEDED(changed) ? value.dblVal : -999;
  VariantClear(&value);
  return result;
}
inline std::wstring text_of(VARIANT value) {
  std::wstring result = value.vt == VT_BSTR ? std::wstring(value.bstrVal, SysStringLen(value.bstrVal)) : L"?";
  VariantClear(&value);
  return result;
}

struct Answer {
  HRESULT status = S_OK;
  VARIANT result = variant(VT_EMPTY);
  EXCEPINFO exception = {};
  UINT wrong_argument = 99;
};

// `arguments` in the order in which a script writes them.
inline Answer invoke(IDispatch& object, DISPID member, WORD flags, const std::vector<VARIANT>& arguments) {
  Answer answer;
  std::vector<VARIANT> reversed(arguments.rbegin(), arguments.rend());
  DISPID put = DISPID_PROPERTYPUT;
  const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPPARAMS given = {reversed.data(), puts ? &put : nullptr, static_cast<UINT>(reversed.size()),
                      puts ? 1U : 0U};
  answer.status = object.Invoke(member, IID_NULL, LOCALE_USER_DEFAULT, flags, &given, &answer.result,
                                &answer.exception, &answer.wrong_argument);
  return answer;
}

inline Answer invoke(IDispatch& object, const wchar_t* name, WORD flags,
                     const std::vector<VARIANT>& arguments) {
  DISPID member = 0;
  auto* spelling = const_cast<wchar_t*>(name);
  Answer answer;
  answer.status = object.GetIDsOfNames(IID_NULL, &spelling, 1, LOCALE_USER_DEFAULT, &member);
  return FAILED(answer.status) ? answer : invoke(object, member, flags, arguments);
}

}  // namespace ordvane::test
