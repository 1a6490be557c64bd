// The ordvane command from outside: arguments in, exit code, messages and files out.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/external_checks.h"

namespace ordvane {
namespace {

using test::file_text;
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

struct Result {
  int code = -1;
  std::string out, err;
};

class Command : public testing::Test {
 protected:
  Command() {
    std::ofstream(folder_ / "m.run.json") << kRun;
    std::ofstream(folder_ / "grouped.run.json") << grouped_run();
  }

  pid_t start(std::vector<std::string> arguments, const char* locale = "C.UTF-8",
              const fs::path& out = "stdout.txt") {
    arguments.insert(arguments.begin(), "ordvane");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::string variables[] = {std::string("LC_ALL=") + locale, "COLUMNS=" + std::to_string(columns_),
                               "TERM=xterm", "SOURCE_DATE_EPOCH=" + source_date_};
    char* environment[] = {variables[0].data(), variables[1].data(), variables[2].data(), variables[3].data(),
                           nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder_.path().c_str());
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, "stderr.txt", O_WRONLY | O_CREAT | O_TRUNC, 0600);
    // Shells let what runs behind them ignore Ctrl-C.
    posix_spawnattr_t attributes;
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setsigdefault(&attributes, &interrupt);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    pid_t process = 0;
    EXPECT_EQ(posix_spawn(&process, ORDVANE_COMMAND, &actions, &attributes, argv.data(), environment), 0);
    posix_spawnattr_destroy(&attributes);
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

