// The ordvane command from outside: arguments in, exit code, messages and files out.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

namespace ordvane {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

// Price moves profit and margin, volume profit only; one margin is no number. "Profit" is there twice.
constexpr const char* kRun = R"({
 "format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [
  { "name": "Price", "book": "m.xlsx", "sheet": "Plan", "cell": "B1", "formula": "10", "base": 10, "steps": 3 },
  { "name": "Volume, monthly", "book": "m.xlsx", "sheet": "Plan", "cell": "B2", "formula": "4", "base": 4, "steps": 2 }],
 "outputs": [
  { "name": "Profit", "book": "m.xlsx", "sheet": "Plan", "cell": "C14", "formula": "=B1*B2", "base": 40 },
  { "name": "Margin \u00e4", "book": "m.xlsx", "sheet": "My plan", "cell": "C14", "formula": "=B1/40", "base": 0.25 },
  { "name": "Profit", "book": "m.xlsx", "sheet": "Total", "cell": "D2", "formula": "=B1*B2", "base": 40 }],
 "recalculations": [
  [1, 1, 1, 8, 32, 0.2, 32], [1, 1, 2, 10, 40, 0.25, 40], [1, 1, 3, 12, 48, "#NUM!", 48],
  [1, 2, 1, 2, 20, 0.25, 20], [1, 2, 2, 8, 80, 0.25, 80]]
})";

// The same, then price and volume together: four combinations.
std::string grouped_run() {
  std::string run = kRun;
  run.insert(run.rfind('}'), R"(,
 "groups": { "size": 2, "steps": 2 },
 "groupRecalculations": [
  [1, 1, 1, 8, 2, 16, 0.2, 16], [1, 1, 2, 8, 8, 64, 0.2, 64],
  [1, 1, 3, 12, 2, 24, "#NUM!", 24], [1, 1, 4, 12, 8, 96, "#NUM!", 96]])");
  return run;
}

std::string file_text(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Result {
  int code = -1;
  std::string out, err;
};

class Command : public testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::path(testing::TempDir()) / (std::string("ordvane-command-") +
                                              testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    std::ofstream(folder_ / "m.run.json") << kRun;
    std::ofstream(folder_ / "grouped.run.json") << grouped_run();
  }
  void TearDown() override { fs::remove_all(folder_); }

  pid_t start(std::vector<std::string> arguments, const char* locale = "C.UTF-8",
              const fs::path& out = "stdout.txt") {
    arguments.insert(arguments.begin(), "ordvane");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::string variables[] = {std::string("LC_ALL=") + locale, "COLUMNS=70", "TERM=xterm"};
    char* environment[] = {variables[0].data(), variables[1].data(), variables[2].data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder_.c_str());
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, "stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t process = 0;
    EXPECT_EQ(posix_spawn(&process, ORDVANE_COMMAND, &actions, nullptr, argv.data(), environment), 0);
    posix_spawn_file_actions_destroy(&actions);
    return process;
  }

  Result finish(pid_t process) {
    Result result;
    int status = 0;
    waitpid(process, &status, 0);
    if (WIFEXITED(status)) result.code = WEXITSTATUS(status);
    result.out = file_text(folder_ / "stdout.txt");
    result.err = file_text(folder_ / "stderr.txt");
    return result;
  }

  Result run(const std::vector<std::string>& arguments, const char* locale = "C.UTF-8") {
    return finish(start(arguments, locale));
  }

  bool there(const char* name) const { return fs::exists(folder_ / name); }

  fs::path folder_;
};

