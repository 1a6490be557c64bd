// Commands that run out of memory or threads: they say so and leave nothing, or do their work all the same.
#include <execinfo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <streambuf>
#include <string>
#include <thread>
#include <vector>

#include "calc/tiny_workbook.h"
#include "cli/whole_command.h"
#include "faults/scarcity.h"
#include "support/external_checks.h"

namespace ordvane::test {
namespace {

namespace fs = std::filesystem;

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kBadInput = 2;

// What a stream is told, without taking memory for it.
class Kept : public std::streambuf {
 public:
  explicit Kept(std::ostream& stream) : stream_(stream), before_(stream.rdbuf(this)) { forget(); }
  ~Kept() override { stream_.rdbuf(before_); }
  void forget() {
    setp(text_, text_ + sizeof text_);
    stream_.clear();
  }
  std::string_view text() const { return {pbase(), static_cast<std::size_t>(pptr() - pbase())}; }

 private:
  int overflow(int letter) override { return letter; }  // what is over is dropped

  std::ostream& stream_;
  std::streambuf* before_;
  char text_[1 << 14];
};

std::string content_of(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Files of a folder with what is in them, without those that an interrupted sweep goes on from.
std::map<std::string, std::string> files_in(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& file : fs::directory_iterator(folder))
    if (file.path().string().find(".part") == std::string::npos)
      files[file.path().filename().string()] = content_of(file.path());
  return files;
}

// In place of the terminate that no message would come out of.
std::string g_at;
[[noreturn]] void tell_and_die() {
  std::fprintf(stderr, "terminated at %s\n", g_at.c_str());
  void* frames[64];
  ::backtrace_symbols_fd(frames, ::backtrace(frames, 64), 2);
  std::_Exit(3);
}

class Shortages : public testing::Test {
 protected:
  Shortages() {
    ::setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
    std::set_terminate(tell_and_die);
    fs::current_path(folder_.path());
    std::ofstream("run.run.json") << kRun;
    TinyWorkbook book;
    book.set("A1", "Price").set("B1", "10").set("A2", "Volume").set("B2", "4").set("B3", "=B1*B2");
    std::ofstream("model.xlsx", std::ios::binary) << book.bytes();
    std::ofstream("w.whatif.json") << R"({"inputs": [{"cell": "Sheet1!B1", "values": [9, 11]},
      {"cell": "Sheet1!B2", "values": [3, 5]}], "outputs": [{"cell": "Sheet1!B3", "target": 38}],
      "groups": {"size": 2, "steps": 2}})";
    before_ = files_in(".");
  }
  ~Shortages() override { fs::current_path("/"); }

  // Its allocation number `fails`, and with `shortage` those behind it, are refused.
  int command(std::vector<std::string> words, std::int64_t fails = kNever,
              Shortage shortage = Shortage::kOnce) {
    words.insert(words.begin(), "ordvane");
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    out_.forget();
    err_.forget();
    begin_counting(fails, shortage);
    const int code = cli::run_whole_command(static_cast<int>(words.size()), arguments.data());
    allocations_ = end_counting();
    return code;
  }

  // Puts the folder back as it was at the beginning.
  void clean() {
    for (const auto& file : fs::directory_iterator("."))
      if (file.path().string().find(".part") != std::string::npos) fs::remove(file.path());
    for (const auto& [name, content] : files_in(".")) {
      const auto there = before_.find(name);
      if (there == before_.end())
        fs::remove(name);
      else if (there->second != content)
        std::ofstream(name, std::ios::binary) << there->second;
    }
  }

  // Fails allocations of a command one after the other, every `stride`-th from `first` on.
  void sweep(const std::vector<std::string>& words, std::int64_t first, std::int64_t stride);

  static constexpr const char* kRun = R"({"format": "ordvane-run", "version": 1, "simulations": 1,
    "inputs": [{"name": "P", "book": "m.xlsx", "sheet": "S", "cell": "B1", "formula": "1", "base": 1, "steps": 2},
               {"name": "Q", "book": "m.xlsx", "sheet": "S", "cell": "B2", "formula": "1", "base": 1, "steps": 2}],
    "outputs": [{"name": "R", "book": "m.xlsx", "sheet": "S", "cell": "C1", "formula": "=B1*B2", "base": 1}],
    "recalculations": [[1, 1, 1, 0, 0], [1, 1, 2, 2, 2], [1, 2, 1, 0, 0], [1, 2, 2, 3, 3]],
    "groups": {"size": 2, "steps": 1}, "groupRecalculations": [[1, 1, 1, 3, 3, 9]]})";

  TemporaryFolder folder_;
  std::int64_t allocations_ = 0;  // of the last command
  std::map<std::string, std::string> before_;
  Kept out_{std::cout}, err_{std::cerr};
};

