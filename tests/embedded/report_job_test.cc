#include "embedded/report_job.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "environment/standard_environment.h"
#include "environment/string_table.h"
#include "session/text_id.h"
#include "support/external_checks.h"
#include "support/snapshot.h"

namespace ordvane::embedded {
namespace {

constexpr double kNone = host::kMissingNumber;

// Two inputs of three steps; profit follows both, tax only the second, and one output is never a number. The
// third input was not kept by the engine.
runfile::Run small_run() {
  const test::TemporaryFolder folder;
  std::ofstream(folder / "small.run.json") << R"({ "format": "ordvane-run", "version": 1, "simulations": 1,
 "inputs": [
  { "name": "Price", "book": "small.xlsx", "sheet": "Plan", "cell": "B1", "base": 10, "steps": 3 },
  { "name": "Not kept", "book": "small.xlsx", "sheet": "Plan", "cell": "B2", "base": 1, "steps": 3,
    "savedSamples": false },
  { "book": "small.xlsx", "sheet": "Plan", "cell": "B3", "base": 4, "steps": 3,
    "labels": [ { "cell": "A3", "text": "Volume" } ] }],
 "outputs": [
  { "name": "Profit", "book": "small.xlsx", "sheet": "Plan", "cell": "B5", "base": 40, "formula": "=B1*B3",
    "numberFormat": "0.00" },
  { "name": "Tax", "book": "small.xlsx", "sheet": "Plan", "cell": "B6", "base": -8 },
  { "name": "Broken", "book": "small.xlsx", "sheet": "Plan", "cell": "B7", "base": null, "formula": "=1/0" }],
 "recalculations": [
  [1, 1, 1, 8, 32, -8, "#DIV/0!"], [1, 1, 2, 10, 40, -8, "#DIV/0!"], [1, 1, 3, 12, 48, -8, "#DIV/0!"],
  [1, 2, 1, 1, 7, -8, "#DIV/0!"], [1, 2, 2, 2, 7, -8, "#DIV/0!"], [1, 2, 3, 3, 7, -8, "#DIV/0!"],
  [1, 3, 1, 2, 20, -4, null], [1, 3, 2, 4, 40, null, null], [1, 3, 3, 8, 80, -16, null]]
})";
  runfile::Run run = runfile::read_run(folder / "small.run.json");
  run.file = "small.run.json";
  return run;
}

std::shared_ptr<const runfile::Run> shared(runfile::Run run) {
  return std::make_shared<const runfile::Run>(std::move(run));
}

std::int32_t error_code(const std::function<void()>& step) {
  try {
    step();
  } catch (const host::Error& error) {
    return error.code();
  }
  return 0;
}

TEST(WriteReports, NeverReplacesWhatTheRunWasReadFrom) {
  const test::TemporaryFolder folder;
  runfile::Run run = small_run();
  run.file = folder / "small.run.json";
  run.tables = {folder / "small.run.csv"};
  for (const char* name : {"small.run.json", "small.run.csv", "small.xlsx"}) {
    std::ofstream(folder / name) << "mine";
    std::filesystem::create_hard_link(folder / name, folder / "other.xlsx");
    EXPECT_EQ(error_code([&] { write_reports(shared(run), folder / "other.xlsx", {}); }),
              host::errc::kHostRefused)
        << name;
    std::filesystem::remove(folder / "other.xlsx");
    EXPECT_EQ(std::filesystem::file_size(folder / name), 4U) << name;
  }
}

TEST(OpenModel, HoldsItemsAndLabelsWithTheirFormats) {
  runfile::Run run = small_run();
  run.inputs[0].formula = "=1+Vary(10)";
  run.inputs[0].function = "Vary(10)";
  run.inputs[0].date = run.inputs[1].date = true;
  run.inputs[1].number_format = "d mmm";
  const auto application = open_model(run, "dd.mm.yyyy");
  const auto sheet = application->workbook("small.xlsx")->worksheet("Plan");
  EXPECT_EQ(application->active_sheet()->name(), "Plan");
  EXPECT_EQ(sheet->range("B5")->value(), host::CellValue(40.0));
  EXPECT_EQ(sheet->range("B5")->formula(), "=B1*B3");
  EXPECT_EQ(sheet->range("B5")->number_format(), "0.00");
  EXPECT_EQ(sheet->range("B1")->number_format(), "dd.mm.yyyy");
  EXPECT_EQ(sheet->range("B2")->number_format(), "d mmm");
  EXPECT_TRUE(sheet->range("B7")->value().is_error());
  EXPECT_EQ(sheet->range("A3")->value(), host::CellValue("Volume"));
  // The function inside a formula has the base value, wherever it stands.
  EXPECT_EQ(sheet->range("B1")->formula(), "=1+Vary(10)");
  sheet->range("B1")->set_formula("=Vary(10)");
  EXPECT_EQ(sheet->range("B1")->value(), host::CellValue(10.0));
}

// Sheets of one layout hold the same formula texts. Each cell has its own base value, or none, whichever
// sheet comes first and whatever its formula would come to.
TEST(RankOutputs, TakesTheBaseValueOfTheCellItself) {
  constexpr std::optional<double> kNull;
  const struct {
    const char *formula, *function;  // of every output
    std::array<std::optional<double>, 3> bases;
  } kCases[] = {
      {"=B1*B3", "", {40, kNull, 7}},
      {"=B1*B3", "", {kNull, 40, kNull}},
      {"=1+Goal(B1)", "Goal(B1)", {kNull, 3, -8}},
      {"40", "", {kNull, 40, kNull}},
  };
  for (const auto& c : kCases) {
    runfile::Run run = small_run();
    const char* const sheets[] = {"Plan", "February", "March"};
    for (std::size_t o = 0; o < 3; ++o) {
      run.outputs[o].sheet = sheets[o];
      run.outputs[o].cell = run.outputs[o].range = "B5";
      run.outputs[o].formula = c.formula;
      run.outputs[o].function = c.function;
      run.outputs[o].base = c.bases[o];
    }
    const auto rankings = rank_outputs(shared(run), {});
    for (std::size_t o = 0; o < 3; ++o)
      EXPECT_EQ(rankings[o].base, c.bases[o].value_or(kNone)) << c.formula << " of output " << o + 1;
  }
}

