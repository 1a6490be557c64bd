// The COM server's file beside the test program, and its objects made without the registry.
#pragma once

#include <OrdvaneResults8.h>
#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <string>

#include "automation/com_values.h"

namespace ordvane::test {

using automation::ComPtr;

// The server lies in the folder above this program's.
inline std::wstring server_path() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  path.resize(path.find_last_of(L'\\'));
  path.resize(path.find_last_of(L'\\'));
  return path + L"\\OrdvaneResults8.dll";
}

template <class Function>
Function* export_of(HMODULE module, const char* name) {
  return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// The library in this process, its thread in an apartment of its own.
class Server {
 public:
  Server() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    module_ = LoadLibraryW(server_path().c_str());
    EXPECT_NE(module_, nullptr) << "error " << GetLastError();
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() {
    EXPECT_EQ(can_unload(), S_OK) << "objects were left alive";
    FreeLibrary(module_);
    CoUninitialize();
  }

  HRESULT can_unload() const { return export_of<HRESULT WINAPI()>(module_, "DllCanUnloadNow")(); }
  HRESULT class_object(REFCLSID id, ComPtr<IClassFactory>& factory) const {
    return export_of<HRESULT WINAPI(REFCLSID, REFIID, void**)>(module_, "DllGetClassObject")(
        id, IID_IClassFactory, factory.receive_void());
  }
  template <class Interface>
  ComPtr<Interface> make(REFCLSID id) const {
    ComPtr<IClassFactory> factory;
    ComPtr<Interface> made;
    EXPECT_EQ(class_object(id, factory), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(Interface), made.receive_void()), S_OK);
    return made;
  }
  ComPtr<_DralInputOutput> make_record() const { return make<_DralInputOutput>(__uuidof(DralInputOutput)); }
  HMODULE module() const { return module_; }

 private:
  HMODULE module_ = nullptr;
};

}  // namespace ordvane::test
