// Whole sweeps: a workbook and a definition in, a run out.
#include "sweep/job.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <cmath>
#include <fstream>

#include "host/error.h"
#include "runfile/json_file.h"
#include "small_model.h"
#include "support/archive_of.h"
#include "support/external_checks.h"
#include "sweep/compiled.h"
#include "text/calendar.h"
#include "xlsx/package_reader.h"

namespace ordvane::sweep {
namespace {

const std::string kSolarPlant = std::string(ORDVANE_SOURCE_DIR) + "/examples/solar-plant/solar-plant";

// Why LibreOffice is not asked; empty: it is.
std::string without_libreoffice() {
  if (!test::kOthersAreAsked) return "other programs are asked in ordinary builds only";
  const bool there = test::run_command("command -v soffice").status == 0 &&
                     test::run_command("/usr/bin/python3 -c 'import uno'").status == 0;
  return there ? "" : "LibreOffice with its Python module is not installed";
}

std::size_t files_in(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

std::string bytes_of(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Job, SweepsTheSolarPlantAsItWasRecorded) {
  const test::TemporaryFolder folder;
  Job job;
  job.workbook = kSolarPlant + ".xlsx";
  job.what_if = read_what_if(kSolarPlant + ".whatif.json");
  job.run = folder / "solar-plant.run.json";
  job.verify = Verify::kNone;
  const Outcome outcome = run_job(job);
  EXPECT_EQ(outcome.calculation.because, "");
  EXPECT_EQ(outcome.calculation.stored_differ, 0) << outcome.calculation.stored_first;
  EXPECT_EQ(files_in(folder.path()), 3U) << "the run and its two tables, no part";
  for (const char* ending : {".run.csv", ".run.groups.csv"})
    EXPECT_TRUE(bytes_of(folder / (std::string("solar-plant") + ending)) == bytes_of(kSolarPlant + ending))
        << ending;
}

TEST(Job, IsVerifiedByLibreOffice) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  const test::TemporaryFolder folder;
  Job job;
  job.workbook = kSolarPlant + ".xlsx";
  job.what_if = read_what_if(kSolarPlant + ".whatif.json");
  job.run = folder / "solar-plant.run.json";
  const Outcome outcome = run_job(job);
  EXPECT_THAT(outcome.calculation.verified_by, testing::StartsWith("LibreOffice "));
  EXPECT_EQ(outcome.calculation.verified, 41);
  EXPECT_EQ(outcome.calculation.verified_differ, 0) << outcome.calculation.verified_first;
  EXPECT_EQ(runfile::read_run(job.run).calculation->verified, 41);
}

// A workbook that is calculated by hand, with a protected sheet and a function that only LibreOffice knows.
TEST(Job, FallsBackToLibreOfficeAndLeavesNothingBehind) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  const test::TemporaryFolder folder;
  const test::TemporaryFolder temporary;
  test::TinyWorkbook book = small_book();
  book.set("B5", "=B1*B2-B3+0*BESSELI(B1,1)").calculation("calcMode=\"manual\"").protect();
  std::ofstream(folder / "tiny.xlsx", std::ios::binary) << book.bytes();
  Job job;
  job.workbook = folder / "tiny.xlsx";
  job.what_if = what_if_of(runfile::parse_json(small_what_if(), "w.json"), "w.json");
  job.run = folder / "tiny.run.json";
  job.libreoffice = true;
  ::setenv("TMPDIR", temporary.path().c_str(), 1);
  run_job(job);
  ::unsetenv("TMPDIR");
  EXPECT_EQ(files_in(temporary.path()), 0U);
  EXPECT_EQ(files_in(folder.path()), 4U);
  const runfile::Run run = runfile::read_run(job.run);
  EXPECT_EQ(run.outputs[0].base, 33);
  EXPECT_EQ(run.output_values[run.output_value_index(0, 0, 0)], -3) << "1 * 4 - 7";
  EXPECT_EQ(run.output_values[run.output_value_index(0, 0, 1)], 1) << "2 * 4 - 7";
  EXPECT_EQ(run.group_output_values[0], -5) << "1 * 2 - 7";
}

// A limit that even the quickest recalculation is over.
TEST(Job, SaysThatARecalculationTookTooLong) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  const test::TemporaryFolder folder;
  std::ofstream(folder / "tiny.xlsx", std::ios::binary) << small_book().bytes();
  calc::Model model(folder / "tiny.xlsx");
  const Plan plan = planned(small_what_if(), model);
  LibreOfficeOptions options;
  options.step_limit = std::chrono::milliseconds(0);
  const auto office = make_libreoffice(folder / "tiny.xlsx", model, plan, options);
  const auto results = office->evaluate(std::vector<Recalculation>{{{0, 2.0}}});
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(shown(results[0][0]), "no result within 0 s");
}

