// The texts of every language as they stand in resources/strings/, compiled in by the build.
#pragma once

#include <string>
#include <vector>

namespace ordvane::environment {

struct StringResource {
  std::string language;  // "en"
  std::string text;      // the whole file
};

const std::vector<StringResource>& string_resources();

}  // namespace ordvane::environment
