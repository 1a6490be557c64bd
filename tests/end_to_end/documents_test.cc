// What the documentation promises: commands run, links lead somewhere, files and targets that pages name are
// there; manual pages, completions and the table of options are those of the command.
#include <gtest/gtest.h>

#include <string>

#include "support/external_checks.h"

namespace ordvane::test {
namespace {

#ifndef ORDVANE_SANITIZED  // about the pages, which are the same
CommandResult checked(const std::string& script, const std::string& folder, const std::string& more = "") {
  const std::string tests = ORDVANE_SOURCE_DIR "/tests/end_to_end/";
  return run_command("/usr/bin/python3 " + shell_quoted(tests + script) + " " + shell_quoted(folder) + " " +
                     shell_quoted(ORDVANE_COMMAND) + " " + more);
}

TEST(Documents, KeepTheirPromises) {
  const CommandResult pages = checked("documents_check.py", ORDVANE_SOURCE_DIR);
  EXPECT_EQ(pages.status, 0) << pages.output;
}

TEST(Documents, TellWhatWasMeasured) {
  const CommandResult page =
      run_command("/usr/bin/python3 " + shell_quoted(ORDVANE_SOURCE_DIR "/bench/page.py") + " --check");
  EXPECT_EQ(page.status, 0) << page.output;
}

class ManualFor : public testing::TestWithParam<const char*> {};

TEST_P(ManualFor, HasEveryOptionAndIsReadAsMeant) {
  constexpr int kNotThere = 77;
  const CommandResult manual = checked("manual_check.py", ORDVANE_BUILD_DIR "/generated", GetParam());
  if (manual.status == kNotThere) GTEST_SKIP() << manual.output;
  EXPECT_EQ(manual.status, 0) << manual.output;
}

INSTANTIATE_TEST_SUITE_P(Documents, ManualFor, testing::Values("mandoc", "bash", "zsh", "fish", "docs"),
                         [](const auto& test) { return test.param; });
#endif

}  // namespace
}  // namespace ordvane::test
