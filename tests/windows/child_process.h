// Another program, run to its end.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace ordvane::test {

// Output of a command, errors included.
inline std::string output_of(std::wstring command, DWORD& exit_code) {
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

}  // namespace ordvane::test
