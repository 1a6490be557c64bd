// Checks of written workbooks by programs that are not ours: the schemas of the format, and two other
// readers.
//
// What they say of a workbook does not depend on how the program that made it was compiled, so they are asked
// in ordinary builds. Under the sanitizers, which look at our own code, the workbook is made and not shown to
// them.
//
// Each gives a verdict: passed, failed with what the program said, or skipped with the reason (the program is
// not on this machine). EXPECT_EXTERNAL turns a verdict into the test's outcome.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "support/files.h"
#include "support/this_build.h"

namespace ordvane::test {

inline const bool kOthersAreAsked = !kSanitized;

struct Verdict {
  enum class Kind { kPassed, kFailed, kSkipped } kind = Kind::kPassed;
  std::string text;  // of a failure or a skip
};

// A folder of its own for a test, gone with everything in it at the end.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "ordvane-test-XXXXXX").string();
    path_ = ::mkdtemp(name.data());
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

struct CommandResult {
  int status = 0;
  std::string output;  // and errors
};

inline CommandResult run_command(const std::string& command) {
  CommandResult result;
  FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return {-1, "cannot start " + command};
  char part[4096];
  for (std::size_t count; (count = std::fread(part, 1, sizeof part, pipe)) > 0;)
    result.output.append(part, count);
  const int status = ::pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

inline std::string shell_quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline Verdict failed(const std::string& why) {
  return {Verdict::Kind::kFailed, why};
}
inline Verdict skipped(const std::string& why) {
  return {Verdict::Kind::kSkipped, why};
}

// Against the schemas and packaging rules of the format.
inline Verdict validate_xlsx(const std::filesystem::path& file) {
  if (!kOthersAreAsked) return {};
  const std::filesystem::path tool = ORDVANE_SOURCE_DIR "/../shared/tools/validate-xlsx";
  if (!std::filesystem::exists(tool)) return skipped("no validate-xlsx beside the source folder");
  if (run_command("command -v xmllint").status != 0) return skipped("xmllint is not installed");
  const CommandResult run = run_command(shell_quoted(tool.string()) + " " + shell_quoted(file.string()));
  return run.status == 0 ? Verdict{} : failed(run.output);
}

// Opens them in LibreOffice, started once, which must be able to print each, or to read each and write its
// first sheet as csv.
inline Verdict libreoffice_opens(const std::vector<std::filesystem::path>& files,
                                 const std::string& format = "pdf") {
  if (!kOthersAreAsked) return {};
  if (run_command("command -v soffice").status != 0) return skipped("LibreOffice is not installed");
  const TemporaryFolder folder;
  std::string command = "soffice --headless --norestore -env:UserInstallation=file://" +
                        (folder / "profile").string() + " --convert-to " + format + " --outdir " +
                        folder.path().string();
  for (const std::filesystem::path& file : files) command += " " + shell_quoted(file.string());
  const CommandResult run = run_command(command);
  for (const std::filesystem::path& file : files) {
    const std::filesystem::path made = folder / (file.stem().string() + "." + format);
    if (run.status != 0 || !std::filesystem::exists(made) || std::filesystem::file_size(made) == 0)
      return failed("LibreOffice: " + file.string() + ": " + run.output);
  }
  return {};
}

// Reads it with openpyxl and runs `checks` on it: Python lines in which `book` is the workbook.
inline Verdict openpyxl_reads(const std::filesystem::path& file, const std::string& checks = "") {
  if (!kOthersAreAsked) return {};
  const std::string python = "/usr/bin/python3";
  if (run_command(python + " -c 'import openpyxl'").status != 0) return skipped("openpyxl is not installed");
  const TemporaryFolder folder;
  const std::filesystem::path script = folder / "check.py";
  std::ofstream(script) << "import sys, warnings, openpyxl\n"
                        << "warnings.simplefilter('error')\n"
                        << "book = openpyxl.load_workbook(sys.argv[1])\n"
                        << "for sheet in book:\n  list(sheet.iter_rows())\n"
                        << checks << "\n";
  const CommandResult run = run_command(python + " " + script.string() + " " + shell_quoted(file.string()));
  return run.status == 0 ? Verdict{} : failed("openpyxl: " + run.output);
}

}  // namespace ordvane::test

#define EXPECT_EXTERNAL(check)                                                                  \
  do {                                                                                          \
    const ::ordvane::test::Verdict verdict = (check);                                           \
    if (verdict.kind == ::ordvane::test::Verdict::Kind::kSkipped) GTEST_SKIP() << verdict.text; \
    EXPECT_EQ(verdict.text, "") << #check;                                                      \
    EXPECT_EQ(verdict.kind, ::ordvane::test::Verdict::Kind::kPassed) << #check;                 \
  } while (false)
