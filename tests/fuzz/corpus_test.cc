// Every input that the harnesses begin with, and every one that they have found something with.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/harnesses.h"
#include "support/external_checks.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> corpus(const std::string& folder) {
  std::vector<fs::path> files;
  for (const auto& file : fs::directory_iterator(fs::path(ORDVANE_SOURCE_DIR "/tests/fuzz/corpus") / folder))
    files.push_back(file.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::string bytes_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Corpus, IsTakenOrRefused) {
  for (const Harness& harness : harnesses()) {
    const std::vector<fs::path> files = corpus(harness.corpus);
    EXPECT_GE(files.size(), 3U) << harness.corpus;
    for (const fs::path& file : files) {
      SCOPED_TRACE(std::string(harness.name) + ": " + file.filename().string());
      const auto begin = std::chrono::steady_clock::now();
      EXPECT_NO_THROW(harness.tries(bytes_of(file)));
      EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
    }
  }
}

// What check takes, every report takes; what it refuses, report refuses in the same words.
TEST(Corpus, CheckAndReportAgree) {
  const test::TemporaryFolder folder;
  const auto command = [&](const std::string& words) {
    return test::run_command("cd " + folder.path().string() + " && " + test::shell_quoted(ORDVANE_COMMAND) +
                             " " + words);
  };
  std::size_t accepted = 0, refused = 0;
  for (const fs::path& file : corpus("runs")) {
    SCOPED_TRACE(file.filename().string());
    const std::string bytes = bytes_of(file);
    const std::size_t table = std::min(bytes.find("\n=====\n"), bytes.size());
    std::ofstream(folder / "a.run.json", std::ios::binary) << bytes.substr(0, table);
    for (const char* name : {"a.run.csv", "a.run.bin"})
      std::ofstream(folder / name, std::ios::binary) << bytes.substr(std::min(table + 7, bytes.size()));
    const test::CommandResult check = command("check a.run.json");
    const test::CommandResult report = command("report a.run.json --all --overwrite --quiet -o a.xlsx");
    EXPECT_EQ(report.status, check.status) << check.output << report.output;
    if (check.status == 0) {
      ++accepted;
      EXPECT_EQ(report.output, "");
    } else {
      ++refused;
      EXPECT_EQ(check.status, 2) << check.output;
      // The two commands' hints apart.
      const auto first_line = [](const std::string& text) { return text.substr(0, text.find('\n')); };
      EXPECT_EQ(first_line(report.output), first_line(check.output));
    }
  }
  EXPECT_GE(accepted, 5U);
  EXPECT_GE(refused, 5U);
}

}  // namespace
}  // namespace ordvane::fuzz
