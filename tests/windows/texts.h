// Files of the tests, and where two texts part.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace ordvane::test {

inline std::string text_in(const std::filesystem::path& file) {
  std::ifstream input(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(input), {}};
}

// The first line that is not as expected, with what was expected; empty for equal texts.
inline std::string first_difference(const std::string& text, const std::string& expected) {
  std::istringstream lines(text), expected_lines(expected);
  std::string line, wanted;
  for (int number = 1; text != expected && (lines || expected_lines); ++number) {
    line.clear(), wanted.clear();
    std::getline(lines, line);
    std::getline(expected_lines, wanted);
    if (line != wanted) return "line " + std::to_string(number) + ": " + line + "\ninstead of: " + wanted;
  }
  return text == expected ? "" : "the texts differ in their ends";
}

}  // namespace ordvane::test