  const test::TemporaryFolder folder_;
  std::string source_date_ = "1767225600";  // so that workbooks can be compared
  int columns_ = 70;                        // of the terminal
};

TEST_F(Command, RefusesWrongArgumentsWithAHint) {
  std::ofstream(folder_ / "bad.run.json") << "{ \"format\": \"ordvane-run\",\n  oops }";
  fs::create_directory(folder_ / "folder.xlsx");
  std::ofstream(folder_ / "there.xlsx") << "before";
  const struct {
    std::vector<std::string> arguments;
    const char* message;
  } kCases[] = {
      {{}, "name a command: sweep, merge, import, report, show, export, diff, check"},
      {{"repot"},
       "\"repot\" is no command; there are sweep, merge, import, report, show, export, diff, check"},
      {{"report"}, "RUN is required"},
      {{"sweep", "m.run.json"}, "m.run.json: is a JSON file; the workbook with the model is expected first"},
      {{"sweep", "there.xlsx", "m.run.json"}, "m.run.json: is a recorded run, not a what-if definition"},
      {{"sweep", "there.xlsx", "--suggest", "--report"}, "--suggest: writes a definition and no run"},
      {{"sweep", "there.xlsx", "--as", "binary", "--shard", "1/2"}, "--as: goes without --shard"},
      {{"report", "bad.run.json"}, "bad.run.json:2"},
      {{"report", "m.run.json", "-o", "a.xls"}, "\"a.xls\" ends neither in .xlsx"},
      {{"report", "m.run.json", "-o", "a.html", "--watermark", "x"}, "--watermark: is for workbooks"},
      {{"report", "m.run.json", "--svg", "m.run.json"}, "--svg: \"m.run.json\" is a file"},
      {{"report", "m.run.json", "-o", "folder.xlsx"}, "is a folder"},
      {{"report", "m.run.json", "-o", "none/a.xlsx"}, "there is no folder \"none\""},
      {{"report", "m.run.json", "--into", "none.xlsx"}, "none.xlsx: there is no such file"},
      {{"report", "m.run.json", "--max-input", "5"},
       "--max-input: there is no such option; is --max-inputs meant?"},
      {{"report", "m.run.json", "--threshold", "5"},
       "--threshold: is 5% meant, or 500%? Write it with the percent sign"},
      {{"report", "m.run.json", "--threshold", "1.5"}, "is 1.5% meant, or 150%?"},
      {{"report", "m.run.json", "--threshold", "5%", "--threshold", "6%"},
       "--threshold: is given more than once"},
      {{"help", "repot"}, "\"repot\" is no command"},
      {{"help", "report", "show"}, "help: name one command"},
      {{"report", "m.run.json", "--threshold", "5 %"}, "--threshold: \"5 %\" is no share"},
      {{"report", "m.run.json", "--language", "xx"},
       "\"xx\" is no language of the reports; there are de, en, es, fr, it, ja, pt, zh\n"},
      {{"report", "m.run.json", "--language", "zh-TW"},
       "\"zh-TW\" is no language of the reports; there are de, en, es, fr, it, ja, pt, zh (zh is written in "
       "simplified characters)"},
      {{"report", "m.run.json", "--language", ""}, "--language: CODE is missing"},
      {{"show", "m.run.json", "--output", "[other.xlsx]Plan!C14"}, "is no output"},
      {{"show", "m.run.json", "--simulation", "2"}, "the run has simulations 1 to 1"},
      {{"show", "m.run.json", "--json", "--csv"}, "goes without"},
      {{"show", "m.run.json", "--target", "much"}, "is no number"},
      {{"report", "m.run.json", "--sort", "size"}, "is none of swing, downside"},
  };
  for (const auto& each : kCases) {
    const Result result = run(each.arguments);
    SCOPED_TRACE(testing::PrintToString(each.arguments));
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, AllOf(StartsWith("ordvane: "), HasSubstr(each.message)));
    EXPECT_EQ(result.out, "");
    EXPECT_FALSE(there("m-reports.xlsx"));
    EXPECT_EQ(file_text(folder_ / "there.xlsx"), "before");
  }
}

TEST_F(Command, TellsEveryProblemAtOnce) {
  std::ofstream(folder_ / "there.xlsx") << "before";
  const auto messages = [&](std::vector<std::string> arguments) {
    const Result result = run(arguments);
    EXPECT_EQ(result.code, 2);
    return result.err;
  };
  EXPECT_EQ(messages({"report",       "m.run.json", "--bar-color", "blue",     "--labels",
                      "all",          "--output",   "Loss",        "--output", "C14",
                      "--max-inputs", "0",          "--log",       "none",     "--multi-way",
                      "-o",           "there.xlsx", "--output",    "Gain",     "--tornados"}),
            "ordvane: --max-inputs: \"0\" is no whole number from 1 to 32\n"
            "ordvane: --bar-color: \"blue\" is no colour; give six hexadecimal digits, as in 1F4E79\n"
            "ordvane: --labels: \"all\"; inputs, outputs or both is expected\n"
            "ordvane: --tornados: there is no such option; is --tornado meant?\n"
            "ordvane: -o: \"there.xlsx\" is there already; --overwrite replaces it, --into adds to it\n"
            "ordvane: --log: there is no folder \"none\"\n"
            "ordvane: --output: \"C14\" names more than one output:\n"
            "  Profit (Plan!C14)\n  Margin \u00e4 (My plan!C14)\n"
            "  Name the cell with its sheet, as in \"Sheet!C14\", and its workbook if need be, as in "
            "\"[book.xlsx]Sheet!C14\".\n"
            "ordvane: --output: \"Loss\", \"Gain\" are no outputs of the run. Its outputs are:\n"
            "  Profit (Plan!C14)\n  Margin \u00e4 (My plan!C14)\n  Profit (Total!D2)\n"
            "ordvane: --multi-way: m.run.json varied no inputs together; the run needs \"groups\"\n"
            "Try `ordvane report --help`.\n");
  // Files that are wrong, each for itself; a hint at the options would not help.
  EXPECT_EQ(messages({"report", "none.run.json", "--into", "there.xlsx", "-o", "a.xlsx"}),
            "ordvane: none.run.json: cannot be read: there is no such file or folder\n"
            "ordvane: --into: goes without -o\n"
            "ordvane: there.xlsx: it is no workbook; expected an Excel workbook, .xlsx or .xlsm\n");
  // Nobody, not even an administrator, makes files there.
  EXPECT_EQ(messages({"report", "m.run.json", "--log", "/proc"}),
            "ordvane: --log: no file can be made in \"/proc\": there is no such file or folder\n");
  EXPECT_EQ(messages({"export", "m.run.json", "--what", "run", "--as", "json", "--simulation", "1"}),
            "ordvane: -o: --what run writes files; name one that ends in .run.json\n"
            "ordvane: --as: the values of a run are csv or binary\n"
            "ordvane: --simulation: goes without --what run, which is all of it\n");
  // An unknown option's value is not taken for a run file.
  EXPECT_EQ(messages({"show", "--frob", "5", "m.run.json", "--simulation"}),
            "ordvane: --simulation: N is missing\nordvane: --frob: there is no such option\n"
            "Try `ordvane show --help`.\n");
}

// Whatever --overwrite allows.
TEST_F(Command, NeverWritesOverWhatItReads) {
  std::ofstream(folder_ / "t.run.csv") << "Price,Gain\n1,10\n2,20\n0.5,5\n";
  ASSERT_EQ(run({"import", "t.run.csv", "-o", "u.run.json", "--inputs", "Price", "--base", "2"}).code, 0);
  std::ofstream(folder_ / "m.xlsx") << "the model";
  fs::create_symlink("m.xlsx", folder_ / "linked.html");
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"export", "u.run.json", "-o", "u.run.csv"},
        {"export", "u.run.json", "-o", "./u.run.json"},
        {"export", "u.run.json", "--what", "run", "-o", "u.run.json"},
        {"import", "t.run.csv", "-o", "t.run.json"},
        {"report", "m.run.json", "-o", "m.xlsx"},
        {"report", "m.run.json", "-o", "linked.html"},
        {"diff", "u.run.json", "m.run.json", "-o", "m.xlsx"}}) {
    std::vector<std::string> overwriting = arguments;
    overwriting.push_back("--overwrite");
    const auto before = [&] { return file_text(folder_ / arguments.back()); };
    const std::string text = before();
    const Result result = run(overwriting);
    SCOPED_TRACE(testing::PrintToString(arguments));
    EXPECT_EQ(result.code, 2) << result.out;
    EXPECT_THAT(result.err, HasSubstr("name another"));
    EXPECT_EQ(before(), text);
  }
}

