// Where two texts part.
#pragma once

#include <sstream>
#include <string>

#include "support/files.h"

namespace ordvane::test {

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
