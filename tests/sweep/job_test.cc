// Whole sweeps: a workbook and a definition in, a run out.
#include "sweep/job.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "host/error.h"
#include "runfile/json_file.h"
#include "small_model.h"
#include "support/external_checks.h"
#include "sweep/compiled.h"

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
  book.set("B5", "=B1*B2-B3+0*BESSELI(B1,1)").calculation("calcMode=\"manual\"");
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
  const auto office = make_libreoffice(folder / "tiny.xlsx", plan, options);
  const auto results = office->evaluate(std::vector<Recalculation>{{{0, 2.0}}});
  ASSERT_EQ(results.size(), 1U);
  EXPECT_EQ(shown(results[0][0]), "no result within 0 s");
}

TEST(Job, TakesItsPartFromTheEnvironment) {
  struct {
    std::vector<std::pair<const char*, const char*>> variables;
    std::optional<std::int32_t> parts;
    std::int32_t part, of;  // 0: none
  } const cases[] = {
      {{{"SLURM_ARRAY_TASK_ID", "7"}, {"SLURM_ARRAY_TASK_COUNT", "4"}, {"SLURM_ARRAY_TASK_MIN", "5"}},
       {},
       3,
       4},
      {{{"SLURM_ARRAY_TASK_ID", "4"},
        {"SLURM_ARRAY_TASK_COUNT", "3"},
        {"SLURM_ARRAY_TASK_MIN", "0"},
        {"SLURM_ARRAY_TASK_STEP", "2"}},
       {},
       3,
       3},
      {{{"OMPI_COMM_WORLD_RANK", "0"}, {"OMPI_COMM_WORLD_SIZE", "2"}}, {}, 1, 2},
      {{{"JOB_COMPLETION_INDEX", "4"}}, 5, 5, 5},
      {{{"JOB_COMPLETION_INDEX", "4"}}, {}, 0, 0},
      {{{"JOB_COMPLETION_INDEX", "5"}}, 5, 0, 0},
      {{}, 5, 0, 0},
  };
  for (const auto& c : cases) {
    for (const auto& [name, value] : c.variables) ::setenv(name, value, 1);
    const std::optional<Shard> shard = shard_of_environment(c.parts);
    for (const auto& [name, value] : c.variables) ::unsetenv(name);
    EXPECT_EQ(shard ? shard->part : 0, c.part) << &c - cases;
    EXPECT_EQ(shard ? shard->parts : 0, c.of) << &c - cases;
  }
}

}  // namespace
}  // namespace ordvane::sweep