TEST_F(Command, RefusesWrongArgumentsWithAHint) {
  std::ofstream(folder_ / "bad.run.json") << "{ \"format\": \"ordvane-run\",\n  oops }";
  fs::create_directory(folder_ / "folder.xlsx");
  std::ofstream(folder_ / "there.xlsx") << "before";
  struct Case {
    std::vector<std::string> arguments;
    const char* message;
  };
  const Case kCases[] = {
      {{}, "name a command: report, show, check"},
      {{"repot"}, "\"repot\" is no command; there are report, show, check"},
      {{"--frob"}, "--frob"},
      {{"report"}, "RUN is required"},
      {{"report", "m.run.json", "--frob"}, "--frob"},
      {{"report", "m.run.json", "second.json"}, "second.json"},
      {{"report", "m.run.json", "-o"}, "-o"},
      {{"report", "none.run.json"}, "none.run.json"},
      {{"report", "bad.run.json"}, "bad.run.json:2"},
      {{"check", "bad.run.json"}, "bad.run.json:2"},
      {{"report", "m.run.json", "-o", "a.xls"}, "\"a.xls\" does not end in .xlsx"},
      {{"report", "m.run.json", "-o", "folder.xlsx"}, "is a folder"},
      {{"report", "m.run.json", "-o", "none/a.xlsx"}, "there is no folder \"none\""},
      {{"report", "m.run.json", "-o", "there.xlsx"},
       "is there already; --overwrite replaces it, --into adds to it"},
      {{"report", "m.run.json", "-o", "a.xlsx", "--into", "there.xlsx"}, "--into: goes without -o"},
      {{"report", "m.run.json", "--into", "none.xlsx"}, "none.xlsx: there is no such file"},
      {{"report", "m.run.json", "--into", "folder.xlsx"}, "folder.xlsx: it is a folder"},
      {{"report", "m.run.json", "--into", "there.xlsx"},
       "there.xlsx: it is no workbook; expected an Excel workbook"},
      {{"report", "m.run.json", "--multi-way"}, "--multi-way: m.run.json varied no inputs together"},
      {{"report", "m.run.json", "--log", "none"}, "there is no folder \"none\""},
      {{"report", "m.run.json", "--max-inputs", "0"}, "--max-inputs: Value 0 not in range 1 to 32"},
      {{"report", "m.run.json", "--max-inputs", "33"}, "--max-inputs"},
      {{"report", "m.run.json", "--threshold", "5 %"}, "--threshold: \"5 %\" is no share"},
      {{"report", "m.run.json", "--threshold", "-1"}, "is no share"},
      {{"report", "m.run.json", "--threshold", "nan"}, "is no share"},
      {{"report", "m.run.json", "--bar-color", "12345"}, "--bar-color: \"12345\" is no colour"},
      {{"report", "m.run.json", "--base-color", "12345G"}, "--base-color: \"12345G\" is no colour"},
      {{"report", "m.run.json", "--low-color", "amber"}, "--low-color: \"amber\" is no colour"},
      {{"report", "m.run.json", "--language", "xx"},
       "\"xx\" is no language of the reports; there are de, en, es, fr, it, ja, pt, zh"},
      {{"report", "m.run.json", "--output", "Loss"},
       "\"Loss\" is no output of the run. Its outputs are:\n  Profit (Plan!C14)\n"},
      {{"show", "m.run.json", "--output", "profit"},
       "names more than one output:\n  Profit (Plan!C14)\n  Profit (Total!D2)\n"},
      {{"show", "m.run.json", "--output", "C14"}, "names more than one output"},
      {{"show", "m.run.json", "--output", ""}, "is no output"},
      {{"show", "m.run.json", "--output", "[other.xlsx]Plan!C14"}, "is no output"},
      {{"show", "m.run.json", "--simulation", "0"}, "--simulation"},
      {{"show", "m.run.json", "--simulation", "2"}, "the run has simulations 1 to 1"},
      {{"show", "m.run.json", "--json", "--csv"}, "goes without"},
  };
  for (const Case& each : kCases) {
    const Result result = run(each.arguments);
    SCOPED_TRACE(testing::PrintToString(each.arguments));
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, AllOf(StartsWith("ordvane: "), HasSubstr(each.message)));
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(there("m-reports.xlsx"));
    EXPECT_EQ(file_text(folder_ / "there.xlsx"), "before");
  }
}