TEST_F(Command, FindsOutputsByNameAndCell) {
  constexpr const char *kPlan = "Profit (Plan!C14)", *kTotal = "Profit (Total!D2)",
                       *kMargin = "Margin \u00e4 (My plan!C14)";
  const std::pair<const char*, const char*> kCases[] = {{"Margin \u00e4", kMargin},
                                                        {"MARGIN \u00c4", kMargin},
                                                        {"d2", kTotal},
                                                        {"$D$2", kTotal},
                                                        {"plan!c14", kPlan},
                                                        {"My plan!C14", kMargin},
                                                        {"'My plan'!$C$14", kMargin},
                                                        {"[m.xlsx]Total!D2", kTotal},
                                                        {"'[M.xlsx]My plan'!C14", kMargin}};
  for (const auto& [wanted, title] : kCases)
    EXPECT_THAT(run({"show", "m.run.json", "--output", wanted}).out, StartsWith(std::string(title) + "\n"))
        << wanted;
}

TEST_F(Command, ReportWritesTheWorkbookAndSaysWhere) {
  const Result result =
      run({"report", "--max-inputs", "3", "m.run.json"});  // the run may stand behind options
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_EQ(result.out, "m-reports.xlsx: 12 sheets, 11 charts\n");
  EXPECT_EQ(result.err, "") << "progress is for terminals";
  EXPECT_THAT(file_text(folder_ / "m-reports.xlsx"), StartsWith("PK"));
}

TEST_F(Command, ReportWritesTheSameBytesForTheSameSourceDate) {
  const auto written = [&](const char* date) {
    source_date_ = date;
    EXPECT_EQ(run({"report", "m.run.json", "-o", "a.xlsx", "--overwrite"}).code, 0);
    return file_text(folder_ / "a.xlsx");
  };
  const std::string first = written("1767225600");
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // a package counts in steps of two seconds
  EXPECT_TRUE(written("1767225600") == first);
  EXPECT_TRUE(written("1767225602") != first);
  for (const char* wrong : {"yesterday", "-1", "1767225600.5", "253402300800"}) {
    source_date_ = wrong;
    const Result refused = run({"report", "m.run.json", "-o", "b.xlsx"});
    EXPECT_EQ(refused.code, 2) << wrong;
    EXPECT_THAT(refused.err, HasSubstr(std::string("SOURCE_DATE_EPOCH: \"") + wrong + "\" is no time"));
  }
  EXPECT_FALSE(there("b.xlsx"));
}

