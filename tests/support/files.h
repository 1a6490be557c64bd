// What a file holds.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace ordvane::test {

// Nothing of one that is not there.
inline std::string file_text(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace ordvane::test