TEST_F(Command, FindsOutputsByNameAndCell) {
  struct Case {
    const char* wanted;
    const char* title;
  };
  constexpr Case kCases[] = {
      {"Margin \u00e4", "Margin \u00e4 (My plan!C14)"},
      {"margin \u00e4", "Margin \u00e4 (My plan!C14)"},
      {"d2", "Profit (Total!D2)"},
      {"$D$2", "Profit (Total!D2)"},
      {"plan!c14", "Profit (Plan!C14)"},
      {"My plan!C14", "Margin \u00e4 (My plan!C14)"},
      {"'My plan'!$C$14", "Margin \u00e4 (My plan!C14)"},
      {"[m.xlsx]Total!D2", "Profit (Total!D2)"},
      {"'[M.xlsx]My plan'!C14", "Margin \u00e4 (My plan!C14)"},
  };
  for (const Case& each : kCases) {
    const Result result = run({"show", "m.run.json", "--output", each.wanted});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_THAT(result.out, StartsWith(std::string(each.title) + "\n")) << each.wanted;
  }
}

TEST_F(Command, ReportWritesTheWorkbookAndSaysWhere) {
  const Result result = run({"report", "m.run.json"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "m-reports.xlsx: 11 sheets, 11 charts\n");
  EXPECT_EQ(result.err, "") << "progress is for terminals";
  EXPECT_THAT(file_text(folder_ / "m-reports.xlsx"), StartsWith("PK"));
}

TEST_F(Command, ReportTakesItsSwitches) {
  std::ofstream(folder_ / "a.xlsx") << "before";
  struct Case {
    std::vector<std::string> switches;
    const char* summary;
  };
  const Case kCases[] = {
      {{"--tornado"}, "a.xlsx: 4 sheets, 3 charts\n"},
      {{"--spider", "--output", "Plan!C14"}, "a.xlsx: 2 sheets, 1 chart\n"},
      {{"--output-detail", "--detail-by-input"}, "a.xlsx: 5 sheets, 0 charts\n"},
      {{"--all", "--percent", "--max-inputs", "1", "--bar-color", "#1F4E79", "--base-color", "ff0000"},
       "a.xlsx: 15 sheets, 9 charts\n"},
      {{"--tornado", "--threshold", "150.1%", "--output", "d2"}, "a.xlsx: 2 sheets, 0 charts\n"},
      {{"--tornado", "--threshold", "1.5", "--output", "d2"}, "a.xlsx: 2 sheets, 1 chart\n"},
      {{"--watermark", "Draft\\nof today", "--language", "en", "--log", "."},
       "a.xlsx: 11 sheets, 11 charts\n"},
      {{"--quiet"}, ""},
  };
  for (const Case& each : kCases) {
    std::vector<std::string> arguments{"report", "m.run.json", "-o", "a.xlsx", "--overwrite"};
    arguments.insert(arguments.end(), each.switches.begin(), each.switches.end());
    const Result result = run(arguments);
    SCOPED_TRACE(testing::PrintToString(each.switches));
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, each.summary);
    EXPECT_THAT(file_text(folder_ / "a.xlsx"), StartsWith("PK"));
  }
  EXPECT_TRUE(there("OrdvaneReports8.Log"));
}

TEST_F(Command, ReportSpeaksTheUsersLanguage) {
  const auto workbook = [&](const char* locale, const std::vector<std::string>& switches) {
    std::vector<std::string> arguments{"report", "m.run.json", "-o", "a.xlsx", "--overwrite"};
    arguments.insert(arguments.end(), switches.begin(), switches.end());
    EXPECT_EQ(run(arguments, locale).code, 0) << locale;
    return file_text(folder_ / "a.xlsx");
  };
  const std::string german = workbook("C.UTF-8", {"--language", "de"});
  const std::string english = workbook("C.UTF-8", {});
  EXPECT_NE(german, english);
  EXPECT_EQ(workbook("de_CH.UTF-8", {}), german);
  EXPECT_EQ(workbook("de_CH.UTF-8", {"--language", "en"}), english);
  EXPECT_EQ(workbook("nl_NL.UTF-8", {}), english);
}