TEST_F(Command, ReportTakesItsSwitches) {
  std::ofstream(folder_ / "a.xlsx") << "before";
  const struct {
    std::vector<std::string> switches;
    const char* summary;
  } kCases[] = {
      {{"--tornado"}, "a.xlsx: 4 sheets, 3 charts\n"},
      {{"--spider", "--output", "Plan!C14"}, "a.xlsx: 2 sheets, 1 chart\n"},
      {{"--output-detail", "--detail-by-input"}, "a.xlsx: 5 sheets, 0 charts\n"},
      {{"--all", "--percent", "--max-inputs", "1", "--bar-color", "#1F4E79", "--base-color", "ff0000"},
       "a.xlsx: 16 sheets, 9 charts\n"},
      {{"--tornado", "--threshold", "150.1%", "--output", "d2"}, "a.xlsx: 2 sheets, 0 charts\n"},
      {{"--tornado", "--threshold", "150%", "--output", "d2"}, "a.xlsx: 2 sheets, 1 chart\n"},
      {{"--tornado", "--threshold", "1", "--output", "Plan!C14"}, "a.xlsx: 2 sheets, 1 chart\n"},
      {{"--watermark", "Draft\\nof today", "--language", "en", "--log", "."},
       "a.xlsx: 12 sheets, 11 charts\n"},
      {{"--quiet"}, ""},
  };
  for (const auto& each : kCases) {
    std::vector<std::string> arguments{"report", "m.run.json", "-o", "a.xlsx", "--overwrite"};
    arguments.insert(arguments.end(), each.switches.begin(), each.switches.end());
    const Result result = run(arguments);
    SCOPED_TRACE(testing::PrintToString(each.switches));
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.out, each.summary);
    EXPECT_THAT(file_text(folder_ / "a.xlsx"), StartsWith("PK"));
  }
  EXPECT_TRUE(there("OrdvaneReports8.Log"));
  EXPECT_EQ(run({"report", "grouped.run.json", "--multi-way", "-o", "b.xlsx"}).out,
            "b.xlsx: 9 sheets, 3 charts\n");
  EXPECT_EQ(run({"report", "grouped.run.json", "--all", "-o", "c.xlsx"}).out,
            "c.xlsx: 23 sheets, 14 charts\n");
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
  EXPECT_EQ(workbook("C.UTF-8", {"--watermark", "A\\nB"}), workbook("C.UTF-8", {"--watermark", "A\nB"}));
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
            "  Profit depends most on Volume, monthly (2 to 8: 20 to 80), then on\n"
            "  Price (8 to 12: 32 to 48). No value tried brings Profit to 0.\n"
            "\n"
            "    Input            Low                          High   Low %  High %\n"
            "  1 Volume, monthly   20 ########|############### 80    -50.0% +100.0%\n"
            "  2 Price             32      ###|###             48    -20.0%  +20.0%\n");
  const Result utf8 = run({"show", "m.run.json", "--output", "My plan!C14"});
  EXPECT_THAT(utf8.out, AllOf(HasSubstr("\u2588\u2502"), HasSubstr("0.2000"), HasSubstr("1 of 3\n")));
  EXPECT_THAT(run({"show", "m.run.json", "--output", "My plan!C14"}, "C").out,
              StartsWith("Margin ? (My plan!C14)\n"));
}

TEST_F(Command, ShowAnswersProgramsInFull) {
  EXPECT_EQ(run({"show", "m.run.json", "--csv", "--output", "My plan!C14"}).out,
            "output,outputSheet,outputCell,base,rank,input,inputSheet,inputCell,low,high,swing,lowChange,"
            "highChange,"
            "inputAtLow,inputAtHigh,steps,failed,moves,leavesOutBase,"
            "share,cumulativeShare,downside,upside,elasticity,arcElasticity,breakEven,peakAt,valleyAt,bend,"
            "passesAt\n"
            "Margin \u00e4,My "
            "plan,C14,0.25,1,Price,Plan,B1,0.2,0.25,0.04999999999999999,-0.19999999999999996,0,8,10,3,1,true,"
            "false,1,1,-0.04999999999999999,0,0.9999999999999998,0.9999999999999998,,,,0,\n"
            "Margin \u00e4,My plan,C14,0.25,2,\"Volume, "
            "monthly\",Plan,B2,0.25,0.25,0,0,0,,,2,0,false,false,0,1,0,0,0,0,,,,,\n");
  const auto json = nlohmann::json::parse(run({"show", "m.run.json", "--json"}).out);
  EXPECT_EQ(json["outputs"].size(), 3U);
  EXPECT_FALSE(json["outputs"][0].contains("groups"));
  EXPECT_EQ(json["outputs"][0]["inputs"][0]["name"], "Volume, monthly");
  const auto& margin = json["outputs"][1]["inputs"];
  EXPECT_EQ(margin[0]["failed"], 1);
  EXPECT_EQ(margin[1]["moves"], false);
  EXPECT_EQ(margin[1]["inputAtLow"], nullptr);
  const auto answers = nlohmann::json::parse(
      run({"show", "m.run.json", "--json", "--output", "D2", "--target", "44", "--steps"}).out)["outputs"][0];
  EXPECT_EQ(answers["target"], 44);
  EXPECT_EQ(answers["inputs"][1]["breakEven"][0]["input"], 11);
  EXPECT_EQ(answers["inputs"][1]["results"].size(), 3U);
}

