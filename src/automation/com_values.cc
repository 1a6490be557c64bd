#include "automation/com_values.h"

#include <new>

namespace ordvane::automation {

std::string utf8(const wchar_t* text, UINT units) {
  if (units == 0) return {};
  const int count = static_cast<int>(units);
  const int bytes = WideCharToMultiByte(CP_UTF8, 0, text, count, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, count, result.data(), bytes, nullptr, nullptr);
  return result;
}

BSTR make_bstr(std::string_view text) {
  const int bytes = static_cast<int>(text.size());
  const int units = bytes == 0 ? 0 : MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, nullptr, 0);
  BSTR result = SysAllocStringLen(nullptr, static_cast<UINT>(units));
  if (result == nullptr) throw std::bad_alloc();
  if (units != 0) MultiByteToWideChar(CP_UTF8, 0, text.data(), bytes, result, units);
  return result;
}

}  // namespace ordvane::automation
