// Registration: what the registry holds before, between and after.

#include "automation/registration.h"

#include <set>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

constexpr const wchar_t* kClasses = L"Software\\Classes\\";

// The keys below a key, two levels deep: new program ids, classes, interfaces and type libraries show there.
void collect(HKEY parent, const std::wstring& path, int levels, std::set<std::wstring>& keys) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(parent, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  for (DWORD i = 0;; ++i) {
    wchar_t name[256];
    DWORD units = ARRAYSIZE(name);
    if (RegEnumKeyExW(key, i, name, &units, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    keys.insert(path + name);
    if (levels > 1) collect(parent, path + name + L"\\", levels - 1, keys);
  }
  RegCloseKey(key);
}

std::set<std::wstring> classes_of(HKEY root) {
  std::set<std::wstring> keys;
  collect(root, kClasses, 2, keys);
  return keys;
}

// The value of a key; "(none)" without one.
std::wstring value_of(HKEY root, const std::wstring& key, const wchar_t* name = L"") {
  wchar_t value[1024];
  DWORD bytes = sizeof(value);
  return RegGetValueW(root, (kClasses + key).c_str(), name, RRF_RT_REG_SZ, nullptr, value, &bytes) ==
                 ERROR_SUCCESS
             ? value
             : L"(none)";
}

constexpr const wchar_t* kLibrary = L"{6DF93BAD-39BE-4068-8F4F-9D594D27682C}";
constexpr const wchar_t* kWidths = L"TypeLib\\{6DF93BAD-39BE-4068-8F4F-9D594D27682C}\\8.0\\0\\";
constexpr const wchar_t* kThisWidth = sizeof(void*) == 8 ? L"win64" : L"win32";
constexpr const wchar_t* kOtherWidth = sizeof(void*) == 8 ? L"win32" : L"win64";

class Registration : public testing::TestWithParam<HKEY> {};

TEST_P(Registration, WritesEveryKeyAndRemovesEachAgain) {
  automation::unregister_server();
  const std::set<std::wstring> before = classes_of(GetParam());
  ASSERT_EQ(automation::register_server(GetParam()), S_OK);
  std::wstring own_path(32768, L'\0');
  own_path.resize(GetModuleFileNameW(nullptr, own_path.data(), static_cast<DWORD>(own_path.size())));
  const std::wstring reports = L"{6578EA56-8F16-406A-9F69-24C57F487133}", id = L"CLSID\\" + reports;
  const std::wstring program = L"OrdvaneResults8.OrdvaneReports";
  const std::wstring interface_key = L"Interface\\{33603534-AA15-40A6-9CF4-33A75D2E2D7C}";
  EXPECT_EQ(value_of(GetParam(), id + L"\\InprocServer32"), own_path);
  EXPECT_EQ(value_of(GetParam(), id + L"\\InprocServer32", L"ThreadingModel"), L"Apartment");
  EXPECT_EQ(value_of(GetParam(), id + L"\\ProgID"), program);
  EXPECT_EQ(value_of(GetParam(), id + L"\\TypeLib"), kLibrary);
  EXPECT_EQ(value_of(GetParam(), program + L"\\CLSID"), reports);
  EXPECT_EQ(value_of(GetParam(), interface_key), L"_OrdvaneReports");
  EXPECT_EQ(value_of(GetParam(), interface_key + L"\\TypeLib"), kLibrary);
  EXPECT_EQ(value_of(GetParam(), interface_key + L"\\TypeLib", L"Version"), L"8.0");
  EXPECT_EQ(value_of(GetParam(), std::wstring(kWidths) + kThisWidth), own_path);

  EXPECT_EQ(automation::unregister_server(), S_OK);
  EXPECT_EQ(classes_of(GetParam()), before);
  EXPECT_EQ(automation::unregister_server(), S_OK) << "nothing is left to remove";
}

TEST_P(Registration, NamesStayWhileTheOtherWidthIsRegistered) {
  automation::unregister_server();
  const std::set<std::wstring> before = classes_of(GetParam());
  ASSERT_EQ(automation::register_server(GetParam()), S_OK);
  const std::wstring other = std::wstring(kClasses) + kWidths + kOtherWidth;
  HKEY key = nullptr;
  ASSERT_EQ(RegCreateKeyW(GetParam(), other.c_str(), &key), ERROR_SUCCESS);
  RegCloseKey(key);

  EXPECT_EQ(automation::unregister_server(), S_OK);
  EXPECT_NE(value_of(GetParam(), L"OrdvaneResults8.OrdvaneReports\\CLSID"), L"(none)");
  EXPECT_EQ(value_of(GetParam(), L"CLSID\\{6578EA56-8F16-406A-9F69-24C57F487133}"), L"(none)");
  RegDeleteKeyW(GetParam(), other.c_str());
  EXPECT_EQ(automation::unregister_server(), S_OK);
  EXPECT_EQ(classes_of(GetParam()), before);
}

INSTANTIATE_TEST_SUITE_P(Roots, Registration, testing::Values(HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER),
                         [](const auto& root) {
                           return root.param == HKEY_LOCAL_MACHINE ? "AllUsers" : "ThisUser";
                         });

TEST(RegisteredServer, ClassesAreMadeByNameOrRefused) {
  const Server server;
  ASSERT_EQ(export_of<HRESULT WINAPI()>(server.module(), "DllRegisterServer")(), S_OK);
  struct Case {
    const wchar_t* name;
    HRESULT made;
  };
  for (const Case& c :
       {Case{L"OrdvaneResults8.OrdvaneReports", S_OK}, Case{L"OrdvaneResults8.DralInputOutput", S_OK},
        Case{L"OrdvaneResults8.OrdvaneSummary", CLASS_E_CLASSNOTAVAILABLE},
        Case{L"OrdvaneResults8.OrdvaneEnumerations", CLASS_E_CLASSNOTAVAILABLE}}) {
    CLSID id = {};
    ComPtr<IDispatch> object;
    ASSERT_EQ(CLSIDFromProgID(c.name, &id), S_OK);
    EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, object.receive_void()),
              c.made);
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(server.class_object(id, factory), c.made);
  }
  EXPECT_EQ(export_of<HRESULT WINAPI()>(server.module(), "DllUnregisterServer")(), S_OK);
}