TEST_F(Command, FailuresExitWithOne) {
  const Result unwritable = run({"report", "m.run.json", "-o", "/proc/a.xlsx"});
  EXPECT_EQ(unwritable.code, 1);
  EXPECT_THAT(unwritable.err, HasSubstr("/proc/a.xlsx"));
  EXPECT_EQ(unwritable.out, "");
  const Result full = finish(start({"show", "m.run.json"}, "C", "/dev/full"));
  EXPECT_EQ(full.code, 1);
  EXPECT_THAT(full.err, HasSubstr("cannot write to standard output"));
}

TEST_F(Command, ShowDrawsBarsAroundTheBase) {
  EXPECT_EQ(run({"show", "m.run.json", "--output", "D2"}, "C").out,
            "Profit (Total!D2)\n"
            "  base value 40\n"
            "\n"
            "    Input            Low                          High   Low %  High %\n"
            "  1 Volume, monthly   20 ########|############### 80    -50.0% +100.0%\n"
            "  2 Price             32      ###|###             48    -20.0%  +20.0%\n");
  const Result utf8 = run({"show", "m.run.json", "--output", "My plan!C14"});
  EXPECT_THAT(utf8.out, AllOf(HasSubstr("\u2588\u2502"), HasSubstr("0.2000"), HasSubstr("-20.0%")));
  EXPECT_THAT(run({"show", "m.run.json", "--output", "My plan!C14"}, "C").out,
              StartsWith("Margin ? (My plan!C14)\n"));
}

TEST_F(Command, ShowAnswersProgramsInFull) {
  EXPECT_EQ(run({"show", "m.run.json", "--csv", "--output", "My plan!C14"}).out,
            "output,outputSheet,outputCell,base,rank,input,inputSheet,inputCell,low,high,swing,lowChange,"
            "highChange,"
            "inputAtLow,inputAtHigh\n"
            "Margin \u00e4,My "
            "plan,C14,0.25,1,Price,Plan,B1,0.2,0.25,0.04999999999999999,-0.19999999999999996,0,8,10\n"
            "Margin \u00e4,My plan,C14,0.25,2,\"Volume, monthly\",Plan,B2,0.25,0.25,0,0,0,2,2\n");
  const auto json = nlohmann::json::parse(run({"show", "m.run.json", "--json"}).out);
  EXPECT_EQ(json["outputs"].size(), 3U);
  const auto& first = json["outputs"][0]["inputs"][0];
  EXPECT_EQ(first["name"], "Volume, monthly");
  EXPECT_EQ(first["rank"], 1);
  EXPECT_EQ(first["swing"], 60.0);
  EXPECT_EQ(first["inputAtHigh"], 8.0);
}

TEST_F(Command, ShowTellsWhatGroupsDo) {
  EXPECT_EQ(run({"show", "grouped.run.json", "--output", "D2"}, "C").out,
            "Profit (Total!D2)\n"
            "  base value 40\n"
            "\n"
            "    Input            Low                          High   Low %  High %\n"
            "  1 Volume, monthly   20 ########|############### 80    -50.0% +100.0%\n"
            "  2 Price             32      ###|###             48    -20.0%  +20.0%\n"
            "\n"
            "    Varied together                       Swing  Own swings  Interaction\n"
            "  1 Price x Volume, monthly ###|########     80          76            4\n");
  EXPECT_THAT(run({"show", "grouped.run.json", "--csv", "--output", "My plan!C14"}).out,
              AllOf(HasSubstr("inputAtHigh,inputs,ownSwings,interaction\n"),
                    HasSubstr(",2,\"Volume, monthly\",Plan,B2,0.25,0.25,0,0,0,2,2,1,0,\n"),
                    HasSubstr(",1,\"Price;Volume, monthly\",Plan;Plan,B1;B2,0.2,0.2,0,"
                              "-0.19999999999999996,-0.19999999999999996,8;2,8;2,2,0.04999999999999999,"
                              "-0.04999999999999999\n")));
  const auto json = nlohmann::json::parse(run({"show", "grouped.run.json", "--json"}).out);
  const auto& group = json["outputs"][0]["groups"][0];
  EXPECT_EQ(group["interaction"], 4.0);
  EXPECT_EQ(group["inputs"][1]["cell"], "B2");
  EXPECT_EQ(group["inputs"][1]["atHigh"], 8.0);
  EXPECT_EQ(group["inputs"][1]["ownSwing"], 60.0);
  EXPECT_FALSE(
      nlohmann::json::parse(run({"show", "m.run.json", "--json"}).out)["outputs"][0].contains("groups"));
}

