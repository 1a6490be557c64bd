// The texts of every language as they stand in resources/strings/, compiled in by the build.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace ordvane::environment {

struct StringResource {
  std::string_view language;  // "en"
  std::int32_t id = 0;        // the system's language id
  std::string_view text;      // the whole file
};

// By code.
std::span<const StringResource> string_resources();

}  // namespace ordvane::environment
