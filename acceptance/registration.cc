#include "registration.h"

#include <OrdvaneResults8.h>
#include <objbase.h>

#include "automation/classes.h"
#include "automation/com_values.h"
#include "machine.h"
#include "measure.h"

namespace ordvane::acceptance {
namespace {

using automation::ComPtr;

constexpr const wchar_t* kClasses = L"Software\\Classes\\";

std::wstring text_of(const GUID& id) {
  wchar_t text[40];
  StringFromGUID2(id, text, ARRAYSIZE(text));
  return text;
}

std::vector<std::wstring> keys_of_library() {
  std::vector<std::wstring> keys;
  for (const auto& known : automation::public_classes()) {
    keys.push_back(L"CLSID\\" + text_of(known.id));
    keys.push_back(std::wstring(automation::kLibraryName) + L"." + known.name);
  }
  for (const auto& known : automation::public_interfaces())
    keys.push_back(L"Interface\\" + text_of(known.id));
  keys.push_back(L"TypeLib\\" + text_of(automation::library_id()));
  return keys;
}

std::wstring class_name() {
  return std::wstring(automation::kLibraryName) + L".OrdvaneReports";
}

// Makes the object by its name, and says which file it came from.
std::wstring file_of_made_object() {
  CLSID id = {};
  ComPtr<IDispatch> made;
  HRESULT status = CLSIDFromProgID(class_name().c_str(), &id);
  if (FAILED(status))
    throw Wrong{"the name OrdvaneResults8.OrdvaneReports is not known: " + code_text(status)};
  status = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, made.receive_void());
  if (FAILED(status)) throw Wrong{"the object is not made: " + code_text(status)};
  HMODULE module = nullptr;
  std::wstring path(32768, L'\0');
  // The function table of an object lies in the file that made it.
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     *reinterpret_cast<const wchar_t**>(made.get()), &module);
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

bool same_file(const std::filesystem::path& a, const std::filesystem::path& b) {
  return CompareStringOrdinal(a.c_str(), -1, b.c_str(), -1, TRUE) == CSTR_EQUAL;
}

void expect_own_file(const Library& library) {
  const std::filesystem::path made_by = file_of_made_object();
  if (!same_file(made_by, library.file())) throw Wrong{"the object is of another file: " + utf8_of(made_by)};
}

// Uses the manifest beside the library for as long as it lives.
class WithManifest {
 public:
  explicit WithManifest(const std::filesystem::path& manifest) {
    ACTCTXW wanted = {};
    wanted.cbSize = sizeof wanted;
    wanted.lpSource = manifest.c_str();
    context_ = CreateActCtxW(&wanted);
    if (context_ == INVALID_HANDLE_VALUE || !ActivateActCtx(context_, &cookie_))
      throw Wrong{utf8_of(manifest) + " is not taken: error " + std::to_string(GetLastError())};
  }
  ~WithManifest() {
    DeactivateActCtx(0, cookie_);
    ReleaseActCtx(context_);
  }
  WithManifest(const WithManifest&) = delete;
  WithManifest& operator=(const WithManifest&) = delete;

 private:
  HANDLE context_;
  ULONG_PTR cookie_ = 0;
};

std::string without_registration(const Library& library) {
  CLSID id = {};
  if (SUCCEEDED(CLSIDFromProgID(class_name().c_str(), &id)))
    throw CannotBeMade{"the library is registered for all users"};
  const WithManifest manifest(library.file().parent_path() / L"OrdvaneResults8.manifest");
  expect_own_file(library);
  BSTR path = nullptr;
  const HRESULT found = QueryPathOfRegTypeLib(automation::library_id(), automation::kLibraryMajor,
                                              automation::kLibraryMinor, LOCALE_NEUTRAL, &path);
  SysFreeString(path);
  if (FAILED(found)) throw Wrong{"the manifest leads to no type library: " + code_text(found)};
  return "class and type library are found through the manifest";
}

}  // namespace