std::string results_of(const runfile::Run& run) {
  std::string text;
  for (const double value : run.output_values.in_memory()) text += shown({value, {}}) + " ";
  return text;
}

// Workbooks that are more than formulas, each with one input at 9, 12 and 9: what they give, or why they are
// refused.
TEST(Job, SweepsAwkwardWorkbooks) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  using Change = std::function<void(test::TinyWorkbook&)>;
  const std::string table =
      R"(<c r="E2"><f t="dataTable" ref="E2:E3" dt2D="0" dtr="0" r1="B1"/><v>7</v></c>)";
  const struct {
    const char* what;
    Change change;
    bool libreoffice;
    const char *because, *results;  // or what the message has
  } cases[] = {
      {"clock and 1904",
       [](auto& b) {
         b.properties("date1904=\"1\"").set("B5", "=B1+TODAY()-DATE(2026,11,1)+24*(NOW()-TODAY())");
       },
       false, "", "34 37 34 "},
      {"random numbers", [](auto& b) { b.set("B5", "=B1+RAND()-RAND()").set("A9", "=RAND()"); }, false, "",
       ""},
      {"drawn anew", [](auto& b) { b.set("B5", "=B1+RANDBETWEEN(2,2)"); }, false, "", "11 14 11 "},
      {"and nowhere held", [](auto& b) { b.set("B5", "=B1+RANDBETWEEN(2,2)"); }, true,
       "Sheet1!B5: RANDBETWEEN draws another number", nullptr},
      {"iterated",
       [](auto& b) { b.set("B5", "=(B5+B1)/2").calculation("iterate=\"1\" iterateDelta=\"0.5\""); }, false,
       "Sheet1!B5: a circular reference", "8.9296875 11.90625 8.9296875 "},
      {"circular", [](auto& b) { b.set("B5", "=C5+B1").set("C5", "=B5"); }, false,
       "a circular reference, and the workbook does not calculate iteratively", nullptr},
      {"too large", [](auto& b) { b.set("B5", "=B1+SUMPRODUCT(LEN(REPT(\"x\",32767)&SEQUENCE(20000)))"); },
       false, "Sheet1!B5: texts and arrays that take too much memory", nullptr},
      {"data table",
       [&](auto& b) {
         b.set("D2", "1").set("D3", "2").set("E1", "=B1*B2").raw("E2", table).set("B5", "=E2+E3+B1");
       },
       false, "Sheet1!E2: a data table", "21 24 21 "},
      {"a function that LibreOffice may not know", [](auto& b) { b.set("B5", "=SUM(_xlfn.VSTACK(B1,1))"); },
       false, "", "10 13 10 "},
      {"macro", [](auto& b) { b.set("B5", "=IFERROR(MyOwn(B1),1)"); }, false,
       "Sheet1!B5: MYOWN: LibreOffice knows no such function or name", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const test::TemporaryFolder folder;
    test::TinyWorkbook book = small_book();
    c.change(book);
    std::ofstream(folder / "tiny.xlsx", std::ios::binary) << book.bytes();
    Job job;
    job.workbook = folder / "tiny.xlsx";
    job.what_if = what_if_of(runfile::parse_json(R"({"inputs": [{"cell": "Sheet1!B1", "values": [9, 12, 9]}],
                                                     "outputs": [{"cell": "Sheet1!B5"}]})",
                                                 "w.json"),
                             "w.json");
    job.run = folder / "tiny.run.json";
    job.libreoffice = c.libreoffice;
    job.now = std::chrono::sys_days(std::chrono::year(2026) / 11 / 20) + std::chrono::hours(6);
    try {
      const runfile::Calculation calculation = run_job(job).calculation;
      ASSERT_NE(c.results, nullptr);
      EXPECT_THAT(calculation.because, testing::HasSubstr(c.because));
      EXPECT_EQ(calculation.verified_differ, 0) << calculation.verified_first;
      const std::string results = results_of(runfile::read_run(job.run));
      if (*c.results != '\0') {
        EXPECT_EQ(results, c.results);
      }
    } catch (const host::Error& error) {
      EXPECT_EQ(c.results, nullptr);
      EXPECT_THAT(error.description(), testing::HasSubstr(c.because));
    }
  }
}

