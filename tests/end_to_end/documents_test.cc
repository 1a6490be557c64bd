// What the documentation promises: commands run, links lead somewhere, files and targets that pages name are
// there; manual pages, completions and the table of options are those of the command.
#include <gtest/gtest.h>

#include "end_to_end/programs.h"

namespace ordvane::test {
namespace {

#ifndef ORDVANE_SANITIZED  // about the pages, which are the same
TEST(Documents, KeepTheirPromises) {
  const CommandResult pages = script("tests/end_to_end/documents_check.py", {kSource, ORDVANE_COMMAND});
  EXPECT_EQ(pages.status, 0) << pages.output;
}

TEST(Documents, TellWhatWasMeasured) {
  const CommandResult page = script("bench/page.py", {"--check"});
  EXPECT_EQ(page.status, 0) << page.output;
}

class ManualFor : public testing::TestWithParam<const char*> {};

TEST_P(ManualFor, HasEveryOptionAndIsReadAsMeant) {
  constexpr int kNotThere = 77;
  const CommandResult manual = script("tests/end_to_end/manual_check.py",
                                      {ORDVANE_BUILD_DIR "/generated", ORDVANE_COMMAND, GetParam()});
  if (manual.status == kNotThere) GTEST_SKIP() << manual.output;
  EXPECT_EQ(manual.status, 0) << manual.output;
}

INSTANTIATE_TEST_SUITE_P(Documents, ManualFor, testing::Values("mandoc", "bash", "zsh", "fish", "docs"),
                         [](const auto& test) { return test.param; });
#endif

}  // namespace
}  // namespace ordvane::test
