// What the pages of the documentation promise: their commands run, their links lead somewhere, and the files
// and targets that they name are there.
#include <gtest/gtest.h>

#include <string>

#include "support/external_checks.h"

namespace ordvane::test {
namespace {

TEST(Documents, KeepTheirPromises) {
  const std::string source = ORDVANE_SOURCE_DIR;
  const CommandResult checked =
      run_command("/usr/bin/python3 " + shell_quoted(source + "/tests/end_to_end/documents_check.py") + " " +
                  shell_quoted(source) + " " + shell_quoted(ORDVANE_COMMAND));
  EXPECT_EQ(checked.status, 0) << checked.output;
}

}  // namespace
}  // namespace ordvane::test