TEST(Job, TakesWorkbooksOfOtherFormats) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  for (const std::string format : {"ods", "xls"}) {
    SCOPED_TRACE(format);
    const test::TemporaryFolder folder;
    const std::string command = "soffice --headless -env:UserInstallation=file://" +
                                (folder / "profile").string() + " --convert-to " + format + " --outdir " +
                                folder.path().string() + " " + kSolarPlant + ".xlsx";
    ASSERT_EQ(test::run_command(command).status, 0);
    Job job;
    job.workbook = folder / ("solar-plant." + format);
    job.what_if = read_what_if(kSolarPlant + ".whatif.json");
    job.run = folder / "plant.run.json";
    job.verify = Verify::kNone;
    EXPECT_EQ(run_job(job).calculation.because, "");
    EXPECT_TRUE(bytes_of(folder / "plant.run.csv") == bytes_of(kSolarPlant + ".run.csv"));
  }
}

TEST(Job, RefusesEncryptedWorkbooksOfOtherFormats) {
  const std::string open = test::archive_of({{"META-INF/manifest.xml", "<m><encryption-data/></m>"}});
  const std::string old = std::string("\x09\x08\x10\0", 4) + std::string(16, '\0') + std::string("\x2F\0", 2);
  for (const auto& [name, bytes] : {std::pair("a.ods", open), {"a.xls", old}}) {
    const test::TemporaryFolder folder;
    std::ofstream(folder / name, std::ios::binary) << bytes;
    try {
      converted_workbook(folder / name);
      ADD_FAILURE();
    } catch (const xlsx::BadWorkbook& error) {
      EXPECT_THAT(error.what(), testing::HasSubstr(std::string(name) + ": the workbook is encrypted"));
    }
  }
}

// The clock is where it was when the part was begun, whatever day it is.
TEST(Job, GoesOnWithItsClock) {
  const test::TemporaryFolder folder;
  test::TinyWorkbook book = small_book();
  std::ofstream(folder / "tiny.xlsx", std::ios::binary) << book.set("B5", "=B1+TODAY()").bytes();
  Job job;
  job.workbook = folder / "tiny.xlsx";
  job.what_if.inputs = {input_option("Sheet1!B1=1..3")};
  job.what_if.outputs = {output_option("Sheet1!B5")};
  job.run = folder / "tiny.run.json";
  job.verify = Verify::kNone;
  job.shard = Shard{1, 2};
  job.now = text::moment_of_iso("2020-02-29T10:20:30");
  run_job(job);
  job.now.reset();
  const Outcome again = run_job(job);
  EXPECT_EQ(again.calculated, 0);
  EXPECT_EQ(again.calculation.now, "2020-02-29T10:20:30");
  job.now = text::moment_of_iso("2020-02-28");
  EXPECT_THROW(run_job(job), host::Error);
}

// In the place of LibreOffice, something that ends at every input of 3, and once at 2.
TEST(Job, GoesOnWhereLibreOfficeCrashes) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  const test::TemporaryFolder folder;
  const std::string program = folder / "crashes";
  std::ofstream(program) << R"(#!/usr/bin/python3
