#include "machine.h"

#include <windows.h>
#include <winspool.h>

#include "measure.h"

namespace ordvane::acceptance {
namespace {

std::string locale_text(LCTYPE kind) {
  wchar_t text[128] = L"";
  GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, kind, text, ARRAYSIZE(text));
  return utf8_of(std::wstring(text));
}

// What the system says of itself to programs that it does not know, too.
std::string windows_version() {
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  using Ask = LONG(WINAPI*)(OSVERSIONINFOW*);
  const HMODULE system = GetModuleHandleW(L"ntdll.dll");
  const auto ask = reinterpret_cast<Ask>(reinterpret_cast<void*>(GetProcAddress(system, "RtlGetVersion")));
  if (ask == nullptr || ask(&version) != 0) return "?";
  std::string text = std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) +
                     "." + std::to_string(version.dwBuildNumber);
  return runs_under_wine() ? text + " (Wine)" : text;
}

std::string processor_architecture() {
  SYSTEM_INFO system = {};
  GetNativeSystemInfo(&system);
  switch (system.wProcessorArchitecture) {
    case PROCESSOR_ARCHITECTURE_AMD64:
      return "x64";
    case PROCESSOR_ARCHITECTURE_INTEL:
      return "x86";
    case 12:
      return "ARM64";
    default:
      return std::to_string(system.wProcessorArchitecture);
  }
}

std::string default_printer() {
  wchar_t name[512] = L"";
  DWORD units = ARRAYSIZE(name);
  return GetDefaultPrinterW(name, &units) ? utf8_of(std::wstring(name)) : "none";
}

bool has_rights() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Classes\\CLSID", 0, KEY_WRITE, &key) != ERROR_SUCCESS)
    return false;
  RegCloseKey(key);
  return true;
}

}  // namespace

bool runs_under_wine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

void tell_machine(Results& results) {
  SYSTEM_INFO system = {};
  GetNativeSystemInfo(&system);
  MEMORYSTATUSEX memory = {};
  memory.dwLength = sizeof memory;
  GlobalMemoryStatusEx(&memory);
  const HDC screen = GetDC(nullptr);
  const int dots = GetDeviceCaps(screen, LOGPIXELSX);
  ReleaseDC(nullptr, screen);
  results.fact("Machine", "Windows", windows_version());
  results.fact("Machine", "Processor",
               processor_architecture() + ", " + std::to_string(system.dwNumberOfProcessors) + " cores");
  results.fact("Machine", "Memory", std::to_string(memory.ullTotalPhys >> 20) + " MiB");
  results.fact("Machine", "Screen",
               std::to_string(GetSystemMetrics(SM_CXSCREEN)) + " x " +
                   std::to_string(GetSystemMetrics(SM_CYSCREEN)) + ", " + std::to_string(dots) + " dpi");
  results.fact("Machine", "Default printer", default_printer());
  results.fact("Machine", "Rights",
               has_rights() ? "may register for all users" : "may register for this user");
  results.fact("Language", "Locale", locale_text(LOCALE_SNAME));
  results.fact(
      "Language", "Decimal, thousands, list",
      locale_text(LOCALE_SDECIMAL) + "  " + locale_text(LOCALE_STHOUSAND) + "  " + locale_text(LOCALE_SLIST));
  results.fact("Language", "Short date", locale_text(LOCALE_SSHORTDATE));
  results.fact("Language", "Texts of Windows", std::to_string(GetUserDefaultUILanguage()));
  results.fact("Language", "ANSI code page", std::to_string(GetACP()));
}

}  // namespace ordvane::acceptance
