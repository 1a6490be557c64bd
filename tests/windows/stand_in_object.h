// How the stand-in's objects are made: a table of members for each interface, with parameters by their
// documented names, and one IDispatch over it.
//
// Arguments come by position or by name and may be left out where the table says so ("?Name"). A property
// that takes no arguments passes them on to the default member of what it returns, as Excel does.
#pragma once

#include <oaidl.h>
#include <windows.h>

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include "automation/variant.h"
#include "windows/excel_stand_in.h"

namespace ordvane::test {

using automation::ComPtr;
using automation::Variant;

// The arguments of one call, by their places in the table.
class Call {
 public:
  std::shared_ptr<StandIn> stand_in;

  bool has(std::size_t at) const;
  const VARIANT& value(std::size_t at) const { return *arguments_.at(at); }
  std::string text(std::size_t at) const { return copy(at).text(); }
  double number(std::size_t at) const { return copy(at).number(); }
  std::int32_t whole(std::size_t at) const { return copy(at).whole(); }
  std::int32_t whole(std::size_t at, std::int32_t otherwise) const { return has(at) ? whole(at) : otherwise; }
  bool truth(std::size_t at, bool otherwise) const { return has(at) ? copy(at).truth() : otherwise; }

  // Returns the HRESULT of a wrong call, with the argument counted as DISPPARAMS counts.
  HRESULT bind(const DISPPARAMS& given, const std::vector<const wchar_t*>& parameters, bool puts);
  const VARIANT& new_value() const { return *put_; }

 private:
  const VARIANT* plain(VARIANT& argument);
  Variant copy(std::size_t at) const;

  std::vector<const VARIANT*> arguments_;
  const VARIANT* put_ = nullptr;
  std::deque<Variant> owned_;
};

// What Excel answers when it cannot do as told.
[[noreturn]] inline void refuse(const std::string& why) {
  throw host::Error(host::errc::kHostRefused, why, "Microsoft Excel");
}
// A collection has no such member.
struct BadIndex {};

template <class Target>
struct Member {
  using Read = Variant (*)(Target&, const Call&);
  using Write = void (*)(Target&, const Call&, const Variant&);
  const wchar_t* name;
  std::vector<const wchar_t*> parameters;
  Read get = nullptr;
  Write put = nullptr;
  Read method = nullptr;
  bool is_default = false;
};

// Specialised for each target: `name` and `members()`.
template <class Target>
struct InterfaceOf;

class StandInObject : public IDispatch {
 public:
  explicit StandInObject(std::shared_ptr<StandIn> stand_in) : stand_in_(std::move(stand_in)) {
    ++stand_in_->live_objects;
  }
  StandInObject(const StandInObject&) = delete;
  StandInObject& operator=(const StandInObject&) = delete;

  static const IID kIdentity;  // asks whether an object is one of these

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* arguments,
                                   VARIANT* result, EXCEPINFO* exception, UINT* wrong_argument) override;

 protected:
  virtual ~StandInObject() { --stand_in_->live_objects; }
  struct Shape {
    const wchar_t* name;
    const std::vector<const wchar_t*>* parameters;
    bool gets, puts, calls, is_default;
  };
  virtual const wchar_t* interface_name() const = 0;
  virtual DISPID first_id() const = 0;  // no two interfaces number their members alike
  virtual std::size_t member_count() const = 0;
  virtual Shape shape(std::size_t member) const = 0;
  virtual Variant read(std::size_t member, bool as_method, const Call& call) = 0;
  virtual void write(std::size_t member, const Call& call, const Variant& value) = 0;

 private:
  HRESULT answer_before(const std::string& where);
  bool fails_now(const std::string& where);
  HRESULT run(std::size_t member, WORD flags, DISPPARAMS& arguments, VARIANT* result, UINT* wrong_argument);
  std::size_t find(const wchar_t* name) const;

  std::shared_ptr<StandIn> stand_in_;
  ULONG references_ = 1;
};

DISPID new_id_range();

template <class Target>
class Object final : public StandInObject {
 public:
  Object(std::shared_ptr<StandIn> stand_in, Target target)
      : StandInObject(std::move(stand_in)), target_(std::move(target)) {}
  Target& target() { return target_; }

