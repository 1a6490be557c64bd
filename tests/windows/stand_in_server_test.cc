// Script clients of the stand-in for Excel: registered, driven by a script, and taken out again.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

// Output of a command, errors included.
std::string output_of(std::wstring command, DWORD& exit_code) {
  const auto file = std::filesystem::temp_directory_path() / "ordvane-script-output.txt";
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  HANDLE output =
      CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdOutput = start.hStdError = output;
  PROCESS_INFORMATION process = {};
  exit_code = 0xFFFFFFFF;
  if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                     &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &exit_code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
  }
  CloseHandle(output);
  std::ifstream written(file, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(written), {}};
  written.close();
  std::error_code ignored;  // a console that the command has started may hold it a little longer
  std::filesystem::remove(file, ignored);
  std::erase(text, '\r');
  return text;
}

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