TEST_F(Command, ImportTakesStepsAndGridsAndNamesTheRowThatIsNeither) {
  const struct {
    const char *table, *base, *says;
    int code;
  } kCases[] = {
      {"\xEF\xBB\xBF\"=A\";B;Y\r\n1,5;4;6\r\n2,5;4;10\r\n1,5;8;\"#N/A\"\r\n", "2",
       "2 inputs with 4 steps, 1 output;", 0},
      {"A\tB\tC\tY\n1\t1\t7\t1\n1\t2\t7\t2\n3\t1\t7\t3\n3\t2\t7\t4\n", "5",
       "1 group of inputs varied together; the base case is row 5\nNever varied, and left out: C\n", 0},
      {"A,B,Y\n1,1,1\n2,2,2\n3,1,3\n", "2",
       "t.csv:3: varies \"A\" and \"B\" together, and is no part of a full grid of them: no row has A = 1, B "
       "= 2;",
       2},
      {"A,B,Y\n1,1,1\n1,2,2\n1,2,3\n", "2", "t.csv:4: has the inputs of row 3 and other results", 2},
      {"A,B,Y\n1,1,1\n1,\"2,5\",2\n", "2", "t.csv:3: column \"B\": is \"2,5\"; a number without separators",
       2},
      {"A;B;Y\n1,5;1;1\n2.5;1;2\n", "2",
       "t.csv:3: column \"A\": is \"2.5\"; rows before have a decimal comma", 2},
      {"A,B,Y\n1,low,1\n", "2", "t.csv:2: column \"B\": is \"low\"; the number that the input was set to", 2},
      {"A,B,Y\n1,1\n", "2", "t.csv:2: 2 fields; 3 are expected", 2},
      {"varied,A,B,Y\n,1,1,1\nA,2,3,2\n", "2",
       "t.csv:3: column \"B\": is 3 and not at its base value 1 (row 2)", 2},
      {"A,B,Y\n1,1,1\n2,1,2\n", "7", "t.csv: has no row 7 for --base; its rows are 2 to 3", 2}};
  for (const auto& each : kCases) {
    SCOPED_TRACE(each.table);
    std::ofstream(folder_ / "t.csv", std::ios::binary) << each.table;
    const Result result = run({"import", "t.csv", "--outputs", "Y", "--base", each.base, "--overwrite"});
    EXPECT_EQ(result.code, each.code);
    EXPECT_THAT(result.out + result.err, HasSubstr(each.says));
    if (&each == kCases) {
      EXPECT_THAT(run({"show", "t.run.json", "--csv"}).out, HasSubstr(",1,'=A,Inputs,A1,6,10,4,"));
      EXPECT_THAT(run({"export", "t.run.json", "--raw-text", "--what", "table"}).out,
                  "varied,=A,B,Y\n,1.5,4,6\n=A,1.5,4,6\n=A,2.5,4,10\nB,1.5,4,6\nB,1.5,8,#N/A\n");
    }
  }
}

// One input for each thing that can be said of its steps.
constexpr const char* kOddRun = R"json({
 "format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [
  { "name": "Start", "book": "m.xlsx", "sheet": "Plan", "cell": "B1", "base": 46023, "date": true, "steps": 2 },
  { "name": "Rate", "book": "m.xlsx", "sheet": "Plan", "cell": "B2", "base": 0.05, "numberFormat": "0.0%", "steps": 3 },
  { "name": "\u05de\u05d7\u05d9\u05e8", "book": "m.xlsx", "sheet": "Plan", "cell": "B3", "base": 4, "steps": 1 },
  { "book": "m.xlsx", "sheet": "Plan", "cell": "B4", "base": 4, "steps": 2 },
  { "name": "Unused", "book": "m.xlsx", "sheet": "Plan", "cell": "B5", "base": 4, "steps": 2 }],
 "outputs": [
  { "book": "m.xlsx", "sheet": "Plan", "cell": "C1", "base": 170542, "numberFormat": "#,##0 \"\u20ac\"_)",
                     "labels" : [ {"cell" : "A1", "text" : "Value"} ]
},
  { "name": "Paid back", "book": "m.xlsx", "sheet": "Plan", "cell": "C2", "base": 46023, "numberFormat": "dd.mm.yyyy" },
  { "name": "Share", "book": "m.xlsx", "sheet": "Plan", "cell": "C3", "base": null, "numberFormat": "0.0%" }],
 "recalculations": [
  [1, 1, 1, 46000, 150000, 46000, 0.1], [1, 1, 2, 46388, 181000, 46388, 0.1],
  [1, 2, 1, 0.03, 160000, 46023, 0.1], [1, 2, 2, 0.05, 170542, 46023, 0.2], [1, 2, 3, 0.07, "#NUM!", 46023, 0.3],
  [1, 3, 1, 6, 165000, 46025, 0.1],
  [1, 4, 1, 3, "#NUM!", 46023, 0.1], [1, 4, 2, 5, "none", 46023, 0.1],
  [1, 5, 1, 3, 170542, 46023, 0.1], [1, 5, 2, 5, 170542, 46023, 0.1]]
})json";

