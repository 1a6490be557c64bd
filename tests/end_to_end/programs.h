// The command, and the scripts that judge what it makes.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/external_checks.h"

namespace ordvane::test {

inline const std::filesystem::path kSource = ORDVANE_SOURCE_DIR;
inline const std::filesystem::path kExample = kSource / "examples/solar-plant/solar-plant.run.json";

inline std::string quoted(const std::filesystem::path& file) {
  return shell_quoted(file.string());
}

inline CommandResult ordvane(const std::string& arguments) {
  return run_command(ORDVANE_COMMAND " " + arguments);
}

// `name` is that of a script below the project's folder.
inline CommandResult script(const std::string& name, const std::vector<std::filesystem::path>& arguments,
                            const std::string& more = "") {
  std::string command = "/usr/bin/python3 " + quoted(kSource / name);
  for (const std::filesystem::path& argument : arguments) command += " " + quoted(argument);
  return run_command(command + " " + more);
}

}  // namespace ordvane::test
