// Runs VBScript inside the test program: a late-bound client that knows the type library's names
// and nothing else.
#pragma once

#include <activscp.h>
#include <windows.h>

#include <map>
#include <string>

#include "automation/com_values.h"
#include "windows/late_binding.h"

namespace ordvane::test {

using automation::ComPtr;

// Objects that the script finds under their names.
using ScriptObjects = std::map<std::wstring, IDispatch*>;

class Script final : public IActiveScriptSite {
 public:
  explicit Script(ScriptObjects objects) : objects_(std::move(objects)) {}
  Script(const Script&) = delete;
  Script& operator=(const Script&) = delete;

  static bool available() {
    CLSID id = {};
    return CLSIDFromProgID(L"VBScript", &id) == S_OK;
  }

  // Runs the script; its variable `report` is the result, or "error N, line L: description".
  std::wstring run(const wchar_t* text) {
    CLSID id = {};
    ComPtr<IActiveScript> engine;
    ComPtr<IActiveScriptParse> parser;
    if (FAILED(CLSIDFromProgID(L"VBScript", &id)) ||
        FAILED(
            CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IActiveScript, engine.receive_void())) ||
        FAILED(engine->QueryInterface(__uuidof(IActiveScriptParse), parser.receive_void())))
      return L"no script engine";
    engine->SetScriptSite(this);
    parser->InitNew();
    for (const auto& [name, object] : objects_) engine->AddNamedItem(name.c_str(), SCRIPTITEM_ISVISIBLE);
    engine->SetScriptState(SCRIPTSTATE_CONNECTED);
    parser->ParseScriptText(text, nullptr, nullptr, nullptr, 0, 0, SCRIPTTEXT_ISVISIBLE, nullptr, nullptr);
    std::wstring result = error_;
    ComPtr<IDispatch> globals;
    if (result.empty() && SUCCEEDED(engine->GetScriptDispatch(nullptr, globals.receive())))
      result = text_of(invoke(*globals.get(), L"report", DISPATCH_PROPERTYGET, {}).result);
    globals = {};
    engine->Close();
    return result;
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    *object = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IActiveScriptSite)) return E_NOINTERFACE;
    *object = static_cast<IActiveScriptSite*>(this);
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives on the stack
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetLCID(LCID* language) override {
    *language = 1033;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetItemInfo(LPCOLESTR name, DWORD wanted, IUnknown** object,
                                        ITypeInfo** type) override {
    if (type != nullptr) *type = nullptr;
    const auto found = objects_.find(name);
    if (found == objects_.end() || (wanted & SCRIPTINFO_IUNKNOWN) == 0) return TYPE_E_ELEMENTNOTFOUND;
    *object = found->second;
    (*object)->AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetDocVersionString(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE OnScriptTerminate(const VARIANT*, const EXCEPINFO*) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnStateChange(SCRIPTSTATE) override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnScriptError(IActiveScriptError* error) override {
    EXCEPINFO info = {};
    DWORD context = 0;
    ULONG line = 0;
    LONG column = 0;
    error->GetExceptionInfo(&info);
    error->GetSourcePosition(&context, &line, &column);
    error_ = L"error " + std::to_wstring(info.scode) + L", line " + std::to_wstring(line + 1) + L": " +
             (info.bstrDescription == nullptr ? L"" : info.bstrDescription);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE OnEnterScript() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE OnLeaveScript() override { return S_OK; }

 private:
  ScriptObjects objects_;
  std::wstring error_;
};

}  // namespace ordvane::test