TEST_F(Command, ShowWritesAsTheCellsDoAndMarksWhatStepsLeaveOpen) {
  std::ofstream(folder_ / "odd.run.json") << kOddRun;
  columns_ = 100;
  EXPECT_EQ(run({"show", "odd.run.json", "--output", "C1"}).out,
            R"(Value (Plan!C1)
  base value 170,542 €
  Value depends most on Start (2025-12-09 to 2027-01-01: 150,000 € to 181,000 €), then on Rate (3.0%
  to 5.0%: 160,000 € to 170,542 €), מחיר (6: 165,000 €). No value tried brings Value to 0 €.

    Input           Low                                          High        Low % High %  No number
  1 Start     150,000 € ██████████████████████████│█████████████ 181,000 €  -12.0%  +6.1%
  2 Rate      160,000 €             ▐█████████████│              170,542 €   -6.2%   0.0%     1 of 3
  3 )"
            "\u200e\u05de\u05d7\u05d9\u05e8\u200e"
            R"(   *  165,000 €                   ▐       │              165,000 €   -3.2%  -3.2%
  4 B4        none of its 2 results is a number
  5 Unused    no effect
  No number: results that are errors, texts or empty; low and high are without them
  * never at its base value; its effect from the base may be larger
)");
  const auto lines = [&](int columns, const char* output) {
    columns_ = columns;
    return run({"show", "odd.run.json", "--output", output}, "C").out;
  };
  const auto json = nlohmann::json::parse(run({"show", "odd.run.json", "--json"}).out);
  EXPECT_EQ(json["outputs"][0]["inputs"][2]["leavesOutBase"], true);
  // Room decides what else is told: changes before the inputs' values.
  EXPECT_THAT(lines(60, "C1"),
              AllOf(Not(HasSubstr("Low %")), HasSubstr("1 of 3\n"), HasSubstr("  base value 170,542 ?\n")));
  EXPECT_THAT(lines(130, "C1"),
              AllOf(HasSubstr("  Input at low     at high  Share  Elasticity  No number\n"),
                    HasSubstr("  2025-12-09  2027-01-01  "), HasSubstr("         3.0%        5.0%  ")));
  EXPECT_THAT(lines(130, "C2"), AllOf(StartsWith("Paid back (Plan!C2)\n  base value 01.01.2026\n"),
                                      HasSubstr("  1 Start     09.12.2025 "), Not(HasSubstr("Low %"))));
  EXPECT_THAT(lines(130, "C3"), StartsWith("Share (Plan!C3)\n  its base value is no number\n"));
}

TEST_F(Command, ShowTellsWhatGroupsDo) {
  EXPECT_EQ(run({"show", "grouped.run.json", "--output", "D2"}, "C").out,
            "Profit (Total!D2)\n"
            "  base value 40\n"
            "  Profit depends most on Volume, monthly (2 to 8: 20 to 80), then on\n"
            "  Price (8 to 12: 32 to 48). No value tried brings Profit to 0.\n"
            "\n"
            "    Input            Low                          High   Low %  High %\n"
            "  1 Volume, monthly   20 ########|############### 80    -50.0% +100.0%\n"
            "  2 Price             32      ###|###             48    -20.0%  +20.0%\n"
            "\n"
            "    Varied together                       Swing  Own swings  Interaction\n"
            "  1 Price x Volume, monthly ###|########     80          76            4\n");
  EXPECT_THAT(
      run({"show", "grouped.run.json", "--csv", "--output", "My plan!C14"}).out,
      AllOf(HasSubstr("inputAtHigh,inputs,ownSwings,interaction,steps,failed,moves,leavesOutBase,"
                      "interactionState,share,"),
            HasSubstr(",2,\"Volume, monthly\",Plan,B2,0.25,0.25,0,0,0,,,1,0,,2,0,false,false,,0,1,0,"),
            HasSubstr(",1,\"Price;Volume, monthly\",Plan;Plan,B1;B2,0.2,0.2,0,"
                      "-0.19999999999999996,-0.19999999999999996,8;2,8;2,2,0.04999999999999999,")));
  const auto json = nlohmann::json::parse(run({"show", "grouped.run.json", "--json"}).out);
  const auto& group = json["outputs"][0]["groups"][0];
  EXPECT_EQ(group["interactionState"], "measured");
  EXPECT_EQ(group["steps"], 4);
  EXPECT_EQ(group["inputs"][1]["cell"], "B2");
  EXPECT_EQ(group["inputs"][1]["atHigh"], 8.0);
  EXPECT_EQ(group["inputs"][1]["ownSwing"], 60.0);
}

TEST_F(Command, ReportTellsWhatBecameOfEarlierReports) {
  const auto said = [&](std::vector<std::string> switches) {
    switches.insert(switches.begin(), {"report", "m.run.json"});
    const Result result = run(switches);
    EXPECT_EQ(result.code, 0) << result.err;
    return result.out;
  };
  EXPECT_EQ(said({"-o", "a.xlsx", "--tornado", "--output", "D2"}), "a.xlsx: 2 sheets, 1 chart\n");
  EXPECT_EQ(said({"--into", "a.xlsx", "--tornado", "--output", "D2", "--quiet"}), "");
  EXPECT_EQ(said({"--into", "a.xlsx", "--tornado", "--spider", "--output", "D2", "--overwrite"}),
            "a.xlsx: added 1 sheet, replaced 2 sheets, 2 charts\n"
            "Still there from earlier reports: Tornado D2 (2), Summary (2)\n");
  EXPECT_EQ(said({"--into", "a.xlsx", "--spider", "--output", "D2"}),
            "a.xlsx: added 2 sheets, 1 chart\n"
            "Still there from earlier reports: Tornado D2, Summary, Tornado D2 (2), Summary (2), Spider D2; "
            "--overwrite replaces those of the same names\n");
}

