// Pages in headless Chromium, and graphs as files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "end_to_end/programs.h"

namespace ordvane::test {
namespace {

CommandResult report(const std::string& options) {
  return ordvane("report " + quoted(kExample) + " " + options);
}

class PageFor : public testing::TestWithParam<const char*> {};

TEST_P(PageFor, IsWhatItsReadersNeed) {
  if (!kOthersAreAsked) return;
  constexpr int kNotThere = 77;
  const CommandResult page =
      script("tests/end_to_end/page_check.py", {ORDVANE_COMMAND, kExample, GetParam()});
  if (page.status == kNotThere) GTEST_SKIP() << page.output;
  EXPECT_EQ(page.status, 0) << page.output;
}

INSTANTIATE_TEST_SUITE_P(Pages, PageFor, testing::Values("behaviour", "accessibility"),
                         [](const auto& test) { return test.param; });

TEST(GraphFiles, AreOneAGraph) {
  const TemporaryFolder folder;
  const std::string into = shell_quoted((folder / "graphs").string());
  const CommandResult first = report("--output B5 --output B8 --svg " + into);
  EXPECT_EQ(first.status, 0) << first.output;
  std::size_t files = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder / "graphs")) {
    ++files;
    EXPECT_EQ(run_command("xmllint --noout " + shell_quoted(file.path().string())).output, "");
  }
  EXPECT_EQ(files, 5U) << "a date has no spider";
  const CommandResult again = report("--output B5 --svg " + into);
  EXPECT_EQ(again.status, 1) << again.output;
  for (const auto& [labels, end] :
       {std::pair("inputs", ">44.00<"), {"outputs", ">−633,073<"}, {"both", ">44.00 → −633,073<"}}) {
    EXPECT_EQ(
        report("--output B5 --tornado --overwrite --labels " + std::string(labels) + " --svg " + into).status,
        0);
    const std::string tornado = shell_quoted((folder / "graphs/Net-present-value-tornado.svg").string());
    EXPECT_EQ(run_command("grep -qF " + shell_quoted(end) + " " + tornado).status, 0) << labels;
  }
  EXPECT_FALSE(std::filesystem::exists("solar-plant-reports.xlsx")) << "no workbook was asked for";
  if (run_command("command -v rsvg-convert").status != 0) GTEST_SKIP() << "rsvg-convert is not installed";
  EXPECT_EQ(report("--output B5 --tornado --png " + into + " --pdf " + into).status, 0);
  std::string beginning(4, ' ');
  std::ifstream(folder / "graphs/Net-present-value-tornado.pdf").read(beginning.data(), 4);
  EXPECT_EQ(beginning, "%PDF");
}

}  // namespace
}  // namespace ordvane::test