 private:
  static const std::vector<Member<Target>>& members() {
    static const std::vector<Member<Target>> kMembers = InterfaceOf<Target>::members();
    return kMembers;
  }
  const wchar_t* interface_name() const override { return InterfaceOf<Target>::name; }
  DISPID first_id() const override {
    static const DISPID kFirst = new_id_range();
    return kFirst;
  }
  std::size_t member_count() const override { return members().size(); }
  Shape shape(std::size_t member) const override {
    const Member<Target>& m = members()[member];
    return {m.name, &m.parameters, m.get != nullptr, m.put != nullptr, m.method != nullptr, m.is_default};
  }
  Variant read(std::size_t member, bool as_method, const Call& call) override {
    const Member<Target>& m = members()[member];
    return (as_method ? m.method : m.get)(target_, call);
  }
  void write(std::size_t member, const Call& call, const Variant& value) override {
    members()[member].put(target_, call, value);
  }

  Target target_;
};

template <class Target>
Variant object(const Call& call, Target target) {
  ComPtr<IDispatch> made;
  *made.receive() = new Object<Target>(call.stand_in, std::move(target));
  return Variant(made.get());
}

// The target behind an argument; null when it is no object of that interface.
template <class Target>
Target* target_of(const VARIANT& value) {
  if (value.vt != VT_DISPATCH || value.pdispVal == nullptr) return nullptr;
  ComPtr<IUnknown> same;
  if (FAILED(value.pdispVal->QueryInterface(StandInObject::kIdentity, same.receive_void()))) return nullptr;
  auto* known = dynamic_cast<Object<Target>*>(static_cast<StandInObject*>(value.pdispVal));
  return known ? &known->target() : nullptr;
}

// Says that objects of a target have an interface, whose table follows further down.
#define STAND_IN_INTERFACE(Type, documented)           \
  template <>                                          \
  struct InterfaceOf<Type> {                           \
    using Target = Type;                               \
    static constexpr const wchar_t* name = documented; \
    static std::vector<Member<Target>> members();      \
  };
// The same of a target that is one object of the spreadsheet behind.
#define STAND_IN_OF(Type, Held, member, documented) \
  struct Type {                                     \
    std::shared_ptr<Held> member;                   \
  };                                                \
  STAND_IN_INTERFACE(Type, documented)
#define STAND_IN_TABLE(Type) std::vector<Member<Type>> InterfaceOf<Type>::members()

// Rows of a table. `t` is the target, `c` the call, `v` the new value.
// clang-format off
#define STAND_IN_READER(...) \
  []([[maybe_unused]] Target& t, [[maybe_unused]] const Call& c) -> Variant { __VA_ARGS__; }
#define STAND_IN_WRITER(...) \
  []([[maybe_unused]] Target& t, [[maybe_unused]] const Call& c, [[maybe_unused]] const Variant& v) { __VA_ARGS__; }
#define PARAMETERS(...) {__VA_ARGS__}
#define GET_OF(name, parameters, ...) Member<Target>{L## #name, parameters, STAND_IN_READER(return __VA_ARGS__)}
#define GET(name, ...) GET_OF(name, PARAMETERS(), __VA_ARGS__)
#define PUT_OF(name, parameters, ...) Member<Target>{L## #name, parameters, nullptr, STAND_IN_WRITER(__VA_ARGS__)}
#define PUT(name, ...) PUT_OF(name, PARAMETERS(), __VA_ARGS__)
#define GET_PUT(name, read, ...) \
  Member<Target>{L## #name, PARAMETERS(), STAND_IN_READER(return read), STAND_IN_WRITER(__VA_ARGS__)}
#define METHOD(name, parameters, ...) \
  Member<Target>{L## #name, parameters, nullptr, nullptr, STAND_IN_READER(__VA_ARGS__)}
// The member that an object stands for where none is named.
#define DEFAULT_OF(name, parameters, ...) \
  Member<Target>{L## #name, parameters, STAND_IN_READER(return __VA_ARGS__), nullptr, nullptr, true}
#define DEFAULT_METHOD(name, parameters, ...) \
  Member<Target>{L## #name, parameters, nullptr, nullptr, STAND_IN_READER(__VA_ARGS__), true}
// clang-format on

}  // namespace ordvane::test