TEST(RegisteredServer, InstallsForOneUser) {
  const Server server;
  const auto install = export_of<HRESULT WINAPI(BOOL, const wchar_t*)>(server.module(), "DllInstall");
  const std::set<std::wstring> user = classes_of(HKEY_CURRENT_USER), all = classes_of(HKEY_LOCAL_MACHINE);
  EXPECT_EQ(install(TRUE, L"user"), S_OK);
  EXPECT_NE(classes_of(HKEY_CURRENT_USER), user);
  EXPECT_EQ(classes_of(HKEY_LOCAL_MACHINE), all);
  EXPECT_EQ(install(FALSE, L"USER"), S_OK);
  EXPECT_EQ(classes_of(HKEY_CURRENT_USER), user);
  EXPECT_EQ(install(TRUE, L"machine"), E_INVALIDARG);
}

TEST(RegisteredServer, RefusesAggregationAndUnknownClasses) {
  const Server server;
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(server.class_object(IID_IDispatch, factory), CLASS_E_CLASSNOTAVAILABLE);
  ASSERT_EQ(server.class_object(__uuidof(DralInputOutput), factory), S_OK);
  const ComPtr<_DralInputOutput> outer = server.make_record();
  ComPtr<IUnknown> made;
  EXPECT_EQ(factory->CreateInstance(outer.get(), IID_IUnknown, made.receive_void()), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(factory->CreateInstance(nullptr, IID_IClassFactory, made.receive_void()), E_NOINTERFACE);
  factory->LockServer(TRUE);
  EXPECT_EQ(server.can_unload(), S_FALSE);
  factory->LockServer(FALSE);
}

}  // namespace
}  // namespace ordvane::test
