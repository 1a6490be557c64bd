// The library from C and from Python, by checks that are written in these.
#include <gtest/gtest.h>

#include <string>

#include "support/external_checks.h"

extern "C" {
const char* check_sizes(void);
const char* check_null(void);
}

namespace ordvane::test {
namespace {

TEST(CInterface, HoldsItsConventions) {
  for (const auto check : {check_sizes, check_null}) EXPECT_STREQ(check(), nullptr);
}

// With the library of this build. A Python that is not built with sanitizers has to load their parts first.
std::string python() {
  std::string command = "ORDVANE_LIBRARY=" ORDVANE_LIBRARY " PYTHONPATH=" ORDVANE_SOURCE_DIR
                        "/python PYTHONDONTWRITEBYTECODE=1 ";
#ifdef ORDVANE_SANITIZED
  command +=
      "ASAN_OPTIONS=detect_leaks=0 LD_PRELOAD=\"$(g++ -print-file-name=libasan.so) "
      "$(g++ -print-file-name=libubsan.so)\" ";
#endif
  return command + "/usr/bin/python3 ";
}

void run_tests(const std::string& pattern) {
  const CommandResult run =
      run_command(python() + ORDVANE_SOURCE_DIR "/tests/library/python_checks.py -k " + pattern);
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("OK"), std::string::npos) << run.output;
  EXPECT_EQ(run.output.find("Ran 0 tests"), std::string::npos) << run.output;
}

TEST(PythonPackage, DoesWhatTheLibraryDoes) {
  if (run_command("/usr/bin/python3 --version").status != 0) GTEST_SKIP() << "python3 is not installed";
  run_tests("Plain");
}

TEST(PythonPackage, TakesNumPyAndPandas) {
  if (run_command("/usr/bin/python3 -c 'import numpy, pandas'").status != 0)
    GTEST_SKIP() << "python3-numpy and python3-pandas are not installed";
  run_tests("Frames");
}

}  // namespace
}  // namespace ordvane::test