TEST(RankOutputs, TakesOutputsInTheOrderAskedForAndOnlyThoseThereAre) {
  const auto run = shared(small_run());
  const auto rankings = rank_outputs(run, {1, 0, 1});
  ASSERT_EQ(rankings.size(), 2U);
  EXPECT_EQ(rankings[0].output_index, 1);
  EXPECT_EQ(rankings[0].effects[0].low, -16);
  EXPECT_EQ(rankings[1].output_index, 0);
  for (const std::int32_t position : {-1, 3})
    EXPECT_EQ(error_code([&] { rank_outputs(run, {position}); }), host::errc::kSubscriptOutOfRange);
  for (const std::int32_t simulation : {0, 2})
    EXPECT_EQ(error_code([&] { rank_outputs(run, {}, {.simulation = simulation}); }),
              host::errc::kSubscriptOutOfRange);
}

TEST(WriteReports, SpeaksEveryLanguage) {
  const test::TemporaryFolder folder;
  for (const std::string& code : environment::languages()) {
    SCOPED_TRACE(code);
    ReportOptions options;
    options.language = code;
    options.overwrite = true;
    options.outputs = {1};
    options.output_detail = options.detail_by_input = true;
    const auto texts = environment::make_string_table(environment::language(code));
    std::vector<std::string> names;
    for (const std::int16_t id :
         {text_id::kContentsTitle.number, text_id::kMatrixSheetName.number, text_id::kTornadoSheetName.number,
          text_id::kSpiderSheetName.number, text_id::kSensitivitySheetName.number,
          text_id::kOutputDetailSheetName.number, text_id::kDetailByInputSheetName.number,
          text_id::kSummarySheetName.number})
      names.push_back(texts->GetString(id, std::string("B6")));
    EXPECT_EQ(test::sheet_names(*make_reports(shared(small_run()), options)), names);
    write_reports(shared(small_run()), folder / "reports.xlsx", options);
    EXPECT_EXTERNAL(test::validate_xlsx(folder / "reports.xlsx"));
  }
}

// A failure after the report workbook is open ends as an error, not as a workbook that lacks something.
TEST(WriteReports, AFailureAtAnyStepLeavesNothing) {
  const test::TemporaryFolder folder;
  const auto run = shared(small_run());
  for (int nth = 1;; ++nth) {
    int calls = 0;
    std::string last;
    ReportOptions options;
    options.spider = options.sensitivity = false;
    options.progress = [&](const std::string& text) {
      if (++calls == nth) throw host::Error(host::errc::kOutOfMemory, "no room");
      last = text;
    };
    const std::int32_t code = error_code([&] { write_reports(run, folder / "a.xlsx", options); });
    if (calls < nth) {
      EXPECT_EQ(code, 0);
      EXPECT_GT(nth, 3);
      EXPECT_EQ(last, "Saving the workbook");
      break;
    }
    EXPECT_EQ(code, host::errc::kOutOfMemory) << "call " << nth;
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 0) << "call " << nth;
  }
  EXPECT_EQ(error_code([&] { write_reports(run, folder / "missing/a.xlsx", {}); }), host::errc::kHostRefused);
}

// What no sheet can show in full is cut there; the report is made.
TEST(WriteReports, GoesToTheLimitsOfASheet) {
  const std::string long_name = "very " + std::string(40'000, 'W');
  const std::string many_words = [] {
    std::string words = "word";
    while (words.size() < 40'000) words += "\nword";
    return words;
  }();
  struct Case {
    const char* what;
    std::function<void(runfile::Run& run)> change;
  };
  const Case kCases[] = {
      {"a long output name", [&](runfile::Run& run) { run.outputs[0].name = long_name; }},
      {"long names of all inputs",
       [&](runfile::Run& run) {
         for (runfile::Item& input : run.inputs) input.name = long_name;
       }},
      {"names of many lines",
       [&](runfile::Run& run) { run.inputs[0].name = run.outputs[0].name = many_words; }},
      {"numbers of 300 digits",
       [](runfile::Run& run) {
         for (double& value : run.output_values.in_memory()) value *= 1e297;
         run.inputs[0].number_format = run.outputs[0].number_format = "#,##0.00";
         run.outputs[0].base = 9e299;
       }},
      {"a format of 255 digits",
       [](runfile::Run& run) {
         run.inputs[0].number_format = run.outputs[0].number_format = "0." + std::string(253, '0');
       }},
      {"a sheet that has a reserved name",
       [](runfile::Run& run) { run.inputs[0].sheet = run.outputs[0].sheet = "History"; }},
  };
  const test::TemporaryFolder folder;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    runfile::Run run = small_run();
    c.change(run);
    ReportOptions options;
    options.overwrite = options.output_detail = options.detail_by_input = true;
    write_reports(shared(std::move(run)), folder / "reports.xlsx", options);
    EXPECT_EXTERNAL(test::validate_xlsx(folder / "reports.xlsx"));
  }
}

}  // namespace
}  // namespace ordvane::embedded