import json, os, pathlib, sys
print(json.dumps({"engine": "Fake 1"}) if sys.stdin.readline() else "", flush=True)
once = pathlib.Path(__file__ + "-once")
for line in sys.stdin:
    for recalculation in json.loads(line):
        value = recalculation[0][1]
        if value == 3 or value == 2 and not once.exists():
            once.touch()
            os._exit(1)
        print(json.dumps([value]), flush=True)
)";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  std::ofstream(folder / "tiny.xlsx", std::ios::binary) << small_book().bytes();
  calc::Model model(folder / "tiny.xlsx");
  const Plan plan = planned(R"({"inputs": [{"cell": "Sheet1!B1", "values": [1]}],
                                "outputs": [{"cell": "Sheet1!B5"}]})",
                            model);
  LibreOfficeOptions options;
  options.python = program;
  const auto office = make_libreoffice(folder / "tiny.xlsx", model, plan, options);
  const auto calculated = [&](const std::vector<double>& values) {
    std::vector<Recalculation> rows;
    for (const double value : values) rows.push_back({{0, value}});
    std::string texts;
    for (const auto& row : office->evaluate(rows)) texts += shown(row.at(0)) + "; ";
    return texts;
  };
  EXPECT_EQ(calculated({1, 2, 3, 3, 4, 3}),
            "1; 2; LibreOffice ended unexpectedly; LibreOffice ended unexpectedly; 4; "
            "LibreOffice ended unexpectedly; ");
  try {
    calculated({3, 3, 5});
    ADD_FAILURE();
  } catch (const host::Error& error) {
    EXPECT_THAT(error.description(), testing::HasSubstr("LibreOffice ended unexpectedly 6 times in a row"));
  }
}

// Kills every LibreOffice that has this text on its command line; how many there were.
int kill_libreoffice(const std::string& text) {
  int killed = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string command = bytes_of(entry.path() / "cmdline");
    if (command.find("soffice.bin") == std::string::npos || command.find(text) == std::string::npos) continue;
    killed += ::kill(std::stoi(entry.path().filename().string()), SIGKILL) == 0 ? 1 : 0;
  }
  return killed;
}

TEST(Job, GoesOnWhereLibreOfficeIsKilled) {
  if (const std::string why = without_libreoffice(); !why.empty()) GTEST_SKIP() << why;
  const test::TemporaryFolder folder, temporary;
  Job job;
  job.workbook = kSolarPlant + ".xlsx";
  job.what_if = read_what_if(kSolarPlant + ".whatif.json");
  job.run = folder / "solar-plant.run.json";
  job.libreoffice = true;
  int killed = 0;
  job.progress = [&](std::int64_t done, std::int64_t) {
    if (killed == 0 && done > 50) killed = kill_libreoffice(temporary.path());
  };
  ::setenv("TMPDIR", temporary.path().c_str(), 1);
  run_job(job);
  ::unsetenv("TMPDIR");
  EXPECT_EQ(killed, 1);
  EXPECT_EQ(files_in(temporary.path()), 0U);
  EXPECT_TRUE(bytes_of(folder / "solar-plant.run.csv") == bytes_of(kSolarPlant + ".run.csv"));
}

