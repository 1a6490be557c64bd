#include "windows/stand_in_object.h"

#include <new>
#include <stdexcept>

namespace ordvane::test {
namespace {

constexpr std::uint32_t kRuntimeErrors = 0x800A0000;
constexpr HRESULT kServerFault = static_cast<HRESULT>(0x80010105);
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

bool is_optional(const wchar_t* parameter) {
  return parameter[0] == L'?';
}
const wchar_t* plain_name(const wchar_t* parameter) {
  return is_optional(parameter) ? parameter + 1 : parameter;
}
bool same_name(const wchar_t* a, const wchar_t* b) {
  return CompareStringW(LOCALE_INVARIANT, NORM_IGNORECASE, a, -1, b, -1) == CSTR_EQUAL;
}
bool is_missing(const VARIANT& value) {
  return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

std::string narrow(const wchar_t* text) {
  return automation::utf8(text, static_cast<UINT>(wcslen(text)));
}

HRESULT describe(EXCEPINFO* exception, const host::Error& error) {
  if (exception == nullptr) return DISP_E_EXCEPTION;
  *exception = {};
  exception->scode = error.code() < 0
                         ? error.code()
                         : static_cast<SCODE>(kRuntimeErrors | static_cast<std::uint32_t>(error.code()));
  exception->bstrDescription = automation::make_bstr(error.description());
  exception->bstrSource = automation::make_bstr("Microsoft Excel");
  return DISP_E_EXCEPTION;
}

}  // namespace

// ---- Arguments ----

bool Call::has(std::size_t at) const {
  return at < arguments_.size() && arguments_[at] != nullptr;
}

Variant Call::copy(std::size_t at) const {
  Variant result;
  if (FAILED(VariantCopy(result.receive(), const_cast<VARIANT*>(arguments_.at(at))))) throw std::bad_alloc();
  return result;
}

const VARIANT* Call::plain(VARIANT& argument) {
  if (argument.vt == (VT_BYREF | VT_VARIANT)) return argument.pvarVal;
  if ((argument.vt & VT_BYREF) == 0) return &argument;
  if (FAILED(VariantCopyInd(owned_.emplace_back().receive(), &argument))) throw std::bad_alloc();
  return &owned_.back().value();
}

HRESULT Call::bind(const DISPPARAMS& given, const std::vector<const wchar_t*>& parameters, bool puts) {
  UINT named = given.cNamedArgs;
  if (puts) {
    if (named != 1 || given.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT) return DISP_E_BADPARAMCOUNT;
    put_ = plain(given.rgvarg[0]);
  }
  const UINT positional = given.cArgs - named;
  if (positional > parameters.size()) return DISP_E_BADPARAMCOUNT;
  arguments_.assign(parameters.size(), nullptr);
  const auto take = [&](std::size_t at, VARIANT& argument) {
    const VARIANT* value = plain(argument);
    if (!is_missing(*value)) arguments_[at] = value;
  };
  for (UINT i = 0; i < positional; ++i) take(i, given.rgvarg[given.cArgs - 1 - i]);
  for (UINT i = 0; i < (puts ? 0 : named); ++i) {
    const auto at = static_cast<std::size_t>(given.rgdispidNamedArgs[i]);
    if (at >= parameters.size()) return DISP_E_PARAMNOTFOUND;
    take(at, given.rgvarg[i]);
  }
  for (std::size_t at = 0; at < parameters.size(); ++at)
    if (arguments_[at] == nullptr && !is_optional(parameters[at])) return DISP_E_PARAMNOTOPTIONAL;
  return S_OK;
}

// ---- Objects ----

// {6C1D2B7E-3F0A-4E51-9B64-0D1C8A55E7F2}
const IID StandInObject::kIdentity = {
    0x6c1d2b7e, 0x3f0a, 0x4e51, {0x9b, 0x64, 0x0d, 0x1c, 0x8a, 0x55, 0xe7, 0xf2}};

DISPID new_id_range() {
  static DISPID last = 0;
  return last += 0x1000;
}

HRESULT StandInObject::QueryInterface(REFIID id, void** object) {
  if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IDispatch) && !IsEqualIID(id, kIdentity)) {
    *object = nullptr;
    return E_NOINTERFACE;
  }
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG StandInObject::Release() {
  const ULONG left = --references_;
  if (left == 0) delete this;
  return left;
}

HRESULT StandInObject::GetTypeInfoCount(UINT* count) {
  *count = 0;
  return S_OK;
}

// True for the call that is to fail.
bool StandInObject::fails_now(const std::string& where) {
  const bool fails = stand_in_->all_calls() == stand_in_->fail_at;
  if (fails) stand_in_->failed = where;
  return fails;
}

std::size_t StandInObject::find(const wchar_t* name) const {
  for (std::size_t member = 0; member < member_count(); ++member)
    if (same_name(shape(member).name, name)) return member;
  return kNone;
}

HRESULT StandInObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  ++stand_in_->name_lookups;
  if (fails_now("name of " + narrow(interface_name()) + "." + narrow(names[0]))) return kServerFault;
  std::fill(ids, ids + count, DISPID_UNKNOWN);
  const std::size_t member = find(names[0]);
  const auto& unknown = stand_in_->behaviours.unknown;
  if (member == kNone || unknown.contains(narrow(interface_name()) + "." + narrow(shape(member).name)))
    return DISP_E_UNKNOWNNAME;
  ids[0] = first_id() + static_cast<DISPID>(member);
  const auto& parameters = *shape(member).parameters;
  for (UINT i = 1; i < count; ++i) {
    for (std::size_t at = 0; at < parameters.size(); ++at)
      if (same_name(plain_name(parameters[at]), names[i])) ids[i] = static_cast<DISPID>(at);
    if (ids[i] == DISPID_UNKNOWN) return DISP_E_UNKNOWNNAME;
  }
  return S_OK;
}