TEST_F(Command, CheckDescribesARun) {
  EXPECT_THAT(run({"check", "m.run.json"}).out,
              AllOf(HasSubstr("Volume, monthly"), HasSubstr("My plan!C14")));
}

TEST_F(Command, HelpShowsExamplesAndTheVersionIsTheProjects) {
  using Words = std::vector<std::string>;
  for (const auto& [asked, in_other_words] : {std::pair(Words{"--help"}, Words{"help"}),
                                              {{"report", "--help"}, {"help", "report"}},
                                              {{"show", "--help"}, {"help", "show"}},
                                              {{"check", "--help"}, {"help", "check"}}}) {
    const Result result = run(asked);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(run(in_other_words).out, result.out);
    EXPECT_THAT(result.out, AllOf(HasSubstr("Examples:\n  ordvane "), Not(HasSubstr("SUBCOMMAND"))));
    for (std::size_t at = 0; at < result.out.size(); at = result.out.find('\n', at) + 1)
      EXPECT_LE(result.out.find('\n', at) - at, 105U) << result.out.substr(at, 120);
  }
  const std::string version = run({"--version"}).out;
  ASSERT_THAT(version, StartsWith("ordvane "));
  EXPECT_THAT(file_text(ORDVANE_SOURCE_DIR "/CMakeLists.txt"),
              HasSubstr("project(ordvane VERSION " + version.substr(8, version.size() - 9) + " "));
}

// A run in binary tables, which are mapped; cut to a page while the command is held up where it is known to
// be.
TEST_F(Command, EndsWhereATableIsCutShortWhileItIsRead) {
  constexpr int kOutputs = 14, kSteps = 10000;
  std::string description = R"({"format": "ordvane-run", "version": 1, "simulations": 1, "inputs": [)";
  const auto item = [](char column, int row) {
    return R"({"book": "m.xlsx", "sheet": "S", "base": 1, "cell": ")" + (column + std::to_string(row)) + "\"";
  };
  for (int input = 1; input <= 2; ++input)
    description += (input > 1 ? "," : "") + item('B', input) + ", \"steps\": " + std::to_string(kSteps) + "}";
  description += "], \"outputs\": [";
  for (int output = 1; output <= kOutputs; ++output)
    description += (output > 1 ? "," : "") + item('C', output) + "}";
  std::string results, header;
  for (int output = 1; output <= kOutputs; ++output) {
    header += ",output" + std::to_string(output);
    results += "," + std::to_string(output);
  }
  std::ofstream(folder_ / "csv.run.json") << description << R"(], "groups": {"size": 2, "steps": 100},
      "recalculations": "s.csv", "groupRecalculations": "g.csv"})";
  std::ofstream singles(folder_ / "s.csv"), groups(folder_ / "g.csv");
  singles << "simulation,input,step,value" << header << "\n";
  groups << "simulation,group,combination,value1,value2" << header << "\n";
  for (int row = 0; row < 2 * kSteps; ++row)
    singles << "1," << row / kSteps + 1 << "," << row % kSteps + 1 << "," << row << results << "\n";
  for (int row = 0; row < 100 * 100; ++row)
    groups << "1,1," << row + 1 << "," << row / 100 << "," << row % 100 << results << "\n";
  singles.close();
  groups.close();
  ASSERT_EQ(run({"export", "csv.run.json", "--what", "run", "--as", "binary", "-o", "big.run.json"}).code, 0);
  const auto names = [&] {
    std::set<std::string> all;
    for (const auto& file : fs::directory_iterator(folder_.path())) all.insert(file.path().filename());
    all.erase("stdout.txt");
    all.erase("stderr.txt");
    return all;
  };
  const auto expect_clear_end = [&](pid_t process, const char* table, const std::set<std::string>& before) {
    const Result result = finish(process);
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.err, std::string("ordvane: ") + table + ": was cut short while it was read\n");
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(names(), before);
  };

  // The second run comes through a pipe, which is opened when the first one is read.
  ASSERT_EQ(::mkfifo((folder_ / "now.run.json").c_str(), 0600), 0);
  fs::copy_file(folder_ / "big.run.bin", folder_ / "whole.bin");
  const auto before = names();
  pid_t process = start({"diff", "big.run.json", "now.run.json", "-o", "changes.xlsx"});
  {
    std::ofstream pipe(folder_ / "now.run.json");
    fs::resize_file(folder_ / "big.run.bin", 4096);
    pipe << file_text(folder_ / "m.run.json");
  }
  expect_clear_end(process, "big.run.bin", before);

  // Stopped while the second table of a copy is written; where that was missed, once more.
  fs::copy_file(folder_ / "whole.bin", folder_ / "big.run.bin", fs::copy_options::overwrite_existing);
  const auto is_writing = [&] {
    const auto all = names();
    return std::any_of(all.begin(), all.end(),
                       [](const std::string& name) { return name.starts_with(".copy.run.groups.csv."); });
  };
  bool is_stopped = false;
  for (int attempt = 0; attempt < 50 && !is_stopped; ++attempt) {
    process = start({"export", "big.run.json", "--what", "run", "-o", "copy.run.json", "--overwrite"});
    const auto patience = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!is_writing() && !there("copy.run.json") && std::chrono::steady_clock::now() < patience)
      std::this_thread::yield();
    ::kill(process, SIGSTOP);
    int status = 0;
    ::waitpid(process, &status, WUNTRACED);
    is_stopped = WIFSTOPPED(status) && is_writing();
    if (is_stopped) break;
    ::kill(process, SIGCONT);
    if (WIFSTOPPED(status)) finish(process);
    for (const char* name : {"copy.run.json", "copy.run.csv", "copy.run.groups.csv"})
      fs::remove(folder_ / name);
  }
  ASSERT_TRUE(is_stopped && there("copy.run.csv"));
  fs::resize_file(folder_ / "big.run.groups.bin", 4096);
  ::kill(process, SIGCONT);
  expect_clear_end(process, "big.run.groups.bin", before);
}

