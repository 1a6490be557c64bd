#include "automation/late_bound.h"

#include <cstdio>
#include <string>

#include "host/error.h"

namespace ordvane::automation {
namespace {

constexpr std::uint32_t kRuntimeErrors = 0x800A0000;

std::int32_t error_code(HRESULT status) {
  const auto bits = static_cast<std::uint32_t>(status);
  return (bits & 0xFFFF0000) == kRuntimeErrors ? static_cast<std::int32_t>(bits & 0xFFFF) : status;
}

std::string taken(BSTR& text) {
  std::string result = utf8(text);
  SysFreeString(std::exchange(text, nullptr));
  return result;
}

std::string utf8(std::wstring_view text) {
  return automation::utf8(text.data(), static_cast<UINT>(text.size()));
}

[[noreturn]] void fail(std::wstring_view kind, std::wstring_view member, HRESULT status,
                       EXCEPINFO& exception) {
  if (status == DISP_E_EXCEPTION && exception.pfnDeferredFillIn != nullptr)
    exception.pfnDeferredFillIn(&exception);
  std::string description = taken(exception.bstrDescription);
  const std::string source = taken(exception.bstrSource);
  SysFreeString(exception.bstrHelpFile);
  std::int32_t code = error_code(status);
  if (status == DISP_E_EXCEPTION)
    code = exception.scode != 0 ? error_code(exception.scode) : std::int32_t{exception.wCode};
  if (description.empty()) {
    char number[16];
    std::snprintf(number, sizeof number, "%08lX", static_cast<unsigned long>(status));
    description = "The call of " + utf8(kind) + "." + utf8(member) + " failed with " + number;
  }
  throw host::Error(code, description, source.empty() ? "Ordvane" : source);
}

std::vector<VARIANT> reversed_copy(LateBound::Arguments arguments) {
  std::vector<VARIANT> result;
  result.reserve(arguments.size() + 1);
  for (auto at = std::rbegin(arguments); at != std::rend(arguments); ++at) result.push_back(at->value());
  return result;
}

}  // namespace

const std::vector<DISPID>& MemberNames::find(IDispatch& object, std::wstring_view kind,
                                             std::vector<const wchar_t*> names) {
  std::vector<std::wstring_view> key{kind};
  key.insert(key.end(), names.begin(), names.end());
  const auto known = known_.find(key);
  if (known != known_.end()) return known->second;
  std::vector<DISPID> ids(names.size());
  const HRESULT status = object.GetIDsOfNames(IID_NULL, const_cast<LPOLESTR*>(names.data()),
                                              static_cast<UINT>(names.size()), kEnglish, ids.data());
  EXCEPINFO none = {};
  if (FAILED(status)) fail(kind, names.front(), status, none);
  return known_.emplace(std::move(key), std::move(ids)).first->second;
}

bool MemberNames::has(IDispatch& object, std::wstring_view kind, const wchar_t* member) {
  if (missing_.contains({kind, member})) return false;
  try {
    find(object, kind, {member});
    return true;
  } catch (const host::Error& error) {
    if (error.code() != DISP_E_UNKNOWNNAME) throw;
  }
  missing_.emplace(kind, member);
  return false;
}

LateBound::LateBound(ComPtr<IDispatch> object, std::wstring_view kind, std::shared_ptr<MemberNames> names)
    : object_(std::move(object)), kind_(kind), names_(std::move(names)) {
  if (!object_)
    throw host::Error(host::errc::kObjectNotSet, "The spreadsheet gave no object for " + utf8(kind));
}

DISPID LateBound::id(const wchar_t* member) const {
  return names_->find(*object_.get(), kind_, {member}).front();
}

Variant LateBound::invoke(const wchar_t* member, DISPID id, WORD flags, std::vector<VARIANT>& reversed,
                          std::vector<DISPID> named) const {
  DISPPARAMS given = {reversed.data(), named.data(), static_cast<UINT>(reversed.size()),
                      static_cast<UINT>(named.size())};
  Variant result;
  EXCEPINFO exception = {};
  const bool puts = (flags & DISPATCH_PROPERTYPUT) != 0;
  const HRESULT status = object_->Invoke(id, IID_NULL, kEnglish, flags, &given,
                                         puts ? nullptr : result.receive(), &exception, nullptr);
  if (FAILED(status)) fail(kind_, member, status, exception);
  return result;
}

Variant LateBound::get(const wchar_t* member, Arguments arguments) const {
  std::vector<VARIANT> reversed = reversed_copy(arguments);
  return invoke(member, id(member), DISPATCH_PROPERTYGET | DISPATCH_METHOD, reversed, {});
}

LateBound LateBound::object(const wchar_t* member, std::wstring_view kind, Arguments arguments) const {
  return {get(member, arguments).object(), kind, names_};
}

Variant LateBound::call(const wchar_t* member, Arguments arguments) const {
  std::vector<VARIANT> reversed = reversed_copy(arguments);
  return invoke(member, id(member), DISPATCH_METHOD, reversed, {});
}

Variant LateBound::call_named(const wchar_t* member, std::initializer_list<NamedArgument> arguments) const {
  std::vector<const wchar_t*> names{member};
  std::vector<VARIANT> values;
  for (const NamedArgument& argument : arguments) {
    names.push_back(argument.name);
    values.push_back(argument.value.value());
  }
  const std::vector<DISPID>& ids = names_->find(*object_.get(), kind_, std::move(names));
  return invoke(member, ids.front(), DISPATCH_METHOD, values, {ids.begin() + 1, ids.end()});
}

void LateBound::put(const wchar_t* member, const Variant& value, Arguments indexes) const {
  std::vector<VARIANT> reversed = reversed_copy(indexes);
  reversed.insert(reversed.begin(), value.value());
  invoke(member, id(member), DISPATCH_PROPERTYPUT, reversed, {DISPID_PROPERTYPUT});
}

}  // namespace ordvane::automation
