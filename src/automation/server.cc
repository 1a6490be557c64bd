// The exports of the COM server, and its class factories.

#include <windows.h>

#include "automation/classes.h"
#include "automation/com_object.h"
#include "automation/registration.h"

namespace ordvane::automation {
namespace {

class ClassFactory final : public IClassFactory {
 public:
  explicit ClassFactory(const PublicClass& made) : class_(made) {}
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IClassFactory)) return E_NOINTERFACE;
    *object = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references_); }
  ULONG STDMETHODCALLTYPE Release() override {
    const long left = --references_;
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    return outer != nullptr ? CLASS_E_NOAGGREGATION : class_.create(id, object);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    live_objects += lock ? 1 : -1;
    return S_OK;
  }

 private:
  ~ClassFactory() = default;

  LiveObject alive_;
  std::atomic<long> references_ = 1;
  const PublicClass& class_;
};

}  // namespace
}  // namespace ordvane::automation

using namespace ordvane::automation;

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID class_id, REFIID id, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  for (const PublicClass& known : public_classes()) {
    if (!IsEqualCLSID(class_id, known.id) || known.create == nullptr) continue;
    ClassFactory* made = new (std::nothrow) ClassFactory(known);
    if (made == nullptr) return E_OUTOFMEMORY;
    const HRESULT status = made->QueryInterface(id, object);
    made->Release();
    return status;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return live_objects == 0 ? S_OK : S_FALSE;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  return register_server(registration_root());
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  return unregister_server();
}

// "user" is what regsvr32 passes on from /i:user.
extern "C" HRESULT STDAPICALLTYPE DllInstall(BOOL install, const wchar_t* for_whom) {
  const bool named = for_whom != nullptr && *for_whom != L'\0';
  if (named && CompareStringOrdinal(for_whom, -1, L"user", -1, TRUE) != CSTR_EQUAL) return E_INVALIDARG;
  if (!named) return install ? DllRegisterServer() : DllUnregisterServer();
  return install ? register_server(HKEY_CURRENT_USER) : unregister_server(HKEY_CURRENT_USER);
}
