// Calls members of another program's objects by their names.
//
// A name is looked up once for each kind of object and remembered, so that every call is one Invoke. A call
// that fails throws host::Error with the code, description and source that the object gave; the HRESULT
// 0x800A0000 + n of a runtime error is its number n, as in the program's own language.
#pragma once

#include <oaidl.h>
#include <windows.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/com_values.h"
#include "automation/variant.h"

namespace ordvane::automation {

// Numbers of members and of their parameters, by kind of object.
class MemberNames {
 public:
  // `names`: the member, then parameters of it. Texts must live as long as this does.
  const std::vector<DISPID>& find(IDispatch& object, std::wstring_view kind,
                                  std::vector<const wchar_t*> names);
  // Whether objects of a kind have a member.
  bool has(IDispatch& object, std::wstring_view kind, const wchar_t* member);

 private:
  std::map<std::vector<std::wstring_view>, std::vector<DISPID>> known_;
  std::set<std::pair<std::wstring_view, std::wstring_view>> missing_;  // members, by kind
};

struct NamedArgument {
  const wchar_t* name;
  Variant value;
};

class LateBound {
 public:
  using Arguments = std::initializer_list<Variant>;

  // `kind`: the object's interface as documented, a text that lives as long as `names`. Throws error
  // 91 for Nothing.
  LateBound(ComPtr<IDispatch> object, std::wstring_view kind, std::shared_ptr<MemberNames> names);

  // Members are named by texts that live as long as the program.
  bool has(const wchar_t* member) const { return names_->has(*object_.get(), kind_, member); }
  Variant get(const wchar_t* member, Arguments arguments = {}) const;
  // The same where an object must come back.
  LateBound object(const wchar_t* member, std::wstring_view kind, Arguments arguments = {}) const;
  Variant call(const wchar_t* member, Arguments arguments = {}) const;
  Variant call_named(const wchar_t* member, std::initializer_list<NamedArgument> arguments) const;
  // `indexes`: the arguments of a property that takes some.
  void put(const wchar_t* member, const Variant& value, Arguments indexes = {}) const;

  IDispatch* dispatch() const { return object_.get(); }
  const std::shared_ptr<MemberNames>& names() const { return names_; }

 private:
  Variant invoke(const wchar_t* member, DISPID id, WORD flags, std::vector<VARIANT>& reversed,
                 std::vector<DISPID> named) const;
  DISPID id(const wchar_t* member) const;

  ComPtr<IDispatch> object_;
  std::wstring_view kind_;
  std::shared_ptr<MemberNames> names_;
};

}  // namespace ordvane::automation
