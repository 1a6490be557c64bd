// Script clients of the stand-in for Excel: registered, driven by a script, and taken out again.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "windows/child_process.h"
#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

TEST(StandInServer, ServesScripts) {
  const std::filesystem::path server = server_path();
  const std::wstring folder = server.parent_path().wstring();
  const HMODULE module = LoadLibraryW((folder + L"\\OrdvaneTestExcel.dll").c_str());
  ASSERT_NE(module, nullptr) << GetLastError();
  ASSERT_EQ(export_of<HRESULT WINAPI()>(module, "DllRegisterServer")(), S_OK);
  DWORD exit_code = 0;
  const std::wstring source =
      server.root_name().wstring() + std::filesystem::path(ORDVANE_SOURCE_DIR).wstring();
  const std::string output =
      output_of(L"cscript.exe //nologo \"" + source + L"/tests/windows/stand_in_client.vbs\" \"" + source +
                    L"/examples/solar-plant/solar-plant.run.json\"",
                exit_code);
  EXPECT_EQ(output, "done\n");
  EXPECT_EQ(exit_code, 0U);
  EXPECT_EQ(export_of<HRESULT WINAPI()>(module, "DllUnregisterServer")(), S_OK);
  FreeLibrary(module);
}

}  // namespace
}  // namespace ordvane::test
