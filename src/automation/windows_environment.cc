#include "automation/windows_environment.h"

#include <windows.h>

#include <utility>

#include "automation/ansi.h"
#include "automation/com_values.h"
#include "automation/escape_key.h"
#include "automation/message_pump.h"
#include "environment/standard_environment.h"

namespace ordvane::automation {
namespace {

constexpr int kEscape = 27;

std::string without_last_separator(std::string path) {
  // The root of a drive keeps the separator that makes it one.
  if (path.size() > 3 && path.back() == '\\') path.pop_back();
  return path;
}

std::string module_folder() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const wchar_t*>(&module_folder), &module);
  std::wstring path(MAX_PATH, L'\0');
  DWORD units = 0;
  while ((units = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()))) == path.size())
    path.resize(2 * path.size());
  const std::string file = utf8(path.data(), units);
  return without_last_separator(file.substr(0, file.find_last_of('\\') + 1));
}

std::string temporary_folder() {
  wchar_t path[MAX_PATH + 1] = L"";
  return without_last_separator(utf8(path, GetTempPathW(MAX_PATH + 1, path)));
}

std::string user_language() {
  wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
  LCIDToLocaleName(MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT), name, LOCALE_NAME_MAX_LENGTH, 0);
  return environment::language_of_locale(utf8(name, static_cast<UINT>(wcslen(name))));
}

std::string date_and_time() {
  wchar_t date[128] = L"";
  wchar_t time[128] = L"";
  GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, nullptr, nullptr, date, 128);
  GetTimeFormatW(LOCALE_USER_DEFAULT, 0, nullptr, nullptr, time, 128);
  return utf8((std::wstring(date) + L" " + time).c_str(), static_cast<UINT>(wcslen(date) + 1 + wcslen(time)));
}

// A message box in a service, or in a script that runs unattended, would wait for ever.
bool somebody_is_there() {
  if (GetEnvironmentVariableW(L"ORDVANE_QUIET", nullptr, 0) > 1) return false;  // counts the NUL
  USEROBJECTFLAGS flags = {};
  return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof flags, nullptr) &&
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

// A window of this process, of its console, or of the spreadsheet's process is the one in front.
bool has_keyboard(DWORD spreadsheet) {
  const HWND front = GetForegroundWindow();
  DWORD process = 0;
  if (front == nullptr || GetWindowThreadProcessId(front, &process) == 0) return false;
  return process == GetCurrentProcessId() || process == spreadsheet || front == GetConsoleWindow();
}

environment::Settings settings_of(const WindowsFolders& folders) {
  environment::Settings settings;
  settings.language = user_language();
  settings.engine_folder = folders.engine.empty() ? module_folder() : folders.engine;
  settings.log_folder = folders.log.empty() ? temporary_folder() : folders.log;
  settings.path_separator = '\\';
  settings.add_in_present = true;  // it is the caller
  settings.clock = date_and_time;
  return settings;
}

// Progress needs nothing here: the reports put it into Excel's status bar themselves.
class WindowsEnvironment final : public environment::StandardEnvironment {
 public:
  explicit WindowsEnvironment(const WindowsFolders& folders) : StandardEnvironment(settings_of(folders)) {}

  void show_message(const std::string& text, const std::string& title) override {
    if (!somebody_is_there()) return;
    const Bstr wide_text(text);
    const Bstr wide_title(title);
    MessageBoxW(GetActiveWindow(), wide_text.get(), wide_title.get(), MB_OK | MB_ICONINFORMATION);
  }

  void pump_messages() override { handle_messages(); }

  bool escape_pressed() override {
    return escape_.is_pressed(GetAsyncKeyState(kEscape), has_keyboard(spreadsheet_));
  }

  void set_spreadsheet_process(DWORD process) { spreadsheet_ = process; }

  void append_line(const std::string& path, const std::string& line) override {
    StandardEnvironment::append_line(path, to_ansi(line));
  }

 private:
  EscapeKey escape_;
  DWORD spreadsheet_ = 0;
};

}  // namespace

void set_spreadsheet_process(host::Environment& environment, std::uint32_t process) {
  if (auto* windows = dynamic_cast<WindowsEnvironment*>(&environment))
    windows->set_spreadsheet_process(process);
}

std::shared_ptr<host::Environment> make_windows_environment(const WindowsFolders& folders) {
  return std::make_shared<WindowsEnvironment>(folders);
}

}  // namespace ordvane::automation
