// What the COM objects of this library have in common: the count of what is alive, the edge at which errors
// become HRESULTs, and the late-bound half of a dual interface.
//
// No C++ exception leaves a method: every failure is an HRESULT, with an IErrorInfo that carries description
// and source. An automation code of host::Error is that HRESULT; a runtime error number n becomes
// 0x800A0000 + n.
#pragma once

#include <oaidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <windows.h>

#include <atomic>
#include <string>
#include <utility>

#include "automation/com_values.h"
#include "automation/dispatch.h"
#include "host/error.h"

namespace ordvane::automation {

// Objects and locks that keep the library loaded.
extern std::atomic<long> live_objects;

struct LiveObject {
  LiveObject() { ++live_objects; }
  ~LiveObject() { --live_objects; }
  LiveObject(const LiveObject&) = delete;
  LiveObject& operator=(const LiveObject&) = delete;
};

HRESULT hresult_of(const host::Error& error) noexcept;
// Turns the exception being handled into an HRESULT and the thread's IErrorInfo.
HRESULT report_current_exception(REFIID interface_id) noexcept;

// The thread's IErrorInfo after a call that succeeded; none for the empty text. Never fails.
void set_error_text(REFIID interface_id, const std::string& text) noexcept;

// Runs one call of a client. `step` writes results through pointers that have been checked.
template <class Step>
HRESULT answer(REFIID interface_id, Step&& step) noexcept {
  SetErrorInfo(0, nullptr);
  try {
    std::forward<Step>(step)();
    return S_OK;
  } catch (...) {
    return report_current_exception(interface_id);
  }
}

// Reads or writes through a client's pointer. Throws E_POINTER when there is none.
template <class T>
T& at(T* pointer) {
  if (pointer == nullptr) throw host::Error(E_POINTER, "A pointer is missing");
  return *pointer;
}

// An object of a public class, `Class`, with its dual interface. Late-bound calls go through the type library
// to the interface's own function table.
template <class Class, class Interface>
class AutomationObject : public Interface, public ISupportErrorInfo, public IProvideClassInfo {
 public:
  AutomationObject() = default;
  AutomationObject(const AutomationObject&) = delete;
  AutomationObject& operator=(const AutomationObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IDispatch) || IsEqualIID(id, __uuidof(Interface)))
      *object = static_cast<Interface*>(this);
    else if (IsEqualIID(id, IID_ISupportErrorInfo))
      *object = static_cast<ISupportErrorInfo*>(this);
    else if (IsEqualIID(id, IID_IProvideClassInfo))
      *object = static_cast<IProvideClassInfo*>(this);
    else if (void* own = implementation(id))
      *object = own;
    else {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references_); }
  ULONG STDMETHODCALLTYPE Release() override {
    const long left = --references_;
    if (left == 0) {
      references_ = kBeingDestroyed;  // what destruction lends out and takes back does not destroy again
      delete this;
    }
    return static_cast<ULONG>(left);
  }

  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) override {
    return IsEqualIID(id, __uuidof(Interface)) || IsEqualIID(id, IID_IDispatch) ? S_OK : S_FALSE;
  }

  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return own_type_info(__uuidof(Class), info);
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return own_type_info(__uuidof(Interface), info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
    const HRESULT found = members_.open(__uuidof(Interface));
    return FAILED(found) ? found : members_.ids_of_names(names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID reserved, LCID language, WORD flags,
                                   DISPPARAMS* arguments, VARIANT* result, EXCEPINFO* exception,
                                   UINT* wrong_argument) override {
    if (!IsEqualIID(reserved, IID_NULL)) return DISP_E_UNKNOWNINTERFACE;
    const HRESULT found = members_.open(__uuidof(Interface));
    if (FAILED(found)) return found;
    const ComPtr<IUnknown> alive(static_cast<Interface*>(this));
    return members_.invoke(static_cast<Interface*>(this), {member, language, flags, arguments},
                           {result, exception, wrong_argument});
  }

 protected:
  virtual ~AutomationObject() = default;
  // Interfaces of the class besides its public ones; null when it has none of this id.
  virtual void* implementation(REFIID) { return nullptr; }

 private:
  static constexpr long kBeingDestroyed = 0x40000000;

  LiveObject alive_;
  std::atomic<long> references_ = 1;
  Members members_;
};

// Makes an object and asks it for an interface.
template <class Object>
HRESULT create(REFIID id, void** object) noexcept {
  *object = nullptr;
  ComPtr<Object> made;
  const HRESULT status = answer(id, [&] { *made.receive() = new Object; });
  return FAILED(status) ? status : made->QueryInterface(id, object);
}

}  // namespace ordvane::automation
