#include "automation/variant.h"

#include "host/error.h"

namespace ordvane::automation {

Variant::Variant(double number) noexcept : Variant() {
  value_.vt = VT_R8;
  value_.dblVal = number;
}

Variant::Variant(std::int32_t number) noexcept : Variant() {
  value_.vt = VT_I4;
  value_.lVal = number;
}

Variant::Variant(std::int16_t number) noexcept : Variant() {
  value_.vt = VT_I2;
  value_.iVal = number;
}

Variant::Variant(bool truth) noexcept : Variant() {
  value_.vt = VT_BOOL;
  value_.boolVal = truth ? VARIANT_TRUE : VARIANT_FALSE;
}

Variant::Variant(std::string_view text) : Variant() {
  value_.bstrVal = make_bstr(text);
  value_.vt = VT_BSTR;
}

Variant::Variant(IDispatch* object) noexcept : Variant() {
  value_.vt = VT_DISPATCH;
  value_.pdispVal = ComPtr<IDispatch>(object).release();
}

Variant Variant::missing() noexcept {
  return error(DISP_E_PARAMNOTFOUND);
}

Variant Variant::error(SCODE code) noexcept {
  Variant result;
  result.value_.vt = VT_ERROR;
  result.value_.scode = code;
  return result;
}

Variant Variant::array(SAFEARRAY* array) noexcept {
  Variant result;
  result.value_.vt = VT_ARRAY | VT_VARIANT;
  result.value_.parray = array;
  return result;
}

VARIANT* Variant::receive() {
  VariantClear(&value_);
  return &value_;
}

Variant Variant::converted(VARTYPE type) const {
  Variant result;
  auto* from = const_cast<VARIANT*>(&value_);
  if (FAILED(VariantChangeTypeEx(&result.value_, from, kEnglish, VARIANT_ALPHABOOL, type)))
    throw host::Error(host::errc::kTypeMismatch, "The spreadsheet answered with a value of another type");
  return result;
}

double Variant::number() const {
  return converted(VT_R8).value_.dblVal;
}

std::int32_t Variant::whole() const {
  return converted(VT_I4).value_.lVal;
}

bool Variant::truth() const {
  return converted(VT_BOOL).value_.boolVal != VARIANT_FALSE;
}

std::string Variant::text() const {
  if (is_null()) return {};
  if (value_.vt == VT_BSTR) return utf8(value_.bstrVal);
  return utf8(converted(VT_BSTR).value_.bstrVal);
}

ComPtr<IDispatch> Variant::object() const {
  if (value_.vt == VT_EMPTY || value_.vt == VT_NULL) return {};
  return converted(VT_DISPATCH).value_.pdispVal;
}

}  // namespace ordvane::automation
