// OrdvaneTestExcel.dll: the stand-in for Excel as a class that scripts can make, "OrdvaneTest.ExcelStandIn".
// For tests only; registers itself for all users where it may, else for this one.
//
//   Open path            starts a spreadsheet with the model of a recorded run
//   Application          its Excel.Application
//   Snapshot([workbook]) a workbook (the active one, unless named) as text, as the tests of every platform
//   have it Looks([workbook])    what the snapshot leaves out Calls, LiveObjects   IDispatch calls so far;
//   objects alive besides this one FailAt               number of the call that is to fail; 0: none
#include "embedded/report_job.h"
#include "support/snapshot.h"
#include "windows/looks.h"
#include "windows/stand_in_object.h"

namespace ordvane::test {
namespace {

// {3E8F8F5C-6A0B-4B0E-8C4C-5B1D7F1F9A21}
constexpr CLSID kClass = {0x3e8f8f5c, 0x6a0b, 0x4b0e, {0x8c, 0x4c, 0x5b, 0x1d, 0x7f, 0x1f, 0x9a, 0x21}};
constexpr const wchar_t* kClassText = L"{3E8F8F5C-6A0B-4B0E-8C4C-5B1D7F1F9A21}";
constexpr const wchar_t* kProgram = L"OrdvaneTest.ExcelStandIn";

HMODULE this_module = nullptr;
long locks = 0;

struct RootTarget {
  std::shared_ptr<office::OfficeApplication> office = {};
  long own_calls = 0;
};

}  // namespace

STAND_IN_INTERFACE(RootTarget, L"ExcelStandIn")

namespace {

void open_run(RootTarget& t, const Call& c) {
  const runfile::Run run = runfile::read_run(c.text(0));
  t.office = embedded::open_model(run);
  c.stand_in->application = t.office;
}

std::shared_ptr<const office::BookModel> book(RootTarget& t, const Call& c) {
  if (!t.office) refuse("No run is open");
  const auto found = c.has(0) ? t.office->workbook(c.text(0)) : t.office->active_workbook();
  if (!found) refuse("No workbook is open");
  return t.office->model(*found);
}

}  // namespace

STAND_IN_TABLE(RootTarget) {
  return {
    METHOD(Open, PARAMETERS(L"Path"), open_run(t, c); return {}),
        GET(Application, t.office ? Variant(make_excel_stand_in(c.stand_in).get())
                                  : Variant(static_cast<IDispatch*>(nullptr))),
        METHOD(Snapshot, PARAMETERS(L"?Workbook"), return snapshot(*book(t, c))),
        METHOD(Looks, PARAMETERS(L"?Workbook"), return Looks::of(*book(t, c))),
        GET(Calls, static_cast<std::int32_t>(c.stand_in->all_calls())),
        GET(LiveObjects, static_cast<std::int32_t>(c.stand_in->live_objects - 1)),
        PUT(FailAt, c.stand_in->fail_at = v.whole()),
  };
}

namespace {

class Factory final : public IClassFactory {
 public:
  Factory() { ++locks; }
  virtual ~Factory() { --locks; }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    const bool known = IsEqualIID(id, IID_IUnknown) || IsEqualIID(id, IID_IClassFactory);
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      ComPtr<IDispatch> made;
      *made.receive() = new Object<RootTarget>(std::make_shared<StandIn>(nullptr), {});
      return made->QueryInterface(id, object);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    locks += lock ? 1 : -1;
    return S_OK;
  }

 private:
  ULONG references_ = 1;
};

bool write_value(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  return RegSetKeyValueW(root, (L"Software\\Classes\\" + key).c_str(), name, REG_SZ, value.c_str(), bytes) ==
         ERROR_SUCCESS;
}

bool write_class(HKEY root, const std::wstring& file) {
  const std::wstring server = std::wstring(L"CLSID\\") + kClassText + L"\\InprocServer32";
  return write_value(root, std::wstring(kProgram) + L"\\CLSID", nullptr, kClassText) &&
         write_value(root, server, nullptr, file) &&
         write_value(root, server, L"ThreadingModel", L"Apartment");
}

}  // namespace
}  // namespace ordvane::test

using namespace ordvane::test;

extern "C" {

__declspec(dllexport) BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) this_module = module;
  return TRUE;
}

__declspec(dllexport) HRESULT WINAPI DllGetClassObject(REFCLSID id, REFIID interface_id, void** object) {
  *object = nullptr;
  if (!IsEqualCLSID(id, kClass)) return CLASS_E_CLASSNOTAVAILABLE;
  ComPtr<IClassFactory> factory;
  *factory.receive() = new Factory;
  return factory->QueryInterface(interface_id, object);
}

// Stays in the process that has loaded it.
__declspec(dllexport) HRESULT WINAPI DllCanUnloadNow() {
  return S_FALSE;
}

__declspec(dllexport) HRESULT WINAPI DllRegisterServer() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(this_module, path.data(), static_cast<DWORD>(path.size())));
  return write_class(HKEY_LOCAL_MACHINE, path) || write_class(HKEY_CURRENT_USER, path) ? S_OK
                                                                                       : E_ACCESSDENIED;
}

__declspec(dllexport) HRESULT WINAPI DllUnregisterServer() {
  for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER})
    for (const std::wstring& key : {std::wstring(kProgram), std::wstring(L"CLSID\\") + kClassText})
      RegDeleteTreeW(root, (L"Software\\Classes\\" + key).c_str());
  return S_OK;
}

}  // extern "C"