// Values that every calculation of the model agrees on: roots, jumps and poles.
TEST(Job, FindsInTheModelWhereOutputsReachTheirTargets) {
  const test::TemporaryFolder folder;
  test::TinyWorkbook book;
  book.set("A1", "x").set("B1", "1").set("A2", "y").set("B2", "1").set("B4", "=B1^2*B2");
  book.set("B5", "=IF(B1<0.3,-1,2)").set("B6", "=1/(B1-2)").set("B7", "=EXP(B1)*B2").set("B8", "=B1-B2");
  std::ofstream(folder / "tiny.xlsx", std::ios::binary) << book.bytes();
  Job job;
  job.workbook = folder / "tiny.xlsx";
  job.what_if = what_if_of(runfile::parse_json(R"({"inputs": [
      {"cell": "B1", "low": -3, "high": 3, "steps": 4}, {"cell": "B2", "values": [9, -2, 0.5, 4]}],
      "outputs": [{"cell": "B4", "target": 2}, {"cell": "B5", "target": 0}, {"cell": "B6", "target": 0},
                  {"cell": "B7", "target": 5}, {"cell": "B8"}]})",
                                               "w.json"),
                           "w.json");
  job.run = folder / "whole.run.json";
  job.verify = Verify::kNone;
  run_job(job);
  const runfile::Run run = runfile::read_run(job.run);
  struct {
    std::size_t output, input;
    double value, result;
  } const expected[] = {{0, 0, -std::sqrt(2), 2}, {0, 0, std::sqrt(2), 2}, {0, 1, 2, 2},
                        {1, 0, 0.3, -1},          {3, 0, std::log(5), 5},  {3, 1, 5 / std::exp(1), 5}};
  std::vector<std::size_t> found(run.outputs.size());
  for (const auto& e : expected) {
    const runfile::BreakEven& point = run.outputs[e.output].break_even->at(found[e.output]++);
    EXPECT_EQ(point.input, e.input);
    // Comparisons take numbers for equal that differ in their last digits.
    EXPECT_NEAR(point.value, e.value, 4e-15 * std::fabs(e.value));
    EXPECT_NEAR(point.result.value(), e.result, 4e-15);
  }
  ASSERT_EQ(run.outputs[2].break_even->size(), 1U) << "a pole";
  EXPECT_NEAR(run.outputs[2].break_even->at(0).value, 2, 1e-15);
  EXPECT_FALSE(std::fabs(run.outputs[2].break_even->at(0).result.value_or(HUGE_VAL)) < 1e14);
  EXPECT_FALSE(run.outputs[4].break_even) << "has no target";

  std::vector<std::filesystem::path> parts;
  job.run = folder / "parts.run.json";
  for (std::int32_t part = 1; part <= 3; ++part) {
    job.shard = Shard{part, 3};
    parts.push_back(run_job(job).file);
  }
  merge_parts(parts, job.run, {});
  std::string whole = bytes_of(folder / "whole.run.json");
  whole.replace(whole.find("whole.run.csv"), 5, "parts");
  EXPECT_EQ(bytes_of(job.run), whole);
}

using Variables = std::vector<std::pair<const char*, const char*>>;

Variables slurm_array(const char* task, const char* count, const char* first, const char* last) {
  return {{"SLURM_ARRAY_TASK_ID", task},
          {"SLURM_ARRAY_TASK_COUNT", count},
          {"SLURM_ARRAY_TASK_MIN", first},
          {"SLURM_ARRAY_TASK_MAX", last}};
}

TEST(Job, TakesItsPartFromTheEnvironment) {
  struct {
    Variables variables;
    std::optional<std::int32_t> parts;
    std::int32_t part, of;  // 0: none, -1: refused
  } const cases[] = {
      {slurm_array("7", "4", "5", "8"), {}, -1, 0},
      {slurm_array("3", "2", "1", "3"), {}, -1, 0},
      {slurm_array("1", "1", "1", "1"), {}, -1, 0},
      {slurm_array("2", "3", "0", "2"), {}, 3, 3},
      {slurm_array("1", "2", "1", "2"), 8, -1, 0},
      {{{"OMPI_COMM_WORLD_RANK", "0"}, {"OMPI_COMM_WORLD_SIZE", "2"}}, {}, 1, 2},
      {{{"JOB_COMPLETION_INDEX", "4"}}, 5, 5, 5},
      {{{"JOB_COMPLETION_INDEX", "4"}}, {}, 0, 0},
      {{{"JOB_COMPLETION_INDEX", "5"}}, 5, 0, 0},
      {{}, 5, 0, 0},
  };
  for (const auto& c : cases) {
    for (const auto& [name, value] : c.variables) ::setenv(name, value, 1);
    std::optional<Shard> shard;
    try {
      shard = shard_of_environment(c.parts);
    } catch (const runfile::BadRun&) {
      shard = {-1, 0};
    }
    for (const auto& [name, value] : c.variables) ::unsetenv(name);
    EXPECT_EQ(shard ? shard->part : 0, c.part) << &c - cases;
    EXPECT_EQ(shard ? shard->parts : 0, c.of) << &c - cases;
  }
}

}  // namespace
}  // namespace ordvane::sweep
