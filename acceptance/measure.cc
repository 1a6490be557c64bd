#include "measure.h"

#include <charconv>
#include <cstdio>

#include "automation/com_values.h"

namespace ordvane::acceptance {

std::string code_text(std::int32_t code) {
  char text[16];
  std::snprintf(text, sizeof text, code < 0 ? "%08lX" : "%ld", static_cast<unsigned long>(code));
  return text;
}

std::string seconds_text(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, seconds < 1 ? "%.0f ms" : "%.2f s",
                seconds < 1 ? 1000 * seconds : seconds);
  return text;
}

std::string number_text(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 15).ptr};
}

std::string now_text() {
  SYSTEMTIME now;
  GetLocalTime(&now);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", now.wYear, now.wMonth, now.wDay,
                now.wHour, now.wMinute, now.wSecond);
  return text;
}

std::string utf8_of(const std::wstring& text) {
  return automation::utf8(text.data(), static_cast<UINT>(text.size()));
}

std::wstring wide_of(const std::string& text) {
  const automation::Bstr wide(text);
  return {wide.get(), SysStringLen(wide.get())};
}

std::string utf8_of(const std::filesystem::path& file) {
  return utf8_of(file.wstring());
}

std::filesystem::path own_folder() {
  std::wstring path(32768, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return std::filesystem::path(path).parent_path();
}

}  // namespace ordvane::acceptance