HRESULT StandInObject::Invoke(DISPID id, REFIID, LCID language, WORD flags, DISPPARAMS* arguments,
                              VARIANT* result, EXCEPINFO* exception, UINT* wrong_argument) {
  constexpr LCID kEnglish = 1033;
  std::size_t member = kNone;
  if (id == DISPID_VALUE) {
    for (std::size_t at = 0; at < member_count(); ++at)
      if (shape(at).is_default) member = at;
  } else if (id >= first_id() && id < first_id() + static_cast<DISPID>(member_count())) {
    member = static_cast<std::size_t>(id - first_id());
  }
  const std::string where =
      narrow(interface_name()) + "." + (member == kNone ? "?" : narrow(shape(member).name));
  ++stand_in_->invokes;
  const ComPtr<IDispatch> alive(this);
  try {
    if (fails_now(where)) refuse("Call refused by the test: " + where);
    if (member == kNone) return DISP_E_MEMBERNOTFOUND;
    const bool puts = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    if ((puts || shape(member).calls || !shape(member).puts) && stand_in_->behaviours.refused.contains(where))
      refuse("Excel cannot do that now: " + where);
    if (language != kEnglish && language != LOCALE_USER_DEFAULT) return DISP_E_UNKNOWNLCID;
    return run(member, flags, *arguments, result, wrong_argument);
  } catch (const BadIndex&) {
    return DISP_E_BADINDEX;
  } catch (const host::Error& error) {
    return describe(exception, error);
  } catch (const std::exception& error) {
    return describe(exception, host::Error(E_UNEXPECTED, error.what()));
  }
}

HRESULT StandInObject::run(std::size_t member, WORD flags, DISPPARAMS& arguments, VARIANT* result,
                           UINT* /*wrong_argument*/) {
  const Shape known = shape(member);
  Call call;
  call.stand_in = stand_in_;
  if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) {
    if (!known.puts) return DISP_E_MEMBERNOTFOUND;
    const HRESULT bound = call.bind(arguments, *known.parameters, true);
    if (FAILED(bound)) return bound;
    Variant value;
    if (FAILED(VariantCopy(value.receive(), const_cast<VARIANT*>(&call.new_value())))) return E_OUTOFMEMORY;
    write(member, call, value);
    return S_OK;
  }
  const bool as_method = known.calls && (flags & DISPATCH_METHOD) != 0;
  const bool as_property = known.gets && (flags & DISPATCH_PROPERTYGET) != 0;
  if (!as_method && !as_property) return DISP_E_MEMBERNOTFOUND;
  const bool forwards = known.parameters->empty() && arguments.cArgs > 0 && !as_method;
  DISPPARAMS none = {};
  const HRESULT bound = call.bind(forwards ? none : arguments, *known.parameters, false);
  if (FAILED(bound)) return bound;
  Variant answer = read(member, as_method, call);
  if (forwards) {
    const ComPtr<IDispatch> next = answer.is_object() ? answer.object() : ComPtr<IDispatch>();
    if (!next) return DISP_E_BADPARAMCOUNT;
    EXCEPINFO ignored = {};
    return next->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, flags, &arguments, result, &ignored,
                        nullptr);
  }
  if (result != nullptr) *result = answer.release();
  return S_OK;
}

}  // namespace ordvane::test