TEST_F(Command, MultiWayReportsAreMadeForRunsWithGroups) {
  EXPECT_EQ(run({"report", "grouped.run.json", "--multi-way", "-o", "a.xlsx"}).out,
            "a.xlsx: 5 sheets, 3 charts\n");
  EXPECT_EQ(run({"report", "grouped.run.json", "--all", "-o", "a.xlsx", "--overwrite"}).out,
            "a.xlsx: 19 sheets, 14 charts\n");
}

TEST_F(Command, CheckDescribesARun) {
  const Result result = run({"check", "m.run.json"});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.out, AllOf(HasSubstr("Volume, monthly"), HasSubstr("My plan!C14")));
}

TEST_F(Command, HelpShowsExamplesAndTheVersionIsTheProjects) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"report", "--help"}, {"show", "--help"}}) {
    const Result result = run(arguments);
    EXPECT_EQ(result.code, 0);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Examples:\n  ordvane "), Not(HasSubstr("SUBCOMMAND"))));
    for (std::size_t at = 0; at < result.out.size(); at = result.out.find('\n', at) + 1)
      EXPECT_LE(result.out.find('\n', at) - at, 105U) << result.out.substr(at, 120);
  }
  const std::string version = run({"--version"}).out;
  ASSERT_THAT(version, StartsWith("ordvane "));
  EXPECT_THAT(file_text(ORDVANE_SOURCE_DIR "/CMakeLists.txt"),
              HasSubstr("project(ordvane VERSION " + version.substr(8, version.size() - 9) + " "));
}

// Ctrl-C while the log says that the reports are being made.
TEST_F(Command, InterruptedItExitsWith130AndWritesNothing) {
  constexpr int kInputs = 60, kSteps = 50, kOutputs = 10;
  nlohmann::json items{{"format", "ordvane-run"}, {"version", 1}, {"simulations", 1}};
  const auto item = [](const char* column, int row) {
    return nlohmann::json{{"name", column + std::to_string(row)}, {"book", "m.xlsx"}, {"sheet", "Plan"},
                          {"cell", column + std::to_string(row)}, {"formula", "1"},   {"base", 1}};
  };
  for (int i = 1; i <= kInputs; ++i) {
    items["inputs"].push_back(item("A", i));
    items["inputs"].back()["steps"] = kSteps;
    for (int s = 1; s <= kSteps; ++s) {
      nlohmann::json row{1, i, s, s};
      for (int o = 0; o < kOutputs; ++o) row.push_back(i * s % 17 + o);
      items["recalculations"].push_back(row);
    }
  }
  for (int o = 1; o <= kOutputs; ++o) items["outputs"].push_back(item("B", o));
  std::ofstream(folder_ / "large.run.json") << items;
  std::ofstream(folder_ / "large-reports.xlsx") << "before";

  const pid_t process = start({"report", "large.run.json", "--all", "--log", ".", "--overwrite"});
  const fs::path log = folder_ / "OrdvaneReports8.Log";
  for (int wait = 0; wait < 3000 && file_text(log).find("NumOrdvaneOutputs") == std::string::npos; ++wait)
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  kill(process, SIGINT);
  const Result result = finish(process);
  EXPECT_EQ(result.code, 130);
  EXPECT_EQ(result.err, "ordvane: cancelled, large-reports.xlsx was not written\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(file_text(folder_ / "large-reports.xlsx"), "before");
  // Three runs, the log, the workbook of before, two outputs of the command.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 7);
}

}  // namespace
}  // namespace ordvane