void Registered::collect(HKEY parent, const std::wstring& path) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  std::vector<BYTE> bytes(65536);
  wchar_t name[512];
  for (DWORD at = 0;; ++at) {
    DWORD units = ARRAYSIZE(name), type = 0, size = static_cast<DWORD>(bytes.size());
    if (RegEnumValueW(key, at, name, &units, nullptr, &type, bytes.data(), &size) != ERROR_SUCCESS) break;
    values_[{path, name}] = {type, {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)}};
  }
  for (DWORD at = 0;; ++at) {
    DWORD units = ARRAYSIZE(name);
    if (RegEnumKeyExW(key, at, name, &units, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    collect(parent, path + L"\\" + name);
  }
  RegCloseKey(key);
}

Registered Registered::read() {
  Registered found;
  for (const std::wstring& key : keys_of_library()) found.collect(HKEY_CURRENT_USER, kClasses + key);
  return found;
}

std::string Registered::difference(const Registered& other) const {
  std::string text;
  const auto compare = [&](const Registered& a, const Registered& b, const char* what) {
    for (const auto& [place, value] : a.values_) {
      const auto found = b.values_.find(place);
      if (found == b.values_.end())
        text += std::string(what) + utf8_of(place.first) + " " + utf8_of(place.second) + "\n";
    }
  };
  compare(*this, other, "gone: ");
  compare(other, *this, "new: ");
  for (const auto& [place, value] : values_) {
    const auto found = other.values_.find(place);
    if (found != other.values_.end() && !(found->second == value))
      text += "changed: " + utf8_of(place.first) + "\n";
  }
  return text;
}

void Registered::write_back() const {
  for (const auto& [place, value] : values_) {
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, place.first.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
      continue;
    RegSetValueExW(key, place.second.c_str(), 0, value.type, value.bytes.data(),
                   static_cast<DWORD>(value.bytes.size()));
    RegCloseKey(key);
  }
}

Library::Library(std::filesystem::path file) : file_(std::move(file)), module_(LoadLibraryW(file_.c_str())) {
  if (module_ == nullptr)
    throw Wrong{utf8_of(file_) + " is not loaded: error " + std::to_string(GetLastError())};
}

Library::~Library() {
  FreeLibrary(module_);
}

void Library::install(bool install) const {
  using Install = HRESULT(WINAPI*)(BOOL, const wchar_t*);
  const auto call = reinterpret_cast<Install>(reinterpret_cast<void*>(GetProcAddress(module_, "DllInstall")));
  if (call == nullptr) throw Wrong{"the library does not export DllInstall"};
  HRESULT status = call(install ? TRUE : FALSE, L"user");
  if (SUCCEEDED(status) && runs_under_wine()) status = call(install ? TRUE : FALSE, nullptr);
  if (FAILED(status)) throw Wrong{"DllInstall answers " + code_text(status)};
}

bool Library::can_unload() const {
  using Ask = HRESULT(WINAPI*)();
  return reinterpret_cast<Ask>(reinterpret_cast<void*>(GetProcAddress(module_, "DllCanUnloadNow")))() == S_OK;
}

void check_registration(Results& results, const Library& library, Registered& before) {
  before = Registered::read();
  results.begin_section("registration", "Registration for this user");
  results.fact("Library", "File", utf8_of(library.file()));
  results.fact("Library", "Registered before", before.empty() ? "no" : "yes; put back at the end");
  results.check("registers without rights", [&] {
    library.install(true);
    wchar_t path[4096] = L"";
    DWORD bytes = sizeof path;
    const std::wstring key =
        kClasses + (L"CLSID\\" + text_of(__uuidof(OrdvaneReports))) + L"\\InprocServer32";
    RegGetValueW(HKEY_CURRENT_USER, key.c_str(), nullptr, RRF_RT_REG_SZ, nullptr, path, &bytes);
    if (!same_file(path, library.file()))
      throw Wrong{"the class is registered as '" + utf8_of(std::wstring(path)) + "'"};
    return std::string("HKEY_CURRENT_USER\\") + utf8_of(key);
  });
  results.check("object is made by its name", [&] {
    expect_own_file(library);
    return std::string();
  });
  results.check("classes not for clients are refused", [] {
    for (const auto& known : automation::public_classes()) {
      ComPtr<IDispatch> made;
      const HRESULT status =
          CoCreateInstance(known.id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, made.receive_void());
      if ((known.create != nullptr) != SUCCEEDED(status))
        throw Wrong{utf8_of(std::wstring(known.name)) + ": " + code_text(status)};
    }
    return std::string();
  });
}

void check_removal(Results& results, const Library& library, const Registered& before) {
  results.begin_section("removal", "Removal");
  results.check("nothing keeps the library loaded", [&] {
    if (!library.can_unload()) throw Wrong{"objects of the library are still alive"};
    return std::string();
  });
  results.check("takes out what it registered", [&] {
    library.install(false);
    if (!Registered::read().empty()) throw Wrong{Registered().difference(Registered::read())};
    return std::string();
  });
  results.check("is found through its manifest, unregistered", [&] { return without_registration(library); });
  results.check("registry is as it was found", [&] {
    before.write_back();
    const std::string difference = before.difference(Registered::read());
    if (!difference.empty()) throw Wrong{difference};
    return std::string(before.empty() ? "nothing of the library" : "the earlier registration is back");
  });
}

}  // namespace ordvane::acceptance
