// Small things that every check uses: time, numbers and names as texts, this program's own place.
#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace ordvane::acceptance {

#ifdef _WIN64
inline constexpr const char* kWidth = "x64";
inline constexpr const char* kOtherWidth = "x86";
#else
inline constexpr const char* kWidth = "x86";
inline constexpr const char* kOtherWidth = "x64";
#endif

class Stopwatch {
 public:
  Stopwatch() { QueryPerformanceCounter(&start_); }
  double seconds() const {
    LARGE_INTEGER now, frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart - start_.QuadPart) / static_cast<double>(frequency.QuadPart);
  }

 private:
  LARGE_INTEGER start_;
};

// A runtime error number as such, an HRESULT in hexadecimal.
std::string code_text(std::int32_t code);
// "1.25 s", "310 ms"
std::string seconds_text(double seconds);
std::string number_text(double value);
// "2026-11-22 12:30:05", the machine's time.
std::string now_text();
std::string utf8_of(const std::wstring& text);
std::wstring wide_of(const std::string& text);
std::string utf8_of(const std::filesystem::path& file);
// The folder that this program lies in.
std::filesystem::path own_folder();

}  // namespace ordvane::acceptance