// From a workbook alone to its reports, and to a definition.
TEST_F(Command, SweepFindsWhatItIsNotTold) {
  fs::copy_file(fs::path(ORDVANE_SOURCE_DIR) / "examples/solar-plant/solar-plant.xlsx",
                folder_ / "plant.xlsx");
  Result result = run({"sweep", "plant.xlsx", "--report"});
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.err, AllOf(StartsWith("ordvane: --output: is missing; "),
                                HasSubstr("  Net present value             170,542  --output ProjectNPV\n")));
  EXPECT_EQ(result.out, "");

  result = run({"sweep", "plant.xlsx", "--suggest"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("Not varied, a date: Site!B12 (Commissioning date)\n"),
                                HasSubstr("`ordvane sweep plant.xlsx plant.whatif.json --report`")));
  const std::string suggested = file_text(folder_ / "plant.whatif.json");
  EXPECT_EQ(run({"sweep", "plant.xlsx", "--suggest", "--output", "LCOE"}).code, 2);
  EXPECT_EQ(file_text(folder_ / "plant.whatif.json"), suggested);

  result = run(
      {"sweep", "plant.xlsx", "--output", "ProjectNPV", "--verify", "none", "--report", "--as", "binary"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.out, AllOf(HasSubstr("plant-reports.xlsx: 5 sheets"), HasSubstr("\n   3 Investment ")));
  EXPECT_TRUE(there("plant.run.json") && there("plant.run.bin") && there("plant-reports.xlsx"));
  result = run({"sweep", "plant.xlsx", "plant.whatif.json", "--verify", "none", "--into", "plant.xlsx"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.err, "ordvane: -o: \"plant.run.json\" is there already; --overwrite replaces it\n");
  result = run(
      {"sweep", "plant.xlsx", "--output", "LCOE", "--verify", "none", "--into", "plant.xlsx", "--overwrite"});
  EXPECT_EQ(result.code, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("plant.xlsx: added 5 sheets"));
}

// Ctrl-C while the run file is read, which a pipe makes last until the signal has come.
TEST_F(Command, InterruptedItExitsWith130AndWritesNothing) {
  ASSERT_EQ(mkfifo((folder_ / "slow.run.json").c_str(), 0600), 0);
  std::ofstream(folder_ / "slow-reports.xlsx") << "before";
  const pid_t process = start({"report", "slow.run.json", "--overwrite"});
  std::ofstream pipe(folder_ / "slow.run.json");  // open as soon as the command reads
  kill(process, SIGINT);
  pipe << kRun << std::flush;
  pipe.close();
  const Result result = finish(process);
  EXPECT_EQ(result.code, 130);
  EXPECT_EQ(result.err, "ordvane: cancelled, slow-reports.xlsx was not written\n");
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(file_text(folder_ / "slow-reports.xlsx"), "before");
}

}  // namespace
}  // namespace ordvane
