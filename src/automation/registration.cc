#include "automation/registration.h"

#include <objbase.h>

#include <new>
#include <string>
#include <vector>

#include "automation/classes.h"

namespace ordvane::automation {
namespace {

constexpr const wchar_t* kClasses = L"Software\\Classes\\";
// Marshals every interface that a type library describes.
constexpr const wchar_t* kTypeLibraryMarshaler = L"{00020424-0000-0000-C000-000000000046}";
#ifdef _WIN64
constexpr const wchar_t* kThisWidth = L"win64";
constexpr const wchar_t* kOtherWidth = L"win32";
#else
constexpr const wchar_t* kThisWidth = L"win32";
constexpr const wchar_t* kOtherWidth = L"win64";
#endif

struct Entry {
  std::wstring key;   // below Classes
  std::wstring name;  // empty: the key's own value
  std::wstring value;
};

std::wstring text_of(const GUID& id) {
  wchar_t text[40];
  StringFromGUID2(id, text, ARRAYSIZE(text));
  return text;
}

std::wstring module_path() {
  HMODULE module = nullptr;
  std::wstring path(32768, L'\0');
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const wchar_t*>(&text_of), &module))
    return {};
  path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
  return path;
}

std::wstring class_key(const PublicClass& known) {
  return L"CLSID\\" + text_of(known.id);
}
std::wstring program_id(const PublicClass& known) {
  return std::wstring(kLibraryName) + L"." + known.name;
}
std::wstring interface_key(const PublicInterface& known) {
  return L"Interface\\" + text_of(known.id);
}
std::wstring library_key() {
  return L"TypeLib\\" + text_of(library_id());
}
std::wstring version() {
  return std::to_wstring(kLibraryMajor) + L"." + std::to_wstring(kLibraryMinor);
}
std::wstring version_key() {
  return library_key() + L"\\" + version();
}

std::vector<Entry> entries(const std::wstring& path) {
  const std::wstring library = text_of(library_id());
  std::vector<Entry> all;
  for (const PublicClass& known : public_classes()) {
    const std::wstring key = class_key(known);
    all.push_back({key, L"", known.description});
    all.push_back({key + L"\\InprocServer32", L"", path});
    all.push_back({key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"});
    all.push_back({key + L"\\ProgID", L"", program_id(known)});
    all.push_back({key + L"\\Programmable", L"", L""});
    all.push_back({key + L"\\TypeLib", L"", library});
    all.push_back({key + L"\\VERSION", L"", version()});
    all.push_back({program_id(known), L"", known.description});
    all.push_back({program_id(known) + L"\\CLSID", L"", text_of(known.id)});
  }
  for (const PublicInterface& known : public_interfaces()) {
    const std::wstring key = interface_key(known);
    all.push_back({key, L"", known.name});
    all.push_back({key + L"\\ProxyStubClsid32", L"", kTypeLibraryMarshaler});
    all.push_back({key + L"\\TypeLib", L"", library});
    all.push_back({key + L"\\TypeLib", L"Version", version()});
  }
  all.push_back({version_key(), L"", L"Ordvane Results 8"});
  all.push_back({version_key() + L"\\0\\" + kThisWidth, L"", path});
  all.push_back({version_key() + L"\\FLAGS", L"", L"0"});
  all.push_back({version_key() + L"\\HELPDIR", L"", path.substr(0, path.find_last_of(L'\\'))});
  return all;
}

LSTATUS write(HKEY root, const Entry& entry) {
  HKEY key = nullptr;
  LSTATUS status = RegCreateKeyExW(root, (kClasses + entry.key).c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                   nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) return status;
  status = RegSetValueExW(key, entry.name.empty() ? nullptr : entry.name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(entry.value.c_str()),
                          static_cast<DWORD>((entry.value.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
  return status;
}

bool exists(HKEY root, const std::wstring& key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(root, (kClasses + key).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
  RegCloseKey(opened);
  return true;
}

// The first failure other than a key that is not there.
class Removal {
 public:
  explicit Removal(HKEY root) : root_(root) {}
  void tree(const std::wstring& key) { keep(RegDeleteTreeW(root_, (kClasses + key).c_str())); }
  // Only a key that holds nothing any more.
  void if_empty(const std::wstring& key) {
    if (is_empty(key)) keep(RegDeleteKeyW(root_, (kClasses + key).c_str()));
  }
  LSTATUS status() const { return status_; }

 private:
  bool is_empty(const std::wstring& key) const {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root_, (kClasses + key).c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    DWORD keys = 0;
    DWORD values = 0;
    const LSTATUS asked = RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                           &values, nullptr, nullptr, nullptr, nullptr);
    RegCloseKey(opened);
    return asked == ERROR_SUCCESS && keys == 0 && values == 0;
  }
  void keep(LSTATUS status) {
    if (status != ERROR_FILE_NOT_FOUND && status_ == ERROR_SUCCESS) status_ = status;
  }

  HKEY root_;
  LSTATUS status_ = ERROR_SUCCESS;
};

LSTATUS remove_all(HKEY root) {
  Removal removal(root);
  for (const PublicClass& known : public_classes()) removal.tree(class_key(known));
  for (const PublicInterface& known : public_interfaces()) removal.tree(interface_key(known));
  removal.tree(version_key() + L"\\0\\" + kThisWidth);
  for (const wchar_t* container : {L"CLSID", L"Interface"}) removal.if_empty(container);
  if (exists(root, version_key() + L"\\0\\" + kOtherWidth)) return removal.status();
  for (const PublicClass& known : public_classes()) removal.tree(program_id(known));
  removal.tree(version_key());
  removal.if_empty(library_key());
  removal.if_empty(L"TypeLib");
  return removal.status();
}

}  // namespace

HKEY registration_root() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID", 0, KEY_WRITE, &key) != ERROR_SUCCESS)
    return HKEY_CURRENT_USER;
  RegCloseKey(key);
  return HKEY_LOCAL_MACHINE;
}

HRESULT register_server(HKEY root) {
  try {
    const std::wstring path = module_path();
    if (path.empty()) return HRESULT_FROM_WIN32(GetLastError());
    for (const Entry& entry : entries(path)) {
      const LSTATUS status = write(root, entry);
      if (status == ERROR_SUCCESS) continue;
      remove_all(root);
      return HRESULT_FROM_WIN32(status);
    }
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT unregister_server(HKEY root) {
  try {
    return HRESULT_FROM_WIN32(remove_all(root));
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

HRESULT unregister_server() {
  const HRESULT user = unregister_server(HKEY_CURRENT_USER);
  const HRESULT machine =
      registration_root() == HKEY_LOCAL_MACHINE ? unregister_server(HKEY_LOCAL_MACHINE) : S_OK;
  return FAILED(machine) ? machine : user;
}

}  // namespace ordvane::automation