void Shortages::sweep(const std::vector<std::string>& words, std::int64_t first, std::int64_t stride) {
  ASSERT_EQ(command(words), kDone) << err_.text();  // what is kept for good is there now
  const auto expected = files_in(".");
  const std::string said(out_.text());
  clean();
  command(words);
  const std::int64_t all = allocations_;
  clean();
  std::int64_t tried = 0, survived = 0;
  for (const Shortage shortage : {Shortage::kOnce, Shortage::kForGood}) {
    for (std::int64_t fails = first; fails < all; fails += stride) {
      g_at = words.front() + ", allocation " + std::to_string(fails) +
             (shortage == Shortage::kOnce ? "" : " and all behind it");
      const std::int64_t live = live_allocations();
      const int code = command(words, fails, shortage);
      if (live_allocations() != live) {  // what is kept for good once is no leak
        const std::int64_t again = live_allocations();
        clean();
        command(words, fails, shortage);
        EXPECT_EQ(live_allocations(), again) << "leaks, " << g_at;
      }
      const auto files = files_in(".");
      ++tried;
      if (code == kDone) {
        ++survived;
        EXPECT_TRUE(files == expected) << g_at;
        EXPECT_EQ(out_.text(), said) << g_at;
      } else {
        EXPECT_TRUE(files == before_ || files == expected) << g_at;  // the latter where only words failed
        const std::string why(err_.text());
        // Of a run, how much it would take is told.
        const bool is_run = why.find("too large for this machine's memory") != why.npos;
        EXPECT_EQ(code, is_run ? kBadInput : kFailed) << g_at << ": " << why;
        EXPECT_THAT(why, testing::AnyOf(testing::HasSubstr("ut of memory\n"),
                                        testing::Truly([&](const auto&) { return is_run; })))
            << g_at;
      }
      clean();
    }
  }
  std::printf("%s: %lld of %lld allocations refused, %lld of them without consequence\n",
              words.front().c_str(), static_cast<long long>(tried), static_cast<long long>(2 * all),
              static_cast<long long>(survived));
}

TEST_F(Shortages, EveryAllocationOfACommandMayFail) {
  command({"--version"});
  ASSERT_EQ(command({"--version"}), kDone);
  const std::int64_t start = allocations_;  // of what all commands begin with
  const char* const thorough = std::getenv("ORDVANE_EVERY_ALLOCATION");
  const auto stride = [&](std::int64_t usual) {
    return thorough != nullptr ? 1 : usual * (kSanitized ? 5 : 1);
  };
  sweep({"check", "run.run.json"}, 0, stride(37));
  sweep({"show", "run.run.json"}, start, stride(11));
  sweep({"diff", "run.run.json", "run.run.json", "--json"}, start, stride(17));
  sweep({"report", "run.run.json", "-o", "a.xlsx", "--all", "--quiet"}, start, stride(83));
  sweep({"report", "run.run.json", "-o", "a.html", "--quiet"}, start, stride(37));
  sweep({"report", "run.run.json", "--into", "model.xlsx", "--tornado", "--quiet"}, start, stride(37));
  sweep({"sweep", "model.xlsx", "w.whatif.json", "--verify", "none", "-o", "b.run.json", "--quiet",
         "--threads", "1"},
        start, stride(29));
}

TEST_F(Shortages, WithoutThreadsOneDoesTheWork) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"report", "run.run.json", "-o", "a.xlsx", "--all", "--quiet"},
        {"sweep", "model.xlsx", "--output", "B3", "--verify", "none", "-o", "b.run.json", "--threads",
         "4"}}) {
    SCOPED_TRACE(words.front());
    ASSERT_EQ(command(words), kDone) << err_.text();
    const auto expected = files_in(".");
    for (const std::int64_t granted : {0, 1}) {
      clean();
      grant_threads(granted);
      EXPECT_EQ(command(words), kDone) << err_.text();
      EXPECT_TRUE(files_in(".") == expected);
      if (granted == 0 && std::thread::hardware_concurrency() > 1) {
        EXPECT_GT(threads_refused(), 0);
      }
      grant_threads(kNever);
    }
    clean();
  }
}

}  // namespace
}  // namespace ordvane::test
