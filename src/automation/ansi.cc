#include "automation/ansi.h"

#include <windows.h>

namespace ordvane::automation {
namespace {

std::string converted(std::string_view text, UINT from, UINT to) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never more units than bytes
  const int units = MultiByteToWideChar(from, 0, text.data(), length, wide.data(), length);
  const int bytes = WideCharToMultiByte(to, 0, wide.data(), units, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(to, 0, wide.data(), units, result.data(), bytes, nullptr, nullptr);
  return result;
}

}  // namespace

std::string to_ansi(std::string_view utf8) {
  return converted(utf8, CP_UTF8, CP_ACP);
}

std::string from_ansi(std::string_view text) {
  return converted(text, CP_ACP, CP_UTF8);
}

}  // namespace ordvane::automation
